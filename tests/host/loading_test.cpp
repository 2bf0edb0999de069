// How a module is loaded, told to start and unloaded; and what the host refuses to load.

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host_test.h"
#include "module_path.h"
#include "temporary_folder.h"

namespace {

using host::EmbedError;
using host::LoadError;
using host::PluginHost;
using host::Value;
using support::builtPath;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

PluginHost::Options module(const std::string& name) {
    PluginHost::Options options;
    options.modulePath = builtPath("lib/lib" + name + ".so");
    return options;
}

/// The message of the LoadError that loading a module ends with; "" when it loads.
std::string loadErrorOf(const PluginHost::Options& options) {
    try {
        const PluginHost host(options);
    } catch (const LoadError& error) {
        return error.what();
    }
    return "";
}

std::string loadErrorOf(const std::string& path) {
    PluginHost::Options options;
    options.modulePath = path;
    return loadErrorOf(options);
}

using AModule = HostTest;

TEST_F(AModule, IsCalledInTheOrderOfABrowser) {
    const PP_Instance instance = page();
    ASSERT_TRUE(m_host->drain(instance));
    m_host->post(instance, 1);
    ASSERT_TRUE(m_host->drain(instance));
    m_host->post(instance, 2);
    m_host->embed();
    ASSERT_TRUE(m_host->drain(instance));
    m_host->destroy(instance);
    m_host->unload();
    EXPECT_THAT(m_module.calls.all(),
                ElementsAre("PPP_InitializeModule", "PPP_GetInterface PPP_Instance;1.1",
                            "PPP_GetInterface PPP_Instance;1.1", "DidCreate", "DidChangeView",
                            "PPP_GetInterface PPP_Messaging;1.0", "HandleMessage", "HandleMessage",
                            "DidCreate", "DidChangeView", "DidDestroy", "DidDestroy",
                            "PPP_ShutdownModule"));
}

TEST_F(AModule, IsAskedForMessagingEvenIfAHandlerTakesTheMessage) {
    ScriptedHandler handler;
    const PP_Instance instance = page();
    const support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    m_host->post(instance, 1);
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_TRUE(m_module.calls.has("PPP_GetInterface PPP_Messaging;1.0"));
    EXPECT_FALSE(m_module.calls.has("HandleMessage"));
}

TEST_F(AModule, FindsTheHostsInterfacesByExactName) {
    load();
    for (const char* name :
         {"PPB_Core;1.0", "PPB_MessageLoop;1.0", "PPB_Messaging;1.0", "PPB_Messaging;1.2",
          "PPB_Var;1.0", "PPB_Var;1.1", "PPB_Var;1.2", "PPB_VarArray;1.0", "PPB_VarArrayBuffer;1.0",
          "PPB_VarDictionary;1.0", "PPB_View;1.0"}) {
        SCOPED_TRACE(name);
        EXPECT_NE(m_module.getInterface(name), nullptr);
        EXPECT_EQ(m_module.getInterface(name), host::browserInterface(name));
    }
    for (const char* name : {"", "PPB_Core", "PPB_Core;1.1", "PPB_Messaging;1.1", "ppb_core;1.0",
                             "PPB_Core;1.0 ", "PPB_ExtensionSystem_Korvane;0.1"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(m_module.getInterface(name), nullptr);
    }
}

TEST_F(AModule, FindsWhatAnEmbedderAddsReplacesAndHides) {
    const int added = 1;
    const int replaced = 2;
    PluginHost::Options options;
    options.interfaces = {
        {"Own;1.0", &added}, {"PPB_Core;1.0", &replaced}, {"PPB_Var;1.2", nullptr}};
    load(std::move(options));
    EXPECT_EQ(m_module.getInterface("Own;1.0"), &added);
    EXPECT_EQ(m_module.getInterface("PPB_Core;1.0"), &replaced);
    EXPECT_EQ(m_module.getInterface("PPB_Var;1.2"), nullptr);
    EXPECT_NE(m_module.getInterface("PPB_Var;1.1"), nullptr);
    EXPECT_NE(host::browserInterface("PPB_Var;1.2"), nullptr) << "hidden from the module alone";
    m_host->unload();
    EXPECT_EQ(m_module.getInterface("Own;1.0"), nullptr) << "there is no host any more";
}

TEST_F(AModule, HasItsCallsToldToAHook) {
    support::EventLog calls;
    PluginHost::Options options;
    options.onCall = [&](const std::string& what) { calls.add(what); };
    const PP_Instance instance = page(std::move(options));
    m_module.getInterface("PPB_Var;1.2");
    m_module.getInterface("unknown");
    {
        const PP_Resource main = support::loops().GetForMainThread();
        support::core().ReleaseResource(main);
        ScriptedHandler handler;
        const PP_Resource loop = support::loops().Create(instance);
        std::thread([&] {
            support::loops().AttachToCurrentThread(loop);
            support::core().ReleaseResource(support::loops().GetCurrent());
            handler.registerOn(instance, loop);
            handler.registerOn(instance, 0);
            support::messaging().UnregisterMessageHandler(instance);
            m_work.post(loop, [&] { calls.add("work"); });
            support::loops().PostQuit(loop, PP_TRUE);
            support::loops().Run(loop);
        }).join();
        support::core().ReleaseResource(loop);
        support::messaging().PostMessage(instance, PP_MakeInt32(1));
        support::core().CallOnMainThread(0, m_work.callback([](std::int32_t) {}), 0);
    }
    m_host->unload();
    EXPECT_THAT(calls.all(),
                ElementsAre("GetInterface PPB_Var;1.2", "GetInterface unknown", "GetForMainThread",
                            "PPB_MessageLoop.Create", "AttachToCurrentThread", "GetCurrent",
                            "RegisterMessageHandler -> 0", "RegisterMessageHandler -> -5",
                            "UnregisterMessageHandler", "PostWork", "PostQuit", "Run", "work",
                            "Run returned", "PostMessage", "CallOnMainThread"));
}

TEST_F(AModule, ThatAsksForAnInterfaceWithoutANameGetsNone) {
    support::EventLog calls;
    PluginHost::Options options;
    options.onCall = [&](const std::string& call) { calls.add(call); };
    page(std::move(options));
    EXPECT_EQ(m_module.getInterface(nullptr), nullptr);
    EXPECT_THAT(calls.all(), Contains("GetInterface (null)"));
}

TEST_F(AModule, IsTheOnlyOneOfItsProcess) {
    const PP_Instance instance = page();
    PluginHost::Options options;
    options.entryPoints = ScriptedModule::entryPoints();
    EXPECT_THROW(const PluginHost second(options), std::logic_error);
    EXPECT_THAT(m_host->instances(), ElementsAre(instance)) << "the first one is unharmed";
    const PP_Var var = support::text("held");
    EXPECT_THROW(const PluginHost second(options), std::logic_error);
    EXPECT_EQ(support::textOf(var), "held");
    support::vars().Release(var);

    m_host->unload();
    const PluginHost second(options);
    EXPECT_THAT(m_module.calls.all(), Contains("PPP_InitializeModule").Times(2));
}

TEST_F(AModule, IsUnloadedOnce) {
    page();
    m_host->unload();
    const std::vector<std::string> calls = m_module.calls.all();
    m_host->unload();
    EXPECT_EQ(m_module.calls.all(), calls);
}

TEST_F(AModule, KeepsItsReportsWhenItIsUnloaded) {
    const PP_Instance instance = page();
    const PP_Resource loop = support::loops().Create(instance);
    ScriptedHandler handler;
    EXPECT_EQ(handler.registerOn(instance, loop), PP_OK);
    support::text("leaked");
    m_host->unload();
    EXPECT_THAT(m_host->problems(), SizeIs(1));
    EXPECT_THAT(m_host->moduleHeldVars(), SizeIs(1));
    EXPECT_THAT(m_host->registrations(), SizeIs(1));
    ASSERT_THAT(m_host->liveResources(), SizeIs(1));
    EXPECT_TRUE(m_host->liveResources().front().dead);
    EXPECT_THAT(m_host->resourceProblems(), IsEmpty());
    expectProblems(SizeIs(1));
}

using AnUnloadedModule = HostTest;

TEST_F(AnUnloadedModule, CanNeitherBeEmbeddedNorSpokenTo) {
    const PP_Instance instance = page();
    m_host->unload();
    EXPECT_THROW(m_host->embed(), std::logic_error);
    EXPECT_THROW(m_host->destroy(instance), std::logic_error);
    EXPECT_THROW(m_host->post(instance, 1), std::logic_error);
    EXPECT_THROW(m_host->postVar(instance, PP_MakeInt32(1)), std::logic_error);
    EXPECT_THROW(m_host->call(instance, 1), std::logic_error);
    EXPECT_THROW(m_host->runOnMain([] {}), std::logic_error);
}

TEST_F(AnUnloadedModule, HasNoHandlerToUnregisterAndNothingToDrain) {
    const PP_Instance instance = page();
    m_host->unload();
    EXPECT_THROW(m_host->unregister(instance), std::logic_error);
    EXPECT_THROW(m_host->drain(instance), std::logic_error);
}

TEST_F(AnUnloadedModule, HasNoMainThreadThatALaterThreadCouldBeTakenFor) {
    // A new thread often gets the identity of one that has ended.
    load();
    std::thread::id mainThread;
    m_host->runOnMain([&] { mainThread = std::this_thread::get_id(); });
    m_host->unload();
    bool taken = false;
    for (int i = 0; i < 10 && !taken; ++i) {
        std::thread([&] {
            taken = std::this_thread::get_id() == mainThread;
            EXPECT_THROW(m_host->runOnMain([] {}), std::logic_error);
        }).join();
    }
}

TEST_F(AnUnloadedModule, MayCallTheInterfacesInVain) {
    const PP_Instance instance = page();
    const PP_Resource loop = support::loops().Create(instance);
    support::core().ReleaseResource(loop);
    m_host->unload();
    support::messaging().PostMessage(instance, PP_MakeInt32(1));
    support::messaging().UnregisterMessageHandler(instance);
    EXPECT_EQ(support::loops().Create(instance), 0);
    EXPECT_EQ(support::loops().GetForMainThread(), 0);
    EXPECT_EQ(support::loops().GetCurrent(), 0);
    EXPECT_EQ(support::loops().Run(loop), PP_ERROR_BADRESOURCE);
    ScriptedHandler handler;
    EXPECT_LT(handler.registerOn(instance, loop), 0);
    EXPECT_THAT(m_host->takeMessages(), IsEmpty());
}

TEST_F(AModule, RunsFunctionsOnItsMainThreadOneAfterTheOther) {
    load();
    std::thread::id first;
    std::thread::id nested;
    m_host->runOnMain([&] {
        first = std::this_thread::get_id();
        m_host->runOnMain([&] { nested = std::this_thread::get_id(); });
    });
    EXPECT_NE(first, std::this_thread::get_id());
    EXPECT_EQ(nested, first) << "at once";
    EXPECT_THROW(m_host->runOnMain([] { throw std::runtime_error("out"); }), std::runtime_error);
    EXPECT_NO_THROW(m_host->runOnMain([] {}));
}

TEST_F(AModule, IsNotDrainedWhileItsHandlersLoopStands) {
    ScriptedHandler handler;
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    support::Signal release;
    m_work.post(thread.loop(), [&] { EXPECT_TRUE(release.wait()); });
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    EXPECT_FALSE(m_host->drain(instance, std::chrono::milliseconds(1)));
    release.give();
    EXPECT_TRUE(m_host->drain(instance));
    EXPECT_THROW(m_host->runOnMain([&] { m_host->drain(instance); }), std::logic_error);
}

TEST_F(AModule, IsDrainedWhenItsHandlersLoopDiesMeanwhile) {
    ScriptedHandler handler;
    const PP_Instance instance = page();
    support::Signal attached;
    support::Signal release;
    std::thread thread([&] {
        const PP_Resource loop = support::loops().Create(instance);
        EXPECT_EQ(support::loops().AttachToCurrentThread(loop), PP_OK);
        EXPECT_EQ(handler.registerOn(instance, loop), PP_OK);
        support::core().ReleaseResource(loop);
        attached.give();
        EXPECT_TRUE(release.wait());
    });
    ASSERT_TRUE(attached.wait());
    std::thread end([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the drain waits by then
        release.give();
    });
    EXPECT_TRUE(m_host->drain(instance, support::kLongEnough));
    end.join();
    thread.join();
}

TEST(AModuleFile, ThatIsNotThereIsNamed) {
    const std::string error = loadErrorOf("/no/such/folder/nothing.so");
    EXPECT_THAT(error, AllOf(HasSubstr("/no/such/folder/nothing.so"), Not(HasSubstr("\n"))));
    EXPECT_THAT(loadErrorOf("nothing.so"), HasSubstr("nothing.so"));
    EXPECT_THAT(loadErrorOf(""), Not(IsEmpty()));
}

TEST(AModuleFile, WithoutAFolderIsNotSearchedForInTheSystem) {
    EXPECT_THAT(loadErrorOf("libc.so.6"), HasSubstr("libc.so.6"));
}

TEST(AModuleFile, ThatIsNoSharedObjectIsRefused) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("text.so", "this is no shared object, just some text\n");
    EXPECT_THAT(loadErrorOf(path), AllOf(HasSubstr("text.so"), Not(HasSubstr("\n"))));
    EXPECT_THAT(loadErrorOf(folder.write("empty.so", "")), HasSubstr("empty.so"));
    EXPECT_THAT(loadErrorOf(folder.path("")), Not(IsEmpty())) << "a folder";
}

TEST(AModuleFile, WithoutAnEntryPointIsRefused) {
    EXPECT_THAT(loadErrorOf(module("no_get_interface_module")),
                AllOf(HasSubstr("no_get_interface_module"), HasSubstr("PPP_GetInterface")));
    EXPECT_THAT(loadErrorOf(module("no_initialize_module")),
                AllOf(HasSubstr("no_initialize_module"), HasSubstr("PPP_InitializeModule")));
}

TEST(AModuleFile, ThatNeedsWhatNobodyHasIsRefused) {
    EXPECT_THAT(loadErrorOf(module("unresolved_module")),
                AllOf(HasSubstr("unresolved_module"), HasSubstr("functionThatNobodyHas")));
}

TEST(AModuleFile, ThatRefusesToStartIsRefused) {
    EXPECT_THAT(loadErrorOf(module("init_refusing_module")),
                AllOf(HasSubstr("init_refusing_module"), HasSubstr("-8"), Not(HasSubstr("\n"))));
}

TEST_F(AModule, ThatRefusesToStartIsNotShutDown) {
    m_module.initResult = PP_ERROR_FAILED;
    EXPECT_THROW(load(), LoadError);
    EXPECT_THAT(m_module.calls.all(), ElementsAre("PPP_InitializeModule"));
    m_module.initResult = PP_OK;
    EXPECT_NO_THROW(load()) << "the host is free again";
}

TEST(AModuleFile, WithoutInstancesCannotBeEmbedded) {
    PluginHost host(module("no_instance_module"));
    EXPECT_TRUE(host.moduleIsLoaded());
    EXPECT_THROW(host.embed(), EmbedError);
    host.unload();
    EXPECT_FALSE(host.moduleIsLoaded());
}

TEST(AModuleFile, ThatRefusesItsInstancesCannotBeEmbedded) {
    PluginHost host(module("instance_refusing_module"));
    EXPECT_THROW(host.embed(), EmbedError);
    EXPECT_THROW(host.embed(), EmbedError);
}

TEST(AModuleFile, IsMappedWhileItIsLoadedAndStartsAfreshEachTime) {
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        PluginHost host(module("echo_module"));
        EXPECT_TRUE(host.moduleIsLoaded());
        const PP_Instance instance = host.embed();
        EXPECT_EQ(host.call(instance, "count").value, Value(1)) << "its static data is fresh";
        EXPECT_EQ(host.call(instance, "count").value, Value(2));
        EXPECT_EQ(host.call(instance, Value::Array{"echo"}).value, Value(Value::Array{"echo"}));
        host.post(instance, "posted");
        ASSERT_TRUE(host.waitForMessages(1, support::kLongEnough));
        const std::vector<host::Message> messages = host.takeMessages();
        EXPECT_EQ(messages.front().value, Value("posted"));
        host.unload();
        EXPECT_FALSE(host.moduleIsLoaded());
        EXPECT_THAT(host.problems(), IsEmpty());
        EXPECT_THAT(host.resourceProblems(), IsEmpty());
        EXPECT_THAT(host.liveResources(), IsEmpty());
    }
}

TEST(AModuleInTheProgram, IsNeverAMappedFile) {
    ScriptedModule scripted;
    PluginHost::Options options;
    options.entryPoints = ScriptedModule::entryPoints();
    options.modulePath = builtPath("lib/libecho_module.so");
    const PluginHost host(options);
    EXPECT_FALSE(host.moduleIsLoaded());
    EXPECT_THAT(scripted.calls.all(), SizeIs(1)) << "the file is not used";
}

TEST(AModuleInTheProgram, NeedsItsEntryPoints) {
    ScriptedModule scripted;
    PluginHost::Options options;
    options.entryPoints = ScriptedModule::entryPoints();
    options.entryPoints->getInterface = nullptr;
    EXPECT_THAT(loadErrorOf(options), HasSubstr("PPP_GetInterface"));
    options.entryPoints = ScriptedModule::entryPoints();
    options.entryPoints->initializeModule = nullptr;
    EXPECT_THAT(loadErrorOf(options), HasSubstr("PPP_InitializeModule"));
    options.entryPoints = ScriptedModule::entryPoints();
    options.entryPoints->shutdownModule = nullptr;
    EXPECT_EQ(loadErrorOf(options), "") << "that one is optional";
}

}  // namespace
