// Scopes begin and end; those of libraries that are switched on become calls.

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fixture.h"
#include "slow_observer.h"

namespace {

using call_trace_test::Place;
using call_trace_test::Scope;
using call_trace_test::Texts;
using call_trace_test::TheTracingService;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AnUntracedScope : public TheTracingService {};

class ATracedScope : public TheTracingService {
  protected:
    ATracedScope() { ht_control_set_enabled(1); }

    /// The functions of the calls that have ended.
    std::vector<std::string> functions() const {
        std::vector<std::string> functions;
        for (const auto& call : ended()) functions.emplace_back(call.location->function);
        return functions;
    }
};

TEST_F(AnUntracedScope, HasAnInactiveItem) {
    TCScopeContainer scope(m_outer.location);
    const TCScopeHandler handler = TCScopeHandler::Instance(scope);
    ASSERT_NE(handler.item(), nullptr);
    EXPECT_FALSE(handler.item()->active);
}

TEST_F(AnUntracedScope, SharesItsItemWithAllOfItsKind) {
    TCScopeContainer outer(m_outer.location);
    TCScopeContainer inner(m_inner.location);
    const ht::TSCallItemHelper* item = TCScopeHandler::Instance(outer).item();
    EXPECT_EQ(TCScopeHandler::Instance(inner).item(), item);
    std::thread([&] {
        TCScopeContainer other(m_outer.location);
        EXPECT_EQ(TCScopeHandler::Instance(other).item(), item);
    }).join();
}

TEST_F(AnUntracedScope, LeavesNoTrace) {
    { Scope scope(m_outer, "text"); }
    EXPECT_THAT(ended(), IsEmpty());
    EXPECT_EQ(m_outer.id, 0);
}

TEST_F(AnUntracedScope, StaysSoWhenTracingGoesOn) {
    {
        Scope scope(m_outer, "before");
        ht_control_set_enabled(1);
        call_trace_test::store(scope.container(), "after");
        EXPECT_FALSE(TCScopeHandler::Instance(scope.container()).item()->active);
    }
    EXPECT_THAT(ended(), IsEmpty());
}

TEST_F(ATracedScope, HasAnActiveItem) {
    TCScopeContainer scope(m_outer.location);
    const TCScopeHandler handler = TCScopeHandler::Instance(scope);
    const ht::TSCallItemHelper& item = *handler.item();
    EXPECT_TRUE(item.active);
    EXPECT_EQ(item.flags, 2U);
    EXPECT_NE(item.writer, nullptr);
    EXPECT_FALSE(item.recordsTypes);
    EXPECT_THAT(item.formatters, IsEmpty());
    EXPECT_THAT(item.typeNames, IsEmpty());
    EXPECT_THAT(item.kinds, IsEmpty());
    EXPECT_THAT(item.tags, IsEmpty());
}

TEST_F(ATracedScope, IsToldOfWhenItEnds) {
    {
        Scope scope(m_outer, "text");
        EXPECT_THAT(ended(), IsEmpty());
    }
    ASSERT_EQ(ended().size(), 1U);
    EXPECT_EQ(ended()[0].location, &m_outer.location);
    EXPECT_EQ(ended()[0].texts, Texts{"text"});
    EXPECT_EQ(ended()[0].depth, 0U);
    EXPECT_LE(ended()[0].beginNs, ended()[0].endNs);
}

TEST_F(ATracedScope, EndsAsSuchWhenTracingGoesOff) {
    {
        Scope scope(m_outer, "before");
        ht_control_set_enabled(0);
        call_trace_test::store(scope.container(), "after");
        Scope untraced(m_inner, "inner");
    }
    ASSERT_EQ(functions(), std::vector<std::string>{"void Class::outer()"});
    EXPECT_EQ(onlyTexts(), (Texts{"after", "before"}));
}

TEST_F(ATracedScope, EnclosesThoseThatBeginLater) {
    const Place third("void Class::third()", &m_enabled);
    {
        Scope outer(m_outer, "outer");
        { Scope inner(m_inner, "inner 1"); }
        {
            Scope inner(m_inner, "inner 2");
            Scope innermost(third, "third");
        }
    }
    { Scope outer(m_outer, "outer again"); }
    ASSERT_EQ(functions(),
              (std::vector<std::string>{"void Class::inner(int)", "void Class::third()",
                                        "void Class::inner(int)", "void Class::outer()",
                                        "void Class::outer()"}));
    std::vector<std::size_t> depths;
    Texts texts;
    for (const auto& call : ended()) {
        depths.push_back(call.depth);
        texts.insert(texts.end(), call.texts.begin(), call.texts.end());
    }
    EXPECT_THAT(depths, ElementsAre(1, 2, 1, 0, 0));
    EXPECT_EQ(texts, (Texts{"inner 1", "third", "inner 2", "outer", "outer again"}));
    const auto& calls = ended();
    EXPECT_LE(calls[3].beginNs, calls[0].beginNs);
    EXPECT_LE(calls[0].endNs, calls[2].beginNs);
    EXPECT_LE(calls[2].beginNs, calls[1].beginNs);
    EXPECT_LE(calls[1].endNs, calls[2].endNs);
    EXPECT_LE(calls[2].endNs, calls[3].endNs);
    EXPECT_LE(calls[3].endNs, calls[4].beginNs);
}

TEST_F(ATracedScope, CountsOnlyTracedOnesThatEncloseIt) {
    int off = 0;
    const Place untraced("void Other::untraced()", &off);
    {
        Scope other(untraced, "no");
        Scope outer(m_outer, "outer");
        Scope another(untraced, "no");
        Scope inner(m_inner, "inner");
    }
    ASSERT_EQ(ended().size(), 2U);
    EXPECT_EQ(ended()[0].depth, 1U);
    EXPECT_EQ(ended()[1].depth, 0U);
}

TEST_F(ATracedScope, KeepsItsItemWhileOthersAreOpen) {
    TCScopeContainer outer(m_outer.location);
    const ht::TSCallItemHelper* item = TCScopeHandler::Instance(outer).item();
    {
        TCScopeContainer inner(m_inner.location);
        EXPECT_NE(TCScopeHandler::Instance(inner).item(), item);
        EXPECT_EQ(TCScopeHandler::Instance(outer).item(), item);
    }
    EXPECT_EQ(TCScopeHandler::Instance(outer).item(), item);
}

TEST_F(ATracedScope, GetsWhatIsStoredIntoItWhileOthersAreOpen) {
    {
        Scope outer(m_outer, "outer");
        Scope inner(m_inner, "inner");
        call_trace_test::store(outer.container(), "outer, too");
    }
    ASSERT_EQ(ended().size(), 2U);
    EXPECT_EQ(ended()[0].texts, Texts{"inner"});
    EXPECT_EQ(ended()[1].texts, (Texts{"outer, too", "outer"}));
}

TEST_F(ATracedScope, EndsWhenAnExceptionPasses) {
    EXPECT_THROW(
        {
            Scope outer(m_outer, "outer");
            Scope inner(m_inner, "inner");
            throw std::runtime_error("of the traced function");
        },
        std::runtime_error);
    EXPECT_EQ(functions(),
              (std::vector<std::string>{"void Class::inner(int)", "void Class::outer()"}));
}

TEST_F(ATracedScope, NumbersItsPlaceOnce) {
    { Scope scope(m_outer, "text"); }
    const int number = m_outer.id;
    EXPECT_GT(number, 0);
    { Scope scope(m_inner, "text"); }
    EXPECT_GT(m_inner.id, 0);
    EXPECT_NE(m_inner.id, number);
    { Scope scope(m_outer, "text"); }
    EXPECT_EQ(m_outer.id, number);
}

TEST_F(ATracedScope, LeavesANumberThatItsPlaceHas) {
    Place numbered("void Class::numbered()", &m_enabled);
    numbered.id = 4711;
    { Scope scope(numbered, "text"); }
    EXPECT_EQ(numbered.id, 4711);
}

TEST_F(ATracedScope, IsToldOfToNobodyWhenThereIsNoObserver) {
    ht_control_set_call_observer(nullptr, nullptr);
    { Scope scope(m_outer, "text"); }
    EXPECT_THAT(ended(), IsEmpty());
}

/// Of scopes, traced or not.
class Scopes : public TheTracingService, public ::testing::WithParamInterface<bool> {
  protected:
    Scopes() { ht_control_set_enabled(GetParam() ? 1 : 0); }
};

TEST_P(Scopes, AreCountedPerThread) {
    EXPECT_EQ(ht_control_open_scopes(), 0U);
    {
        Scope outer(m_outer, "outer");
        EXPECT_EQ(ht_control_open_scopes(), 1U);
        {
            Scope inner(m_inner, "inner");
            EXPECT_EQ(ht_control_open_scopes(), 2U);
            std::thread([&] {
                EXPECT_EQ(ht_control_open_scopes(), 0U);
                Scope other(m_outer, "other");
                EXPECT_EQ(ht_control_open_scopes(), 1U);
            }).join();
            EXPECT_EQ(ht_control_open_scopes(), 2U);
        }
        EXPECT_EQ(ht_control_open_scopes(), 1U);
    }
    EXPECT_EQ(ht_control_open_scopes(), 0U);
}

TEST_P(Scopes, TellOfEveryStep) {
    using Told = std::vector<std::pair<std::string, const TSCodeLocation*>>;
    Told told;
    ht_control_set_step_observer(
        [](const char* step, const TSCodeLocation* location, void* user) {
            static_cast<Told*>(user)->emplace_back(step, location);
        },
        &told);
    {
        TCScopeContainer outer(m_outer.location);
        { const TCScopeHandler handler = TCScopeHandler::Instance(outer); }
        TCScopeContainer inner(m_inner.location);
        { const TCScopeHandler handler = TCScopeHandler::Instance(inner); }
        { const TCScopeHandler handler = TCScopeHandler::Instance(outer); }
    }
    const TSCodeLocation* outer = &m_outer.location;
    const TSCodeLocation* inner = &m_inner.location;
    EXPECT_EQ(told, (Told{{"container", outer},
                          {"handler", outer},
                          {"~handler", outer},
                          {"container", inner},
                          {"handler", inner},
                          {"~handler", inner},
                          {"handler", outer},
                          {"~handler", outer},
                          {"~container", inner},
                          {"~container", outer}}));
    ht_control_set_step_observer(nullptr, nullptr);
    { Scope scope(m_outer, "text"); }
    EXPECT_EQ(told.size(), 10U);
}

TEST_P(Scopes, TellOfTheirStepsOnTheirThread) {
    std::vector<std::thread::id> told;
    ht_control_set_step_observer(
        [](const char*, const TSCodeLocation*, void* user) {
            static_cast<std::vector<std::thread::id>*>(user)->push_back(std::this_thread::get_id());
        },
        &told);
    std::thread other([&] { TCScopeContainer scope(m_outer.location); });
    const std::thread::id id = other.get_id();
    other.join();
    EXPECT_THAT(told, ElementsAre(id, id));
}

TEST_P(Scopes, TellNobodyWhoHasBeenTakenAway) {
    support::SlowObserver slow;
    ht_control_set_step_observer(
        [](const char* step, const TSCodeLocation*, void* user) {
            if (step == std::string("container")) static_cast<support::SlowObserver*>(user)->run();
        },
        &slow);
    slow.expectRemovalToWait([this] { TCScopeContainer scope(m_outer.location); },
                             [] { ht_control_set_step_observer(nullptr, nullptr); });
}

INSTANTIATE_TEST_SUITE_P(TracedOrNot, Scopes, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Traced" : "Untraced"; });

}  // namespace
