// What any thread may call at any time. Each is done over and over by one thread, which does nothing else, while another
// changes what it reads; of a host the main thread works, too. The thread sanitizer tells of each access without its lock.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/session.h"
#include "host_test.h"
#include "thread_tools.h"
#include "var_test.h"

namespace {

using host::Holder;
using host::PluginHost;
using host::Value;
using host::VarTable;
using support::arrays;
using support::atTheSameTime;
using support::buffers;
using support::core;
using support::dictionaries;
using support::loops;
using support::messaging;
using support::vars;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;

constexpr int kTimes = 200;
constexpr int kFewTimes = 40;

/// No resource's. It sorts after all of theirs, so a search for it passes where they come and go.
constexpr PP_Resource kNoResource = std::numeric_limits<PP_Resource>::max();

/// One thing that a thread does, and what it sees of it.
template <typename... Shared>
struct Deed {
    const char* title;
    std::function<void(Shared...)> act;
};

template <typename... Shared>
void PrintTo(const Deed<Shared...>& deed, std::ostream* out) {
    *out << deed.title;
}

constexpr auto titleOf = [](const auto& info) { return std::string(info.param.title); };

// Vars

struct Vars {
    PP_Var text = support::text("text");
    PP_Var key = support::text("key");
    PP_Var value = support::text("value");
    PP_Var otherKey = support::text("other key");
    PP_Var dictionary = support::moduleVar(Value::Dictionary{{"key", "value"}});
    PP_Var array = support::moduleVar(Value::Array{"first"});
    PP_Var buffer = support::moduleVar(Value::Buffer{1, 2, 3});
    PP_Var resource = VarTable::instance().makeResource(Holder::Module, "test", 0);
};

using VarDeed = Deed<const Vars&>;

class ASharedVar : public VarTest, public ::testing::WithParamInterface<VarDeed> {
  protected:
    void change() const {
        const PP_Var made = support::text("made");
        EXPECT_TRUE(dictionaries().Set(m_vars.dictionary, m_vars.otherKey, made));
        EXPECT_TRUE(arrays().Set(m_vars.array, 1, made));
        vars().Release(made);
        dictionaries().Delete(m_vars.dictionary, m_vars.otherKey);
        EXPECT_TRUE(arrays().SetLength(m_vars.array, 1));
        table().recordOperations(true);
    }

    void release() const {
        for (const PP_Var& var :
             {m_vars.text, m_vars.key, m_vars.value, m_vars.otherKey, m_vars.dictionary,
              m_vars.array, m_vars.buffer, m_vars.resource}) {
            vars().Release(var);
        }
    }

    const Vars m_vars{};
};

TEST_P(ASharedVar, IsUsedWhileAnotherThreadMakesAndChangesVars) {
    table().recordOperations(true);
    atTheSameTime([this] { GetParam().act(m_vars); }, kTimes, [this] { change(); });
    EXPECT_EQ(support::valueOf(m_vars.dictionary), Value(Value::Dictionary{{"key", "value"}}));
    EXPECT_EQ(support::valueOf(m_vars.array), Value(Value::Array{"first"}));
    release();
    EXPECT_EQ(table().liveVarCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    That, ASharedVar,
    ::testing::Values(
        VarDeed{"IsMadeAndReleased",
                [](const Vars&) { EXPECT_EQ(support::takeValue(support::text("x")), Value("x")); }},
        VarDeed{"IsKeptOnceMore",
                [](const Vars& shared) {
                    vars().AddRef(shared.text);
                    vars().Release(shared.text);
                }},
        VarDeed{"IsGivenAway",
                [](const Vars&) {
                    const PP_Var var = support::text("given");
                    EXPECT_TRUE(VarTable::instance().takeFromModule("test", var));
                    VarTable::instance().release(Holder::Host, "test", var);
                }},
        VarDeed{"HasAText",
                [](const Vars& shared) { EXPECT_EQ(support::textOf(shared.text), "text"); }},
        VarDeed{"HasNoResource",
                [](const Vars& shared) {
                    EXPECT_EQ(VarTable::instance().resource("test", shared.resource), 0);
                }},
        VarDeed{"HasAMember",
                [](const Vars& shared) {
                    EXPECT_TRUE(dictionaries().HasKey(shared.dictionary, shared.key));
                }},
        VarDeed{"TakesAMember",
                [](const Vars& shared) {
                    EXPECT_TRUE(dictionaries().Set(shared.dictionary, shared.key, shared.value));
                }},
        VarDeed{"GivesAMember",
                [](const Vars& shared) {
                    EXPECT_EQ(support::takeValue(dictionaries().Get(shared.dictionary, shared.key)),
                              Value("value"));
                }},
        VarDeed{"GivesItsKeys",
                [](const Vars& shared) {
                    const PP_Var keys = dictionaries().GetKeys(shared.dictionary);
                    EXPECT_THAT(support::takeValue(keys).asArray(), Contains(Value("key")));
                }},
        VarDeed{"GivesAnElement",
                [](const Vars& shared) {
                    EXPECT_EQ(support::takeValue(arrays().Get(shared.array, 0)), Value("first"));
                }},
        VarDeed{"HasALength",
                [](const Vars& shared) {
                    EXPECT_THAT(arrays().GetLength(shared.array), AnyOf(1U, 2U));
                }},
        VarDeed{"HasALengthInBytes",
                [](const Vars& shared) {
                    std::uint32_t length = 0;
                    EXPECT_TRUE(buffers().ByteLength(shared.buffer, &length));
                    EXPECT_EQ(length, 3U);
                }},
        VarDeed{"HasBytes",
                [](const Vars& shared) {
                    EXPECT_EQ(static_cast<const char*>(buffers().Map(shared.buffer))[2], 3);
                }},
        VarDeed{"IsListed",
                [](const Vars&) {
                    EXPECT_THAT(VarTable::instance().moduleHeldVars(), SizeIs(Ge(7U)));
                }},
        VarDeed{"IsCounted",
                [](const Vars&) { EXPECT_GE(VarTable::instance().liveVarCount(), 9U); }},
        VarDeed{"HasItsOperationsListed",
                [](const Vars& shared) {
                    EXPECT_THAT(VarTable::instance().operations(shared.buffer.value.as_id),
                                IsEmpty());
                }},
        VarDeed{"HasItsOperationsRecorded",
                [](const Vars&) { VarTable::instance().recordOperations(true); }}),
    titleOf);

using AVarsProblems = VarTest;

TEST_F(AVarsProblems, AreReadWhileAnotherThreadCausesMore) {
    const PP_Var dead = deadText("dead");
    atTheSameTime([] { EXPECT_THAT(table().problems(), SizeIs(Le(kTimes))); }, kTimes,
                  [&] { vars().Release(dead); });
    EXPECT_THAT(newProblems(), SizeIs(kTimes));
}

// Hosts, one after another

using LateDeed = Deed<>;

class AModulesThread : public ::testing::TestWithParam<LateDeed> {
  protected:
    ScriptedModule m_module;
};

TEST_P(AModulesThread, MayOutliveItsHost) {
    atTheSameTime(
        [] { GetParam().act(); }, kFewTimes,
        [] {
            PluginHost::Options options;
            options.entryPoints = ScriptedModule::entryPoints();
            PluginHost host(std::move(options));
            EXPECT_NE(host.embed(), 0);
            host.unload();
            const std::vector<std::string> problems = host.resourceProblems();
            EXPECT_THAT(
                problems,
                Each("PPB_Core.ReleaseResource without owning a reference: resource 2147483647"));
            EXPECT_THAT(host.problems(), Each(::testing::HasSubstr("string")));
        });
}

INSTANTIATE_TEST_SUITE_P(That, AModulesThread,
                         ::testing::Values(LateDeed{"MakesVars",
                                                    [] {
                                                        const PP_Var var = support::text("late");
                                                        vars().AddRef(var);
                                                        vars().Release(var);
                                                        vars().Release(var);
                                                    }},
                                           LateDeed{"KeepsVars", [] { support::text("late"); }},
                                           LateDeed{"ReleasesWhatItDoesNotOwn",
                                                    [] { core().ReleaseResource(kNoResource); }},
                                           LateDeed{"PostsAMessage",
                                                    [] {
                                                        messaging().PostMessage(1, PP_MakeInt32(1));
                                                    }}),
                         titleOf);

// Instances

/// What the threads have in common.
struct Place {
    PluginHost& host;
    PP_Instance instance;
    PP_Resource loop;
    ScriptedHandler& handler;
    // Relaxed: it must not order what the threads do.
    const std::atomic<PP_Instance>& newest;
};

using HostDeed = Deed<const Place&>;

class ABusyHost : public HostTest, public ::testing::WithParamInterface<HostDeed> {
  protected:
    void SetUp() override {
        m_module.didCreate = [this](PP_Instance instance, const host::Attributes&) {
            m_newest.store(instance, std::memory_order_relaxed);
            // Gives the other thread time to post to it.
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            return true;
        };
        m_instance = page();
        m_thread.emplace(m_instance);
    }
    void TearDown() override {
        m_thread.reset();
        HostTest::TearDown();
    }

    void change() {
        const PP_Instance other = m_host->embed();
        const PP_Resource loop = m_thread->loop();
        for (int i = 0; i < 10; ++i) core().ReleaseResource(loops().Create(m_instance));
        core().AddRefResource(loop);
        core().ReleaseResource(loop);
        vars().Release(VarTable::instance().makeResource(Holder::Module, "test", loop));
        EXPECT_EQ(m_handler.registerOn(m_instance, loop), PP_OK);
        m_host->post(m_instance, "to the handler, or to the instance");
        messaging().PostMessage(m_instance, PP_MakeInt32(1));
        messaging().PostMessage(0, PP_MakeInt32(1));
        EXPECT_TRUE(m_host->destroy(other));
    }

    ScriptedHandler m_handler;
    std::atomic<PP_Instance> m_newest = 0;
    PP_Instance m_instance = 0;
    std::optional<support::LoopThread> m_thread;
};

TEST_P(ABusyHost, ServesAThreadWhileItsInstancesComeAndGo) {
    const Place place{*m_host, m_instance, m_thread->loop(), m_handler, m_newest};
    atTheSameTime([&] { GetParam().act(place); }, kTimes, [this] { change(); });
    m_host->runOnMain([] {});
    EXPECT_THAT(m_host->instances(), ::testing::ElementsAre(m_instance));
    EXPECT_THAT(m_host->consoleLines(),
                AllOf(SizeIs(Ge(static_cast<std::size_t>(kTimes))),
                      Each(::testing::StartsWith("PostMessage: there is no instance "))));
}

INSTANTIATE_TEST_SUITE_P(
    That, ABusyHost,
    ::testing::Values(
        HostDeed{"AsksForTheInstances",
                 [](const Place& place) {
                     EXPECT_THAT(place.host.instances(), Contains(place.instance));
                 }},
        HostDeed{"PostsToAnInstanceThatComesOrGoes",
                 [](const Place& place) {
                     messaging().PostMessage(place.newest.load(std::memory_order_relaxed),
                                             PP_MakeInt32(2));
                 }},
        HostDeed{"RegistersAHandler",
                 [](const Place& place) {
                     EXPECT_EQ(place.handler.registerOn(place.instance, place.loop), PP_OK);
                 }},
        HostDeed{"UnregistersTheHandler",
                 [](const Place& place) { place.host.unregister(place.instance); }},
        HostDeed{"AsksForTheRegistrations",
                 [](const Place& place) {
                     for (const host::Registration& each : place.host.registrations()) {
                         EXPECT_EQ(each.result, PP_OK);
                     }
                 }},
        HostDeed{"SaysHowRegistrationsEnd",
                 [](const Place& place) { place.host.setRegistrationResult(std::nullopt); }},
        HostDeed{"Drains",
                 [](const Place& place) {
                     EXPECT_TRUE(place.host.drain(place.instance, support::kLongEnough));
                 }},
        HostDeed{"TakesTheMessages",
                 [](const Place& place) {
                     for (const host::Message& message : place.host.takeMessages()) {
                         EXPECT_EQ(message.value, Value(1));
                     }
                 }},
        HostDeed{"ReadsTheConsole",
                 [](const Place& place) {
                     EXPECT_THAT(place.host.consoleLines(),
                                 Each(::testing::StartsWith("PostMessage: there is no instance ")));
                 }},
        HostDeed{"MakesALoop",
                 [](const Place& place) {
                     const PP_Resource loop = loops().Create(place.instance);
                     EXPECT_NE(loop, 0);
                     core().ReleaseResource(loop);
                 }},
        HostDeed{"KeepsALoop",
                 [](const Place& place) {
                     core().AddRefResource(place.loop);
                     core().ReleaseResource(place.loop);
                 }},
        HostDeed{"PostsWork",
                 [](const Place& place) {
                     const auto nothing = PP_MakeCompletionCallback([](void*, int32_t) {}, nullptr);
                     EXPECT_EQ(loops().PostWork(place.loop, nothing, 0), PP_OK);
                 }},
        HostDeed{"AsksWhetherAnythingIsAView",
                 [](const Place&) { EXPECT_EQ(support::views().IsView(kNoResource), PP_FALSE); }},
        HostDeed{"PostsWorkToNoLoop",
                 [](const Place&) {
                     const auto nothing = PP_MakeCompletionCallback([](void*, int32_t) {}, nullptr);
                     EXPECT_EQ(loops().PostWork(kNoResource, nothing, 0), PP_ERROR_BADRESOURCE);
                 }},
        HostDeed{"PutsALoopInAVar",
                 [](const Place& place) {
                     const PP_Var var =
                         VarTable::instance().makeResource(Holder::Module, "test", place.loop);
                     EXPECT_EQ(var.type, PP_VARTYPE_RESOURCE);
                     vars().Release(var);
                 }},
        HostDeed{"AsksForTheResources",
                 [](const Place& place) {
                     EXPECT_THAT(place.host.liveResources(), SizeIs(AnyOf(1U, 2U)));
                 }}),
    titleOf);

// Loops

class AThreadsLoop : public HostTest {
  protected:
    void SetUp() override { m_instance = page(); }

    /// Attaches a new loop on one thread, which runs it where it can, while another does something with it; many times.
    void whileItIsAttached(const std::function<void(PP_Resource)>& act, bool runs = true) {
        for (int i = 0; i < kTimes; ++i) {
            const PP_Resource loop = loops().Create(m_instance);
            ASSERT_NE(loop, 0);
            support::onThreads(2, [&](int number) {
                if (number == 0) {
                    if (loops().AttachToCurrentThread(loop) == PP_OK && runs) loops().Run(loop);
                } else {
                    act(loop);
                    loops().PostQuit(loop, PP_TRUE);
                }
            });
            core().ReleaseResource(loop);
        }
    }

    PP_Instance m_instance = 0;
};

TEST_F(AThreadsLoop, DoesWhatIsPostedWhileItIsAttached) {
    int done = 0;
    const auto count = PP_MakeCompletionCallback(
        [](void* counted, int32_t) { ++*static_cast<int*>(counted); }, &done);
    whileItIsAttached([&](PP_Resource loop) {
        for (int i = 0; i < 5; ++i) EXPECT_EQ(loops().PostWork(loop, count, 0), PP_OK);
    });
    EXPECT_EQ(done, 5 * kTimes);
}

TEST_F(AThreadsLoop, GetsAHandlerWhileItIsAttached) {
    ScriptedHandler handler;
    whileItIsAttached([&](PP_Resource loop) {
        EXPECT_EQ(handler.registerOn(m_instance, loop), PP_OK);
        m_host->post(m_instance, "to the handler, or to the instance");
        m_host->runOnMain([] {});
    });
    EXPECT_THAT(m_host->registrations(), SizeIs(kTimes));
}

TEST_F(AThreadsLoop, IsKeptByOthersWhileItIsAttached) {
    TearDown();
    PluginHost::Options options;
    options.attachDelay = std::chrono::milliseconds(1);
    m_instance = page(std::move(options));
    std::vector<PP_Resource> made;
    std::atomic<PP_Resource> newest = loops().Create(m_instance);
    made.push_back(newest);
    const auto keep = [&] {
        const PP_Resource loop = newest.load(std::memory_order_relaxed);
        core().AddRefResource(loop);
        core().ReleaseResource(loop);
    };
    atTheSameTime(keep, kFewTimes, [&] {
        made.push_back(loops().Create(m_instance));
        newest.store(made.back(), std::memory_order_relaxed);
        std::thread([&] { EXPECT_EQ(loops().AttachToCurrentThread(made.back()), PP_OK); }).join();
    });
    for (const PP_Resource loop : made) core().ReleaseResource(loop);
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

TEST_F(AThreadsLoop, LosesItsInstanceWhileItIsAttached) {
    whileItIsAttached([&](PP_Resource) {
        EXPECT_TRUE(m_host->destroy(m_instance));
        m_instance = m_host->embed();
    });
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

TEST_F(AThreadsLoop, TakesWorkOrNoneWhileItsThreadEnds) {
    const auto nothing = PP_MakeCompletionCallback([](void*, int32_t) {}, nullptr);
    const auto post = [&](PP_Resource loop) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_THAT(loops().PostWork(loop, nothing, 0), AnyOf(PP_OK, PP_ERROR_FAILED));
        }
    };
    whileItIsAttached(post, false);
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

TEST(AHostsResourceProblems, AreReadWhileAnotherThreadCausesMore) {
    ScriptedModule module;
    PluginHost::Options options;
    options.entryPoints = ScriptedModule::entryPoints();
    PluginHost host(std::move(options));
    atTheSameTime([&] { EXPECT_THAT(host.resourceProblems(), SizeIs(Le(kTimes))); }, kTimes,
                  [] { core().ReleaseResource(kNoResource); });
    EXPECT_THAT(host.resourceProblems(), SizeIs(kTimes));
}

// Sessions

TEST(ASessionsSink, IsToldOfOneEventAtATimeInTheirOrder) {
    ScriptedModule module;
    std::atomic<PP_Instance> first = 0;
    module.didCreate = [&](PP_Instance instance, const host::Attributes&) {
        if (first.load(std::memory_order_relaxed) == 0) first = instance;
        return true;
    };
    host::HostOptions options;
    options.entryPoints = ScriptedModule::entryPoints();
    std::vector<host::Event> events;  // without a lock of its own
    host::Session session(std::move(options), std::nullopt,
                          [&](const host::Event& event) { events.push_back(event); });
    int posted = 0;
    atTheSameTime([&] { messaging().PostMessage(first.load(), PP_MakeInt32(posted++)); }, kTimes,
                  [&] {
                      const std::int32_t number = session.embed({}, std::nullopt);
                      EXPECT_EQ(session.numberFor(number), number);
                      session.destroy(number);
                  });
    session.wait(static_cast<std::size_t>(posted), support::kLongEnough);
    EXPECT_THAT(session.unload(), IsEmpty());
    int next = 0;
    for (const host::Event& event : events) {
        if (event.name != "message") continue;
        EXPECT_EQ(event.instance, 1);
        EXPECT_EQ(event.value, Value(next++));
    }
    EXPECT_EQ(next, posted);
    EXPECT_THAT(events, SizeIs(posted + 2 * kTimes));
}

}  // namespace
