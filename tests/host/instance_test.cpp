// The life of instances, and what the module posts to their page.

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host_test.h"

namespace {

using support::core;
using support::messaging;
using support::text;
using support::vars;
using support::views;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

void postText(PP_Instance instance, const std::string& message) {
    const PP_Var var = text(message);
    messaging().PostMessage(instance, var);
    vars().Release(var);
}

using AnInstance = HostTest;
using ARefusedInstance = HostTest;
using ADestroyedInstance = HostTest;
using AMessageToThePage = HostTest;

TEST_F(AnInstance, IsMadeWithItsElementsAttributes) {
    host::Attributes seen;
    m_module.didCreate = [&](PP_Instance, const host::Attributes& attributes) {
        EXPECT_EQ(core().IsMainThread(), PP_TRUE);
        seen = attributes;
        return true;
    };
    load();
    m_host->embed({{"type", "application/x-sso-plugin"}, {"id", ""}, {"name", "\xc3\xa4"}});
    EXPECT_THAT(seen, ElementsAre(Pair("type", "application/x-sso-plugin"), Pair("id", ""),
                                  Pair("name", "\xc3\xa4")));
    m_host->embed();
    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(AnInstance, IsToldToTheEmbedderBeforeItIsMade) {
    std::vector<std::string> order;
    PP_Instance told = 0;
    m_module.didCreate = [&](PP_Instance instance, const host::Attributes&) {
        EXPECT_EQ(instance, told);
        order.emplace_back("DidCreate");
        return true;
    };
    load();
    const PP_Instance instance = m_host->embed({}, [&](PP_Instance created) {
        told = created;
        order.emplace_back(support::core().IsMainThread() == PP_TRUE ? "told on the main thread"
                                                                     : "told elsewhere");
    });
    EXPECT_EQ(instance, told);
    EXPECT_THAT(order, ::testing::ElementsAre("told on the main thread", "DidCreate"));
}

TEST_F(AnInstance, HasAnIdOfItsOwnOfEitherSign) {
    load();
    std::set<PP_Instance> ids;
    for (int i = 0; i < 10; ++i) ids.insert(m_host->embed());
    EXPECT_THAT(ids, SizeIs(10));
    EXPECT_EQ(ids.count(0), 0U);
    EXPECT_LT(*ids.begin(), 0);
    EXPECT_GT(*ids.rbegin(), 0);
    for (const PP_Instance id : ids) m_host->destroy(id);
    EXPECT_EQ(ids.count(m_host->embed()), 0U) << "ids are not used again";
}

TEST_F(AnInstance, IsListedFromItsCreationToItsEnd) {
    std::vector<PP_Instance> inCreation;
    m_module.didCreate = [&](PP_Instance, const host::Attributes&) {
        inCreation = m_host->instances();
        return true;
    };
    load();
    EXPECT_THAT(m_host->instances(), IsEmpty());
    const PP_Instance first = m_host->embed();
    EXPECT_THAT(inCreation, ElementsAre(first));
    const PP_Instance second = m_host->embed();
    EXPECT_THAT(m_host->instances(), UnorderedElementsAre(first, second));
    m_host->destroy(first);
    EXPECT_THAT(m_host->instances(), ElementsAre(second));
}

TEST_F(AnInstance, SeesItsViewInATaskOfItsOwn) {
    PP_Rect rect{};
    PP_Rect clip{};
    std::vector<PP_Resource> seen;
    m_module.didChangeView = [&](PP_Instance, PP_Resource view) {
        seen.push_back(view);
        EXPECT_EQ(core().IsMainThread(), PP_TRUE);
        EXPECT_EQ(views().IsView(view), PP_TRUE);
        EXPECT_EQ(views().GetRect(view, &rect), PP_TRUE);
        EXPECT_EQ(views().GetClipRect(view, &clip), PP_TRUE);
        EXPECT_EQ(views().GetRect(view, nullptr), PP_FALSE);
        EXPECT_EQ(views().IsVisible(view), PP_TRUE);
        EXPECT_EQ(views().IsPageVisible(view), PP_TRUE);
        EXPECT_EQ(views().IsFullscreen(view), PP_FALSE);
        EXPECT_THAT(m_host->liveResources(), IsEmpty()) << "the view is borrowed";
    };
    load();
    m_host->runOnMain([&] {
        m_host->embed();
        EXPECT_THAT(seen, IsEmpty()) << "not within the creation";
        m_host->embed();
    });
    ASSERT_TRUE(m_host->drain(0));
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_NE(seen[0], seen[1]);
    EXPECT_GT(rect.size.width, 0);
    EXPECT_GT(clip.size.height, 0);
    for (const PP_Resource view : {seen[0], 0, 4711}) {
        EXPECT_EQ(views().IsView(view), PP_FALSE) << "dead after the call";
        rect.size.width = -1;
        EXPECT_EQ(views().GetRect(view, &rect), PP_FALSE);
        EXPECT_EQ(rect.size.width, -1);
    }
}

TEST_F(AnInstance, ThatWantsToKnowOfNoViewIsMadeWithoutOne) {
    m_module.instances.DidChangeView = nullptr;
    const PP_Instance instance = page();
    EXPECT_THAT(m_host->instances(), ElementsAre(instance));
}

TEST_F(AnInstance, ThatIsGoneBeforeItsViewCameSeesNone) {
    load();
    m_host->runOnMain([&] { m_host->destroy(m_host->embed()); });
    ASSERT_TRUE(m_host->drain(0));
    EXPECT_TRUE(m_module.calls.has("DidDestroy"));
    EXPECT_FALSE(m_module.calls.has("DidChangeView"));
}

TEST_F(AnInstance, MayKeepItsView) {
    PP_Resource kept = 0;
    m_module.didChangeView = [&](PP_Instance, PP_Resource view) {
        core().AddRefResource(view);
        kept = view;
    };
    const PP_Instance instance = page();
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(views().IsView(kept), PP_TRUE);
    ASSERT_THAT(m_host->liveResources(), SizeIs(1));
    EXPECT_EQ(m_host->liveResources().front().kind, "view");
    m_host->destroy(instance);
    EXPECT_EQ(views().IsView(kept), PP_FALSE) << "taken away with the instance";
    EXPECT_TRUE(m_host->liveResources().front().dead);
    core().ReleaseResource(kept);
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

TEST_F(AnInstance, WithoutAnInterfaceCannotBeMade) {
    m_module.hasInstances = false;
    load();
    EXPECT_THROW(m_host->embed(), host::EmbedError);
    EXPECT_THAT(m_host->instances(), IsEmpty());
}

std::string embedErrorOf(host::PluginHost& host) {
    try {
        host.embed();
    } catch (const host::EmbedError& error) {
        return error.what();
    }
    return "";
}

TEST_F(AnInstance, OfAModuleThatCannotCreateItCannotBeMade) {
    m_module.instances.DidCreate = nullptr;
    load();
    EXPECT_EQ(embedErrorOf(*m_host), "the module's PPP_Instance;1.1 has no DidCreate");
    EXPECT_THAT(m_host->instances(), IsEmpty());
}

TEST_F(AnInstance, OfAModuleThatCannotDestroyItCannotBeMade) {
    m_module.instances.DidDestroy = nullptr;
    load();
    EXPECT_EQ(embedErrorOf(*m_host), "the module's PPP_Instance;1.1 has no DidDestroy");
    EXPECT_THAT(m_module.calls.all(), ::testing::Not(::testing::Contains("DidCreate")));
}

TEST_F(ARefusedInstance, IsDestroyedAtOnceAndGetsNothing) {
    PP_Instance refused = 0;
    PP_Instance destroyed = 0;
    m_module.didCreate = [&](PP_Instance instance, const host::Attributes&) {
        refused = instance;
        postText(instance, "never arrives");
        return false;
    };
    m_module.didDestroy = [&](PP_Instance instance) { destroyed = instance; };
    load();
    try {
        m_host->embed();
        FAIL() << "nothing was thrown";
    } catch (const host::EmbedError& error) {
        EXPECT_THAT(error.what(), HasSubstr("DidCreate"));
    }
    EXPECT_NE(refused, 0);
    EXPECT_EQ(destroyed, refused);
    ASSERT_TRUE(m_host->drain(0));
    EXPECT_FALSE(m_module.calls.has("DidChangeView"));
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_THAT(m_host->instances(), IsEmpty());
    EXPECT_FALSE(m_host->destroy(refused));

    m_module.didCreate = nullptr;
    EXPECT_NE(m_host->embed(), 0) << "the next one is asked anew";
    m_module.didDestroy = nullptr;
}

TEST_F(ADestroyedInstance, HasItsEndBehindItWhenDestroyReturns) {
    const PP_Instance instance = page();
    bool onMain = false;
    PP_Instance seen = 0;
    m_module.didDestroy = [&](PP_Instance dying) {
        onMain = PP_ToBool(core().IsMainThread());
        seen = dying;
    };
    EXPECT_TRUE(m_host->destroy(instance));
    EXPECT_TRUE(onMain);
    EXPECT_EQ(seen, instance);
    EXPECT_FALSE(m_host->destroy(instance));
    EXPECT_FALSE(m_host->destroy(instance + 1));
    EXPECT_EQ(m_module.calls.all().back(), "DidDestroy");
    m_module.didDestroy = nullptr;
}

TEST_F(ADestroyedInstance, GetsNoMessagesAnyMore) {
    const PP_Instance instance = page();
    const PP_Instance other = m_host->embed();
    m_host->destroy(instance);
    m_host->post(instance, 1);
    ASSERT_TRUE(m_host->drain(other));
    EXPECT_FALSE(m_module.calls.has("HandleMessage"));
    m_host->post(other, 1);
    ASSERT_TRUE(m_host->drain(other));
    EXPECT_TRUE(m_module.calls.has("HandleMessage"));
}

TEST_F(ADestroyedInstance, IsWhatAllAreWhenTheModuleIsUnloaded) {
    load();
    std::set<PP_Instance> made = {m_host->embed(), m_host->embed(), m_host->embed()};
    std::set<PP_Instance> destroyed;
    m_module.didDestroy = [&](PP_Instance instance) { destroyed.insert(instance); };
    m_host->unload();
    EXPECT_EQ(destroyed, made);
    EXPECT_THAT(m_host->instances(), IsEmpty());
    EXPECT_EQ(m_module.calls.all().back(), "PPP_ShutdownModule");
}

TEST_F(ADestroyedInstance, EndsOnceAlsoWhenItIsDestroyedInsideItsEnd) {
    const PP_Instance instance = page();
    int ends = 0;
    bool isDestroyedAgain = false;
    m_module.didDestroy = [&](PP_Instance dying) {
        if (++ends == 1) isDestroyedAgain = m_host->destroy(dying);
    };
    EXPECT_TRUE(m_host->destroy(instance));
    EXPECT_EQ(ends, 1);
    EXPECT_FALSE(isDestroyedAgain);
    m_module.didDestroy = nullptr;
}

TEST_F(ADestroyedInstance, MayBeDestroyedByAHook) {
    host::PluginHost::Options options;
    options.onMessage = [&](const host::Message& message) { m_host->destroy(message.instance); };
    const PP_Instance instance = page(std::move(options));
    m_host->runOnMain([&] { postText(instance, "end me"); });
    EXPECT_THAT(m_host->instances(), IsEmpty());
}

TEST_F(AMessageToThePage, TellsWhoPostedIt) {
    const PP_Instance instance = page();
    m_host->runOnMain([&] { postText(instance, "hello"); });
    const std::vector<host::Message> messages = m_host->takeMessages();
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].instance, instance);
    EXPECT_EQ(messages[0].value, Value("hello"));
    EXPECT_EQ(messages[0].threadName, "pepper-main");
    EXPECT_NE(messages[0].threadId, 0);
    EXPECT_LE(messages[0].time, std::chrono::system_clock::now());
    EXPECT_THAT(m_host->takeMessages(), IsEmpty()) << "taken once";
}

TEST_F(AMessageToThePage, IsCopiedBeforePostMessageReturns) {
    const PP_Instance instance = page();
    const PP_Var array = support::moduleVar(Value::Array{1});
    messaging().PostMessage(instance, array);
    support::arrays().Set(array, 0, PP_MakeInt32(2));
    vars().Release(array);
    EXPECT_THAT(arrived(), ElementsAre(Value(Value::Array{1})));
}

TEST_F(AMessageToThePage, MayComeFromAnyThreadInOrder) {
    const PP_Instance instance = page();
    std::thread([&] {
        for (int i = 0; i < 100; ++i) messaging().PostMessage(instance, PP_MakeInt32(i));
    }).join();
    std::vector<Value> expected;
    for (int i = 0; i < 100; ++i) expected.emplace_back(i);
    EXPECT_EQ(arrived(), expected);
}

TEST_F(AMessageToThePage, MayBePostedThroughTheOlderInterface) {
    const PP_Instance instance = page();
    support::browserTable<PPB_Messaging_1_0>(PPB_MESSAGING_INTERFACE_1_0)
        .PostMessage(instance, PP_MakeInt32(10));
    EXPECT_THAT(arrived(), ElementsAre(Value(10)));
}

TEST_F(AMessageToThePage, PostedInDidCreateArrivesOnceTheElementIsReady) {
    std::vector<Value> early;
    m_module.didCreate = [&](PP_Instance instance, const host::Attributes&) {
        postText(instance, "first");
        postText(instance, "second");
        early = arrived();
        return true;
    };
    page();
    EXPECT_THAT(early, IsEmpty());
    EXPECT_THAT(arrived(), ElementsAre(Value("first"), Value("second")));
}

TEST_F(AMessageToThePage, PostedWhileThoseOfDidCreateArriveComesAfterThem) {
    m_module.didCreate = [](PP_Instance instance, const host::Attributes&) {
        postText(instance, "first");
        postText(instance, "second");
        return true;
    };
    host::PluginHost::Options options;
    options.onMessage = [](const host::Message& message) {
        if (message.value != Value("first")) return;
        std::thread([&] { postText(message.instance, "third"); }).join();
    };
    page(std::move(options));
    EXPECT_THAT(arrived(), ElementsAre(Value("first"), Value("second"), Value("third")));
}

TEST_F(AMessageToThePage, PostedInDidDestroyOrLaterIsLost) {
    m_module.didDestroy = [](PP_Instance instance) { postText(instance, "inside"); };
    const PP_Instance instance = page();
    m_host->destroy(instance);
    EXPECT_THAT(m_host->consoleLines(), IsEmpty()) << "inside it is lost in silence";
    postText(instance, "afterwards");
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_THAT(m_host->consoleLines(), ElementsAre(HasSubstr(std::to_string(instance))));
}

TEST_F(AMessageToThePage, ThatCannotBeConvertedIsALineOnTheConsole) {
    const PP_Instance instance = page();
    const PP_Var array = support::arrays().Create();
    support::arrays().Set(array, 0, array);
    messaging().PostMessage(instance, array);
    support::arrays().SetLength(array, 0);
    vars().Release(array);
    const PP_Resource loop = support::loops().Create(instance);
    const PP_Var resource = vars().VarFromResource(loop);
    messaging().PostMessage(instance, resource);
    vars().Release(resource);
    core().ReleaseResource(loop);
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_THAT(m_host->consoleLines(),
                ElementsAre(AllOf(HasSubstr("PostMessage"), HasSubstr("cycle")),
                            AllOf(HasSubstr("PostMessage"), HasSubstr("resource"))));
}

TEST_F(AMessageToThePage, IsToldToAHookThatMayTakeIt) {
    std::vector<Value> taken;
    host::PluginHost::Options options;
    options.onMessage = [&](const host::Message& message) {
        EXPECT_EQ(message.value, Value("hello"));
        for (const Value& value : arrived()) taken.push_back(value);
    };
    const PP_Instance instance = page(std::move(options));
    m_host->runOnMain([&] { postText(instance, "hello"); });
    EXPECT_THAT(taken, ElementsAre(Value("hello")));
}

TEST_F(AMessageToThePage, CanBeWaitedFor) {
    const PP_Instance instance = page();
    EXPECT_TRUE(m_host->waitForMessages(0, std::chrono::milliseconds(0)));
    EXPECT_FALSE(m_host->waitForMessages(1, std::chrono::milliseconds(1)));
    std::thread poster([&] {
        postText(instance, "first");
        postText(instance, "second");
    });
    EXPECT_TRUE(m_host->waitForMessages(2, support::kLongEnough));
    poster.join();
    EXPECT_THAT(arrived(), SizeIs(2));
    EXPECT_FALSE(m_host->waitForMessages(1, std::chrono::milliseconds(0))) << "they were taken";
}

using AMessageFromThePage = HostTest;

TEST_F(AMessageFromThePage, MayBeAVarsContent) {
    std::vector<Value> seen;
    m_module.handleMessage = [&](PP_Instance, PP_Var message) {
        seen.push_back(support::takeValue(message));
    };
    const PP_Instance instance = page();
    const PP_Var dictionary = support::moduleVar(Value::Dictionary{{"a", 1}});
    EXPECT_TRUE(m_host->postVar(instance, dictionary));
    vars().Release(dictionary);
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_THAT(seen, ElementsAre(Value(Value::Dictionary{{"a", 1}})));
}

TEST_F(AMessageFromThePage, ThatCannotBeConvertedIsNotSent) {
    const PP_Instance instance = page();
    const PP_Var array = support::arrays().Create();
    support::arrays().Set(array, 0, array);
    EXPECT_FALSE(m_host->postVar(instance, array));
    support::arrays().SetLength(array, 0);
    vars().Release(array);
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_FALSE(m_module.calls.has("HandleMessage"));
    EXPECT_THAT(m_host->consoleLines(), ElementsAre(HasSubstr("cycle")));
}

TEST_F(AMessageFromThePage, ReachesTheModuleWithOneReferenceOfItsOwn) {
    int references = 0;
    m_module.handleMessage = [&](PP_Instance, PP_Var message) {
        references = m_host->moduleHeldVars().front().references;
        vars().Release(message);
    };
    const PP_Instance instance = page();
    m_host->post(instance, Value::Array{"x"});
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(references, 1);
    EXPECT_EQ(host::VarTable::instance().liveVarCount(), 0U);
}

}  // namespace
