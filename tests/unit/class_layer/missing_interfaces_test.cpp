// The class layer in a browser that lacks interfaces. It remembers for its process what the browser
// answered, so each test loads a module that has a layer of its own.

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "browser_tables.h"
#include "event_log.h"
#include "host/plugin_host.h"
#include "module_path.h"
#include "modules/class_layer_probe.h"
#include "ppapi/c/pp_errors.h"

namespace {

using host::PluginHost;
using host::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string probePath() { return support::builtPath("lib/libclass_layer_probe.so"); }

/// A browser for one probe module.
class Browser {
  public:
    /// @param interfaces  as PluginHost::Options::interfaces: null hides one.
    explicit Browser(const std::map<std::string, const void*>& interfaces)
        : m_host(optionsFor(interfaces)),
          m_library(dlopen(probePath().c_str(), RTLD_NOW | RTLD_NOLOAD)) {
        using Export = const ClassLayerProbe* (*)();
        const auto probe = reinterpret_cast<Export>(dlsym(m_library, "classLayerProbe"));
        if (probe == nullptr) throw std::runtime_error("the module exports no classLayerProbe");
        m_probe = probe();
        m_instance = m_host.embed();
        m_host.drain(m_instance);
    }
    ~Browser() {
        m_host.unload();
        EXPECT_THAT(m_host.problems(), IsEmpty());
        EXPECT_THAT(m_host.resourceProblems(), IsEmpty());
        EXPECT_THAT(m_host.liveResources(), IsEmpty());
        dlclose(m_library);
    }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    PluginHost& host() { return m_host; }
    const ClassLayerProbe* operator->() const { return m_probe; }
    PP_Instance instance() const { return m_instance; }

    /// How often the module asked for an interface.
    long asked(const std::string& name) const {
        const std::vector<std::string> all = m_asked.all();
        return std::count(all.begin(), all.end(), "GetInterface " + name);
    }

    std::vector<Value> posted() {
        std::vector<Value> values;
        for (const host::Message& message : m_host.takeMessages()) values.push_back(message.value);
        return values;
    }

  private:
    PluginHost::Options optionsFor(const std::map<std::string, const void*>& interfaces) {
        PluginHost::Options options;
        options.modulePath = probePath();
        options.interfaces = interfaces;
        options.onCall = [this](const std::string& what) { m_asked.add(what); };
        return options;
    }

    support::EventLog m_asked;
    PluginHost m_host;
    void* m_library;
    const ClassLayerProbe* m_probe = nullptr;
    PP_Instance m_instance = 0;
};

void expectWorkingTexts(Browser& browser) {
    const PP_Var made = browser->makeText("text");
    EXPECT_EQ(support::textOf(made), "text");
    EXPECT_EQ(browser->readText(made), "text");
    const PP_Var copy = browser->copy(made);
    EXPECT_EQ(copy.value.as_id, made.value.as_id);
    EXPECT_EQ(browser.host().moduleHeldVars().front().references, 2);
    support::vars().Release(made);
    support::vars().Release(copy);
    EXPECT_THAT(browser.host().moduleHeldVars(), IsEmpty());
    EXPECT_EQ(browser->makeText("\xff").type, PP_VARTYPE_NULL);
}

LoopResults useLoop(Browser& browser) {
    LoopResults results;
    std::thread([&] { results = browser->useLoop(browser.instance()); }).join();
    return results;
}

TEST(AFullBrowser, OffersAllThatTheLayerUses) {
    Browser browser({});
    expectWorkingTexts(browser);
    EXPECT_FALSE(browser->useDictionary().isNull);
    const LoopResults loop = useLoop(browser);
    EXPECT_FALSE(loop.isNull);
    EXPECT_FALSE(loop.mainIsNull);
    EXPECT_FALSE(loop.currentIsNull);
    EXPECT_EQ(loop.attach, PP_OK);
    EXPECT_EQ(loop.postWork, PP_ERROR_BADARGUMENT) << "of a callback without a function";
    EXPECT_EQ(loop.postQuit, PP_OK);
    EXPECT_EQ(loop.run, PP_OK);
    EXPECT_TRUE(browser->useThread(browser.instance()));
    EXPECT_EQ(browser->registerHandler(browser.instance()), PP_ERROR_BADRESOURCE);
    browser->unregisterHandler(browser.instance());
    browser->postMessage(browser.instance(), 7);
    EXPECT_THAT(browser.posted(), ElementsAre(Value(7)));
}

TEST(AFullBrowser, IsAskedOncePerInterfaceAndForTheNewestOnly) {
    Browser browser({});
    for (int i = 0; i < 3; ++i) expectWorkingTexts(browser);
    EXPECT_EQ(browser.asked("PPB_Var;1.2"), 1);
    EXPECT_EQ(browser.asked("PPB_Var;1.1"), 0);
    EXPECT_EQ(browser.asked("PPB_Var;1.0"), 0);
    EXPECT_EQ(browser.asked("PPB_Core;1.0"), 1);
}

TEST(ABrowserWithoutVars12, IsUsedThroughVars11) {
    Browser browser({{"PPB_Var;1.2", nullptr}});
    for (int i = 0; i < 3; ++i) expectWorkingTexts(browser);
    EXPECT_EQ(browser.asked("PPB_Var;1.2"), 1) << "the answer is remembered, null too";
    EXPECT_EQ(browser.asked("PPB_Var;1.1"), 1);
    EXPECT_EQ(browser.asked("PPB_Var;1.0"), 0);
}

PP_Module g_module = 0;

PP_Var noteModule(PP_Module module, const char* data, std::uint32_t length) {
    g_module = module;
    return support::vars().VarFromUtf8(data, length);
}

TEST(ABrowserWithVars10Alone, IsUsedThroughItWithTheModulesNumber) {
    PPB_Var_1_0 oldest = support::browserTable<PPB_Var_1_0>(PPB_VAR_INTERFACE_1_0);
    oldest.VarFromUtf8 = &noteModule;
    g_module = 0;
    Browser browser({{"PPB_Var;1.2", nullptr}, {"PPB_Var;1.1", nullptr}, {"PPB_Var;1.0", &oldest}});
    expectWorkingTexts(browser);
    EXPECT_EQ(browser.asked("PPB_Var;1.0"), 1);
    EXPECT_NE(g_module, 0);
    EXPECT_EQ(g_module, browser->moduleNumber());
}

TEST(ABrowserWithoutVars, MakesNullOfTexts) {
    Browser browser({{"PPB_Var;1.2", nullptr}, {"PPB_Var;1.1", nullptr}, {"PPB_Var;1.0", nullptr}});
    EXPECT_EQ(browser->makeText("text").type, PP_VARTYPE_NULL);
    const PP_Var text = support::text("the browser's");
    EXPECT_EQ(browser->copy(text).type, PP_VARTYPE_NULL);
    EXPECT_EQ(browser->readText(text), "");
    EXPECT_EQ(browser->copy(PP_MakeInt32(5)).value.as_int, 5) << "immediate ones need no table";
    ASSERT_EQ(browser.host().moduleHeldVars().size(), 1U);
    EXPECT_EQ(browser.host().moduleHeldVars().front().references, 1) << "untouched";
    support::vars().Release(text);
}

TEST(ABrowserWithoutDictionaries, MakesNullOfThem) {
    Browser browser({{"PPB_VarDictionary;1.0", nullptr}});
    const DictionaryResults results = browser->useDictionary();
    EXPECT_TRUE(results.isNull);
    EXPECT_FALSE(results.set);
    EXPECT_FALSE(results.hasKey);
    EXPECT_TRUE(results.getIsUndefined);
}

TEST(ABrowserWithoutLoops, HasNullLoopsAndThreadsThatEndAtOnce) {
    Browser browser({{"PPB_MessageLoop;1.0", nullptr}});
    const LoopResults results = useLoop(browser);
    EXPECT_TRUE(results.isNull);
    EXPECT_EQ(results.attach, PP_ERROR_NOINTERFACE);
    EXPECT_EQ(results.run, PP_ERROR_NOINTERFACE);
    EXPECT_EQ(results.postWork, PP_ERROR_NOINTERFACE);
    EXPECT_EQ(results.postQuit, PP_ERROR_NOINTERFACE);
    EXPECT_TRUE(results.mainIsNull);
    EXPECT_TRUE(results.currentIsNull);
    EXPECT_TRUE(browser->useThread(browser.instance()));
}

TEST(ABrowserWithoutMessageHandlers, StillPostsMessages) {
    Browser browser({{"PPB_Messaging;1.2", nullptr}});
    EXPECT_EQ(browser->registerHandler(browser.instance()), PP_ERROR_NOTSUPPORTED);
    browser->unregisterHandler(browser.instance());
    browser->postMessage(browser.instance(), 7);
    EXPECT_THAT(browser.posted(), ElementsAre(Value(7)));
    EXPECT_THAT(browser.host().registrations(), IsEmpty());
}

TEST(ABrowserWithoutMessaging, LosesMessagesInSilence) {
    Browser browser({{"PPB_Messaging;1.2", nullptr}, {"PPB_Messaging;1.0", nullptr}});
    EXPECT_EQ(browser->registerHandler(browser.instance()), PP_ERROR_NOTSUPPORTED);
    browser->unregisterHandler(browser.instance());
    browser->postMessage(browser.instance(), 7);
    EXPECT_THAT(browser.posted(), IsEmpty());
    EXPECT_THAT(browser.host().consoleLines(), IsEmpty());
}

TEST(ABrowserWithoutViews, HasEmptyOnes) {
    Browser browser({{"PPB_View;1.0", nullptr}});
    EXPECT_EQ(browser->viewWidths(0), 0);
    EXPECT_EQ(browser.asked("PPB_View;1.0"), 1);
}

}  // namespace
