// The entry points, the module and the functions that the browser calls on instances.

#include "ppapi/cpp/module.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "layer_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp_input_event.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/cpp/core.h"
#include "ppapi/cpp/input_event.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/rect.h"
#include "ppapi/cpp/url_loader.h"
#include "ppapi/cpp/var.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

const auto& instanceTable() {
    return *static_cast<const PPP_Instance*>(PPP_GetInterface("PPP_Instance;1.1"));
}
const auto& messagingTable() {
    return *static_cast<const PPP_Messaging*>(PPP_GetInterface("PPP_Messaging;1.0"));
}
const auto& inputTable() {
    return *static_cast<const PPP_InputEvent*>(PPP_GetInterface("PPP_InputEvent;0.1"));
}

/// Tells what it is called with.
class LoggingInstance : public pp::Instance {
  public:
    LoggingInstance(PP_Instance instance, support::EventLog& log)
        : Instance(instance), m_log(log) {}
    ~LoggingInstance() override {
        const bool known = pp::Module::Get()->InstanceForPPInstance(pp_instance()) != nullptr;
        m_log.add(known ? "end, known" : "end, unknown");
    }

    bool Init(uint32_t argc, const char* argn[], const char* argv[]) override {
        const bool known = pp::Module::Get()->InstanceForPPInstance(pp_instance()) == this;
        std::string attributes;
        for (uint32_t i = 0; i < argc; ++i) {
            attributes += std::string(" ") + argn[i] + "=" + argv[i];
        }
        m_log.add((known ? "Init, known" : "Init, unknown") + attributes);
        return m_accepts;
    }
    // Both forms are overridden: this one hands on to the other, as the base does.
    void DidChangeView(const pp::View& view) override {
        m_log.add("DidChangeView");
        pp::Instance::DidChangeView(view);
    }
    void DidChangeView(const pp::Rect& position, const pp::Rect& clip) override {
        m_log.add("DidChangeView " + std::to_string(position.width()) + "x" +
                  std::to_string(position.height()) + " at " + std::to_string(position.x()) + "," +
                  std::to_string(position.y()) + ", clip " + std::to_string(clip.width()) + "x" +
                  std::to_string(clip.height()));
    }
    void DidChangeFocus(bool focus) override { m_log.add(focus ? "focus" : "no focus"); }
    bool HandleInputEvent(const pp::InputEvent& event) override {
        m_log.add("input " + std::to_string(event.pp_resource()));
        return true;
    }
    bool HandleDocumentLoad(const pp::URLLoader& loader) override {
        m_log.add("document " + std::to_string(loader.pp_resource()));
        return true;
    }
    void HandleMessage(const pp::Var& message) override {
        m_log.add("message " + message.AsString());
    }

    bool m_accepts = true;

  private:
    support::EventLog& m_log;
};

class ModuleTest : public LayerTest {
  protected:
    ModuleTest() {
        m_hooks.createInstance = [this](PP_Instance instance) -> pp::Instance* {
            auto made = std::make_unique<LoggingInstance>(instance, m_log);
            made->m_accepts = m_accepts;
            return made.release();
        };
    }

    support::EventLog m_log;
    bool m_accepts = true;
};

using AModule = ModuleTest;
using AnInstance = ModuleTest;

TEST_F(AModule, IsPublishedWhenItsInitHasSucceeded) {
    const pp::Module* seenInInit = nullptr;
    bool nullInInit = false;
    m_hooks.init = [&](pp::Module& module) {
        seenInInit = &module;
        nullInInit = pp::Module::Get() == nullptr;
        EXPECT_NE(module.core(), nullptr);
        EXPECT_NE(module.pp_module(), 0);
        EXPECT_NE(module.GetBrowserInterface("PPB_Var;1.2"), nullptr);
        EXPECT_EQ(PPP_GetInterface("PPP_Instance;1.1"), nullptr);
        return true;
    };
    EXPECT_EQ(pp::Module::Get(), nullptr);
    load();
    EXPECT_TRUE(nullInInit);
    EXPECT_EQ(pp::Module::Get(), seenInInit);
    m_host->unload();
    EXPECT_EQ(pp::Module::Get(), nullptr);
    EXPECT_EQ(PPP_GetInterface("PPP_Instance;1.1"), nullptr);
}

TEST_F(AModule, OffersThreeInterfacesByExactName) {
    load();
    for (const char* name : {"PPP_Instance;1.1", "PPP_Messaging;1.0", "PPP_InputEvent;0.1"}) {
        SCOPED_TRACE(name);
        const void* table = PPP_GetInterface(name);
        EXPECT_NE(table, nullptr);
        EXPECT_EQ(PPP_GetInterface(name), table) << "always the same answer";
        EXPECT_EQ(pp::Module::Get()->GetPluginInterface(name), table);
    }
    for (const char* name : {"", "PPP_Instance", "PPP_Instance;1.0", "PPP_Instance_Private;0.1",
                             "PPP_Messaging;1.1", "PPP_Pdf;1", "PPB_Core;1.0"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(PPP_GetInterface(name), nullptr);
    }
}

TEST_F(AModule, FindsTheBrowsersInterfaces) {
    load();
    pp::Module* module = pp::Module::Get();
    EXPECT_EQ(module->GetBrowserInterface("PPB_Core;1.0"), host::browserInterface("PPB_Core;1.0"));
    EXPECT_EQ(module->GetBrowserInterface("unknown"), nullptr);
    EXPECT_EQ(module->get_browser_interface()("PPB_Core;1.0"),
              host::browserInterface("PPB_Core;1.0"));
}

TEST_F(AModule, WithoutAnObjectDoesNotStart) {
    m_hooks.createModule = []() -> pp::Module* { return nullptr; };
    EXPECT_THROW(load(), host::LoadError);
    EXPECT_EQ(pp::Module::Get(), nullptr);
}

TEST_F(AModule, ThatRefusesItsInitAnswersNothingAndIsDeleted) {
    class EndingModule : public pp::Module {
      public:
        explicit EndingModule(bool& ended) : m_ended(ended) {}
        ~EndingModule() override { m_ended = true; }
        bool Init() override { return false; }

      protected:
        pp::Instance* CreateInstance(PP_Instance) override { return nullptr; }

      private:
        bool& m_ended;
    };
    bool ended = false;
    m_hooks.createModule = [&]() -> pp::Module* {
        return std::make_unique<EndingModule>(ended).release();
    };
    try {
        load();
        FAIL() << "it was loaded";
    } catch (const host::LoadError& error) {
        EXPECT_THAT(error.what(), HasSubstr("-2"));
    }
    EXPECT_TRUE(ended);
    EXPECT_EQ(pp::Module::Get(), nullptr);
    for (const char* name : {"PPP_Instance;1.1", "PPP_Messaging;1.0", "PPP_InputEvent;0.1", ""}) {
        EXPECT_EQ(PPP_GetInterface(name), nullptr);
    }
    PPP_ShutdownModule();
    m_hooks.createModule = nullptr;
    EXPECT_NO_THROW(load()) << "the next load succeeds";
}

TEST_F(AModule, NeedsTheCoreInterface) {
    host::PluginHost::Options options;
    options.interfaces["PPB_Core;1.0"] = nullptr;
    bool asked = false;
    m_hooks.init = [&](pp::Module&) { return asked = true; };
    EXPECT_THROW(load(std::move(options)), host::LoadError);
    EXPECT_FALSE(asked) << "Init comes after the core";
    EXPECT_EQ(PPP_GetInterface("PPP_Instance;1.1"), nullptr);
}

TEST_F(AModule, AcceptsByDefault) {
    class PlainModule : public pp::Module {
      protected:
        pp::Instance* CreateInstance(PP_Instance instance) override {
            return std::make_unique<pp::Instance>(instance).release();
        }
    };
    m_hooks.createModule = []() -> pp::Module* {
        return std::make_unique<PlainModule>().release();
    };
    const PP_Instance instance = page();
    onMain([&] {
        EXPECT_EQ(pp::Module::Get()->InstanceForPPInstance(instance)->pp_instance(), instance);
    });
}

TEST_F(AModule, KnowsItsInstancesWhileTheyLive) {
    load();
    EXPECT_THAT(pp::Module::Get()->current_instances(), IsEmpty());
    const PP_Instance first = m_host->embed();
    const PP_Instance second = m_host->embed();
    onMain([&] {
        pp::Module* module = pp::Module::Get();
        EXPECT_THAT(module->current_instances(), SizeIs(2));
        EXPECT_EQ(module->InstanceForPPInstance(first), module->current_instances().at(first));
        EXPECT_EQ(module->InstanceForPPInstance(second)->pp_instance(), second);
        EXPECT_EQ(module->InstanceForPPInstance(0), nullptr);
    });
    m_host->destroy(first);
    onMain([&] {
        EXPECT_THAT(pp::Module::Get()->current_instances(), ElementsAre(Pair(second, testing::_)));
        EXPECT_EQ(pp::Module::Get()->InstanceForPPInstance(first), nullptr);
    });
}

TEST_F(AnInstance, IsKnownFromBeforeItsInitUntilBeforeItsEnd) {
    const PP_Instance instance = load().embed({{"type", "t"}, {"id", "i"}});
    m_host->destroy(instance);
    EXPECT_EQ(m_log.all().front(), "Init, known type=t id=i");
    EXPECT_EQ(m_log.all().back(), "end, unknown");
}

TEST_F(AnInstance, ThatRefusesItsInitIsDeletedWithDidDestroy) {
    m_accepts = false;
    load();
    EXPECT_THROW(m_host->embed(), host::EmbedError);
    EXPECT_THAT(m_log.all(), ElementsAre("Init, known", "end, unknown"));
    onMain([] { EXPECT_THAT(pp::Module::Get()->current_instances(), IsEmpty()); });
}

TEST_F(AnInstance, ThatIsNotMadeIsRefused) {
    m_hooks.createInstance = [](PP_Instance) -> pp::Instance* { return nullptr; };
    load();
    EXPECT_THROW(m_host->embed(), host::EmbedError);
    onMain([] { EXPECT_THAT(pp::Module::Get()->current_instances(), IsEmpty()); });
}

TEST_F(AnInstance, SeesItsViewInBothForms) {
    page();
    EXPECT_THAT(m_log.all(), ElementsAre("Init, known", "DidChangeView",
                                         "DidChangeView 300x150 at 0,0, clip 300x150"));
}

TEST_F(AnInstance, GivesBackTheReferenceToItsView) {
    page();
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
    onMain([&] { instanceTable().DidChangeView(m_host->instances().front(), 0); });
    EXPECT_EQ(m_log.all().back(), "DidChangeView 0x0 at 0,0, clip 0x0") << "without a view";
}

TEST_F(AnInstance, GetsFocusInputAndDocumentsWithBorrowedResources) {
    const PP_Instance instance = page();
    const pp::MessageLoop resource{pp::InstanceHandle(instance)};
    const std::string id = std::to_string(resource.pp_resource());
    onMain([&] {
        instanceTable().DidChangeFocus(instance, PP_TRUE);
        instanceTable().DidChangeFocus(instance, PP_FALSE);
        EXPECT_EQ(inputTable().HandleInputEvent(instance, resource.pp_resource()), PP_TRUE);
        EXPECT_EQ(instanceTable().HandleDocumentLoad(instance, resource.pp_resource()), PP_TRUE);
    });
    const std::vector<std::string> log = m_log.all();
    EXPECT_THAT(std::vector<std::string>(log.begin() + 3, log.end()),
                ElementsAre("focus", "no focus", "input " + id, "document " + id));
    EXPECT_EQ(references(resource.pp_resource()), 1);
}

TEST_F(AnInstance, GetsMessagesAndTheirReferenceIsReleased) {
    const PP_Instance instance = page();
    host::VarTable::instance().recordOperations(true);
    m_host->post(instance, "hello");
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(m_log.all().back(), "message hello");
    std::vector<std::string> steps;
    for (const host::VarOperation& step : host::VarTable::instance().operations()) {
        steps.push_back(step.call + " " + std::to_string(step.moduleReferences));
    }
    EXPECT_THAT(steps, ElementsAre("PPP_Messaging.HandleMessage 1", "PPB_Var.Release 0"));
}

TEST_F(AnInstance, ThatIsUnknownGetsNothingAndAMessagesReferenceIsReleased) {
    page();
    const std::vector<std::string> before = m_log.all();
    onMain([&] {
        const PP_Instance unknown = 77;
        instanceTable().DidDestroy(unknown);
        instanceTable().DidChangeView(unknown, 0);
        instanceTable().DidChangeFocus(unknown, PP_TRUE);
        EXPECT_EQ(instanceTable().HandleDocumentLoad(unknown, 0), PP_FALSE);
        EXPECT_EQ(inputTable().HandleInputEvent(unknown, 0), PP_FALSE);
        messagingTable().HandleMessage(unknown, support::text("for nobody"));
    });
    EXPECT_EQ(m_log.all(), before);
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
}

TEST_F(AnInstance, IsUnknownToAModuleThatIsShutDown) {
    load();
    const PPP_Instance& instances = instanceTable();
    const PPP_InputEvent& input = inputTable();
    const PPP_Messaging& messaging = messagingTable();
    m_host->unload();
    EXPECT_EQ(instances.DidCreate(5, 0, nullptr, nullptr), PP_FALSE);
    instances.DidDestroy(5);
    instances.DidChangeView(5, 0);
    instances.DidChangeFocus(5, PP_TRUE);
    EXPECT_EQ(instances.HandleDocumentLoad(5, 0), PP_FALSE);
    EXPECT_EQ(input.HandleInputEvent(5, 0), PP_FALSE);
    messaging.HandleMessage(5, PP_MakeInt32(1));
}

TEST_F(AnInstance, DoesNothingByDefault) {
    m_hooks.createInstance = nullptr;
    const PP_Instance instance = page();
    onMain([&] {
        instanceTable().DidChangeFocus(instance, PP_TRUE);
        EXPECT_EQ(instanceTable().HandleDocumentLoad(instance, 0), PP_FALSE);
        EXPECT_EQ(inputTable().HandleInputEvent(instance, 0), PP_FALSE);
    });
    m_host->post(instance, "dropped");
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_THAT(m_host->takeMessages(), IsEmpty());
}

TEST_F(AnInstance, PostsACopyOfAVarToThePage) {
    const PP_Instance instance = page();
    std::vector<std::string> operations = operationsOf([&] {
        const pp::Var message("to the page");
        pp::Module::Get()->InstanceForPPInstance(instance)->PostMessage(message);
        pp::Module::Get()->InstanceForPPInstance(instance)->PostMessage(42);
    });
    EXPECT_THAT(operations, ElementsAre("PPB_Var.VarFromUtf8 +", "PPB_Var.Release -"));
    const std::vector<host::Message> messages = m_host->takeMessages();
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0].instance, instance);
    EXPECT_EQ(messages[0].value, Value("to the page"));
    EXPECT_EQ(messages[1].value, Value(42));
}

TEST(ARectangle, HoldsFourNumbers) {
    const pp::Rect empty;
    EXPECT_EQ(empty.x() + empty.y() + empty.width() + empty.height(), 0);
    const pp::Rect rect(PP_MakeRectFromXYWH(1, -2, 3, 4));
    EXPECT_EQ(rect.x(), 1);
    EXPECT_EQ(rect.y(), -2);
    EXPECT_EQ(rect.width(), 3);
    EXPECT_EQ(rect.height(), 4);
}

using AView = ModuleTest;

TEST_F(AView, ThatIsNullIsEmpty) {
    load();
    onMain([] {
        const pp::View view;
        EXPECT_EQ(view.GetRect().width(), 0);
        EXPECT_EQ(view.GetClipRect().height(), 0);
    });
}

}  // namespace
