// Traced functions: what their places are recorded as, and when their scopes begin and end.

#include "trace/scope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ht_control.h"
#include "recording_writer.h"
#include "thread_tools.h"

// Compilers differ in how they spell unnamed namespaces and the spaces of pointers, so the signatures
// have none of these.
namespace trace_test {

using Steps = std::vector<std::string>;
enum class Step { Once, Twice };

/// Traced where it begins and where it ends.
struct TracedObject {
    TracedObject() { TRACE_SCOPE(traceScope, 30, "TracedObject"); }
    ~TracedObject() { TRACE_SCOPE(traceScope, 41, "~TracedObject"); }
    TracedObject(const TracedObject&) = delete;
    TracedObject& operator=(const TracedObject&) = delete;
};

/// Traced functions that add to `steps`.
class TracedClass {
  public:
    explicit TracedClass(Steps& steps) : m_steps(&steps) {}

    int add(int number, Step step) const {
        TRACE_SCOPE(traceScope, 376, "add");
        m_steps->emplace_back(step == Step::Once ? "once" : "twice");
        return number + 1;
    }

    void storeInTheMiddle() const {
        TRACE_SCOPE(traceScope, 386, "storeInTheMiddle");
        m_steps->emplace_back("before");
        trace::storeText(&traceScope, "storeInTheMiddle done");
        m_steps->emplace_back("after");
    }

    void endABlock() const {
        {
            TRACE_SCOPE(traceScope, 584, "endABlock");
            m_steps->emplace_back("in the block");
        }
        m_steps->emplace_back("behind the block");
    }

    void fail() const {
        TRACE_SCOPE(traceScope, 57, "fail");
        throw std::logic_error("of the traced function");
    }

    void goOn() const noexcept {
        TRACE_SCOPE_NOTHROW(traceScope, 43, "goOn");
        m_steps->emplace_back("went on");
    }

    int addTwice(int number) const {
        TRACE_SCOPE(traceScope, 108, "addTwice");
        return add(add(number, Step::Once), Step::Twice);
    }

    // Two places in one function.
    void openTwo() const {
        TRACE_SCOPE(outer, 285, "outer");
        TRACE_SCOPE(inner, 287, "inner");
        trace::storeText(&outer, "outer done");
        m_steps->emplace_back("two are open");
    }

  private:
    Steps* m_steps;
};

/// Another place for each number.
template <int number>
void reachPlace() {
    TRACE_SCOPE(traceScope, 409, "reachPlace");
}

}  // namespace trace_test

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using trace_test::reachPlace;
using trace_test::Step;
using trace_test::Steps;
using trace_test::Texts;
using trace_test::TracedClass;

struct Ended {
    const TSCodeLocation* location;
    Texts texts;
    std::size_t depth;
};

/// This program is the traced library. At first it is switched off.
class TracedFunctions : public ::testing::Test {
  protected:
    TracedFunctions() {
        ht_control_set_enabled(0);
        setFlags(2);
        ht_control_set_call_observer(
            [](const HtCall* call, void* user) {
                Ended ended{call->location, {}, call->depth};
                for (std::size_t i = 0; i < call->textCount; ++i) {
                    const char* text = call->texts[i];
                    ended.texts.push_back(text != nullptr ? std::optional<std::string>(text)
                                                          : std::nullopt);
                }
                auto& self = *static_cast<TracedFunctions*>(user);
                const std::lock_guard lock(self.m_mutex);
                self.m_ended.push_back(ended);
            },
            this);
    }

    ~TracedFunctions() override {
        ht_control_set_call_observer(nullptr, nullptr);
        ht_control_set_step_observer(nullptr, nullptr);
        ht_control_set_failing_write(0);
        setFlags(2);
        ht_control_set_enabled(0);
        EXPECT_EQ(ht_control_open_scopes(), 0U);
    }

    static void setFlags(unsigned flags) {
        const HtItemOrders orders{flags, 0};
        ht_control_set_item_orders(&orders);
    }

    /// From now on m_steps has the steps of the scopes, too, each with its place's line.
    void watchSteps() {
        ht_control_set_step_observer(
            [](const char* step, const TSCodeLocation* location, void* user) {
                static_cast<Steps*>(user)->push_back(std::string(step) + " " +
                                                     std::to_string(location->line));
            },
            &m_steps);
    }

    /// The records of all places that are passed meanwhile, in the order of their containers.
    template <typename Function>
    static std::vector<const TSCodeLocation*> locationsOf(Function function) {
        std::vector<const TSCodeLocation*> locations;
        ht_control_set_step_observer(
            [](const char* step, const TSCodeLocation* location, void* user) {
                if (step == std::string("container")) {
                    static_cast<decltype(locations)*>(user)->push_back(location);
                }
            },
            &locations);
        function();
        ht_control_set_step_observer(nullptr, nullptr);
        return locations;
    }

    Steps m_steps;
    std::mutex m_mutex;
    std::vector<Ended> m_ended;
};

struct Record {
    int line;
    const char* function;
};

TEST_F(TracedFunctions, AreRecordedAsTheyAreWritten) {
    const Record records[] = {
        {30, "trace_test::TracedObject::TracedObject()"},
        {108, "int trace_test::TracedClass::addTwice(int) const"},
        {376, "int trace_test::TracedClass::add(int, trace_test::Step) const"},
        {376, "int trace_test::TracedClass::add(int, trace_test::Step) const"},
        {386, "void trace_test::TracedClass::storeInTheMiddle() const"},
        {285, "void trace_test::TracedClass::openTwo() const"},
        {287, "void trace_test::TracedClass::openTwo() const"},
        {41, "trace_test::TracedObject::~TracedObject()"},
    };
    const auto locations = locationsOf([this] {
        const trace_test::TracedObject begun;
        const TracedClass object(m_steps);
        EXPECT_EQ(object.addTwice(1), 3);
        object.storeInTheMiddle();
        object.openTwo();
    });
    ASSERT_EQ(locations.size(), std::size(records));
    for (std::size_t i = 0; i < std::size(records); ++i) {
        SCOPED_TRACE(records[i].line);
        EXPECT_STREQ(locations[i]->file, "tests/unit/trace/scope_test.cpp");
        EXPECT_EQ(locations[i]->line, records[i].line);
        EXPECT_STREQ(locations[i]->function, records[i].function);
        EXPECT_EQ(locations[i]->enabled, HtLibEnabled());
    }
}

TEST_F(TracedFunctions, HaveARecordAndANumberOfTheirOwnEach) {
    const auto twice = [] {
        reachPlace<1>();
        reachPlace<2>();
        reachPlace<1>();
    };
    const auto locations = locationsOf(twice);
    ASSERT_EQ(locations.size(), 3U);
    EXPECT_EQ(locations[0], locations[2]);
    EXPECT_NE(locations[0], locations[1]);
    EXPECT_NE(locations[0]->id, locations[1]->id);
    ASSERT_NE(locations[0]->id, nullptr);
    ASSERT_NE(locations[1]->id, nullptr);
    EXPECT_EQ(*locations[0]->id, 0);
    EXPECT_EQ(*locations[1]->id, 0);
    ht_control_set_enabled(1);
    EXPECT_EQ(locationsOf(twice), locations);
    EXPECT_GT(*locations[0]->id, 0);
    EXPECT_GT(*locations[1]->id, 0);
    EXPECT_NE(*locations[0]->id, *locations[1]->id);
}

TEST_F(TracedFunctions, FillTheirRecordOnceAndNotAgain) {
    const auto locations = locationsOf(reachPlace<3>);
    ASSERT_EQ(locations.size(), 1U);
    // Records are not constant, for the sake of the pointer.
    auto* const record = const_cast<TSCodeLocation*>(locations[0]);
    int other = 1;
    record->enabled = &other;
    reachPlace<3>();
    EXPECT_EQ(record->enabled, &other);
    EXPECT_EQ(m_ended.size(), 1U);
    record->enabled = HtLibEnabled();
}

/// Opens when as many threads as it is made for wait at it. They leave together, awake.
class StartLine {
  public:
    explicit StartLine(int threads) : m_missing(threads) {}
    void wait() {
        --m_missing;
        while (m_missing > 0) {
            std::this_thread::yield();
        }
    }

  private:
    std::atomic<int> m_missing;
};

constexpr int kThreads = 8;

/// Eight threads reach a place together that nobody has reached before.
template <int number>
void raceToPlace() {
    StartLine line(kThreads);
    support::onThreads(kThreads, [&](int) {
        line.wait();
        reachPlace<number>();
    });
}

template <int... numbers>
void raceToPlaces(std::integer_sequence<int, numbers...>) {
    (raceToPlace<1000 + numbers>(), ...);
}

TEST_F(TracedFunctions, AreTracedOnEveryThreadThatReachesTheirPlaceFirst) {
    constexpr int kPlaces = 100;
    ht_control_set_enabled(1);
    raceToPlaces(std::make_integer_sequence<int, kPlaces>());
    std::map<const TSCodeLocation*, int> passes;
    for (const Ended& call : m_ended) {
        ++passes[call.location];
        EXPECT_EQ(call.texts, Texts{"reachPlace"});
    }
    EXPECT_EQ(passes.size(), std::size_t{kPlaces});
    for (const auto& [location, count] : passes) {
        EXPECT_EQ(count, kThreads);
        EXPECT_EQ(location->enabled, HtLibEnabled());
    }
}

TEST_F(TracedFunctions, AreNotTracedWhenTheLibraryIsOff) {
    const TracedClass object(m_steps);
    EXPECT_EQ(object.addTwice(1), 3);
    object.storeInTheMiddle();
    EXPECT_THAT(m_ended, IsEmpty());
    EXPECT_THAT(m_steps, ElementsAre("once", "twice", "before", "after"));
}

TEST_F(TracedFunctions, LeaveTheItemAloneThatStandsForAllWhenTheLibraryIsOff) {
    const TracedClass object(m_steps);
    object.storeInTheMiddle();
    TRACE_SCOPE(traceScope, 424, "test");
    const TCScopeHandler handler = TCScopeHandler::Instance(traceScope);
    EXPECT_FALSE(handler.item()->active);
    EXPECT_EQ(handler.item()->flags, 0U);
    EXPECT_THAT(handler.item()->formatters, IsEmpty());
}

TEST_F(TracedFunctions, StoreTheirNameAndFurtherTexts) {
    const TracedClass object(m_steps);
    ht_control_set_enabled(1);
    setFlags(3);
    object.storeInTheMiddle();
    EXPECT_EQ(object.add(1, Step::Once), 2);
    ASSERT_EQ(m_ended.size(), 2U);
    // What is kept for later comes last; what follows the first text is written at once.
    EXPECT_EQ(m_ended[0].texts,
              (Texts{"storeInTheMiddle", "storeInTheMiddle done", "storeInTheMiddle"}));
    EXPECT_EQ(m_ended[1].texts, (Texts{"add", "add"}));
}

TEST_F(TracedFunctions, EncloseThoseTheyCall) {
    const TracedClass object(m_steps);
    ht_control_set_enabled(1);
    EXPECT_EQ(object.addTwice(1), 3);
    ASSERT_EQ(m_ended.size(), 3U);
    EXPECT_EQ(m_ended[0].texts, Texts{"add"});
    EXPECT_EQ(m_ended[0].depth, 1U);
    EXPECT_EQ(m_ended[1].texts, Texts{"add"});
    EXPECT_EQ(m_ended[1].depth, 1U);
    EXPECT_EQ(m_ended[2].texts, Texts{"addTwice"});
    EXPECT_EQ(m_ended[2].depth, 0U);
}

TEST_F(TracedFunctions, StoreIntoTheScopeTheyName) {
    const TracedClass object(m_steps);
    ht_control_set_enabled(1);
    object.openTwo();
    ASSERT_EQ(m_ended.size(), 2U);
    EXPECT_EQ(m_ended[0].location->line, 287);
    EXPECT_EQ(m_ended[0].texts, Texts{"inner"});
    EXPECT_EQ(m_ended[1].location->line, 285);
    EXPECT_EQ(m_ended[1].texts, (Texts{"outer done", "outer"}));
}

TEST_F(TracedFunctions, FollowTheSwitchAtRunTime) {
    const TracedClass object(m_steps);
    object.add(1, Step::Once);
    EXPECT_EQ(m_ended.size(), 0U);
    ht_control_set_enabled(1);
    object.add(1, Step::Once);
    EXPECT_EQ(m_ended.size(), 1U);
    ht_control_set_enabled(0);
    object.add(1, Step::Once);
    EXPECT_EQ(m_ended.size(), 1U);
    ht_control_set_enabled(1);
    object.add(1, Step::Once);
    EXPECT_EQ(m_ended.size(), 2U);
}

/// Traced or not: the steps are the same.
class Scopes : public TracedFunctions, public ::testing::WithParamInterface<bool> {
  protected:
    Scopes() { ht_control_set_enabled(GetParam() ? 1 : 0); }

    const TracedClass& object() {
        watchSteps();
        m_steps.clear();
        return m_object;
    }

  private:
    const TracedClass m_object{m_steps};
};

TEST_P(Scopes, LastUntilTheFunctionReturns) {
    EXPECT_EQ(object().add(1, Step::Once), 2);
    EXPECT_THAT(m_steps, ElementsAre("container 376", "handler 376", "~handler 376", "once",
                                     "~container 376"));
}

TEST_P(Scopes, LastUntilTheirBlockEnds) {
    object().endABlock();
    EXPECT_THAT(m_steps, ElementsAre("container 584", "handler 584", "~handler 584", "in the block",
                                     "~container 584", "behind the block"));
}

TEST_P(Scopes, GiveTheItemOnlyWhileATextIsStored) {
    object().storeInTheMiddle();
    EXPECT_THAT(m_steps, ElementsAre("container 386", "handler 386", "~handler 386", "before",
                                     "handler 386", "~handler 386", "after", "~container 386"));
}

TEST_P(Scopes, EndInTheReverseOrder) {
    object().openTwo();
    EXPECT_THAT(m_steps,
                ElementsAre("container 285", "handler 285", "~handler 285", "container 287",
                            "handler 287", "~handler 287", "handler 285", "~handler 285",
                            "two are open", "~container 287", "~container 285"));
}

TEST_P(Scopes, LastUntilAFunctionReturnsThatMustNotThrow) {
    object().goOn();
    EXPECT_THAT(m_steps, ElementsAre("container 43", "handler 43", "~handler 43", "went on",
                                     "~container 43"));
}

TEST_P(Scopes, EndWhenAnExceptionPasses) {
    const TracedClass& failing = object();
    EXPECT_THROW(failing.fail(), std::logic_error);
    EXPECT_EQ(ht_control_open_scopes(), 0U);
    EXPECT_THAT(m_steps, ElementsAre("container 57", "handler 57", "~handler 57", "~container 57"));
}

TEST_P(Scopes, AreOpenOnTheirThread) {
    TRACE_SCOPE(outer, 438, "outer");
    EXPECT_EQ(ht_control_open_scopes(), 1U);
    {
        TRACE_SCOPE(inner, 440, "inner");
        EXPECT_EQ(ht_control_open_scopes(), 2U);
    }
    EXPECT_EQ(ht_control_open_scopes(), 1U);
}

INSTANTIATE_TEST_SUITE_P(TracedOrNot, Scopes, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Traced" : "Untraced"; });

class AFailingWrite : public TracedFunctions {
  protected:
    /// The steps of a function whose nth write fails, and what it throws.
    template <typename Function>
    void expectToThrow(int nth, Function function) {
        const TracedClass object(m_steps);
        ht_control_set_enabled(1);
        setFlags(1);
        watchSteps();
        m_steps.clear();
        ht_control_set_failing_write(nth);
        std::string reason = "nothing was thrown";
        try {
            function(object);
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        ht_control_set_step_observer(nullptr, nullptr);
        ht_control_set_enabled(0);
        EXPECT_EQ(reason, "no room for the text");
        EXPECT_EQ(ht_control_open_scopes(), 0U);
        m_seen = m_steps;
    }

    Steps m_seen;
};

TEST_F(AFailingWrite, EndsTheScopeWhoseNameItIsGiven) {
    expectToThrow(1, [](const TracedClass& object) { object.add(1, Step::Once); });
    EXPECT_THAT(m_seen,
                ElementsAre("container 376", "handler 376", "~handler 376", "~container 376"));
    ASSERT_EQ(m_ended.size(), 1U);
    EXPECT_EQ(m_ended[0].texts, Texts{});
}

TEST_F(AFailingWrite, EndsTheScopeInWhoseMiddleItIsGivenAText) {
    expectToThrow(2, [](const TracedClass& object) { object.storeInTheMiddle(); });
    EXPECT_THAT(m_seen, ElementsAre("container 386", "handler 386", "~handler 386", "before",
                                    "handler 386", "~handler 386", "~container 386"));
    ASSERT_EQ(m_ended.size(), 1U);
    EXPECT_EQ(m_ended[0].texts, Texts{"storeInTheMiddle"});
}

TEST_F(AFailingWrite, EndsTheScopeOfAFunctionThatMustNotThrowAndLetsItGoOn) {
    const TracedClass object(m_steps);
    ht_control_set_enabled(1);
    setFlags(1);
    watchSteps();
    m_steps.clear();
    ht_control_set_failing_write(1);
    object.goOn();
    EXPECT_THAT(m_steps, ElementsAre("container 43", "handler 43", "~handler 43", "~container 43",
                                     "went on"));
    ASSERT_EQ(m_ended.size(), 1U);
    EXPECT_EQ(m_ended[0].texts, Texts{});
}

TEST_F(AFailingWrite, EndsTheEnclosingScopesToo) {
    expectToThrow(2, [](const TracedClass& object) { object.addTwice(1); });
    EXPECT_THAT(m_seen,
                ElementsAre("container 108", "handler 108", "~handler 108", "container 376",
                            "handler 376", "~handler 376", "~container 376", "~container 108"));
}

TEST_F(AFailingWrite, LeavesThePlaceUsable) {
    expectToThrow(1, [](const TracedClass& object) { object.add(1, Step::Once); });
    m_ended.clear();
    const TracedClass object(m_steps);
    ht_control_set_enabled(1);
    EXPECT_EQ(object.add(1, Step::Once), 2);
    ASSERT_EQ(m_ended.size(), 1U);
    EXPECT_EQ(m_ended[0].texts, Texts{"add"});
}

}  // namespace
