// What is stored into the item of a traced call.

#include <stdexcept>
#include <string>
#include <vector>

#include "fixture.h"

namespace {

using call_trace_test::Scope;
using call_trace_test::store;
using call_trace_test::Texts;
using call_trace_test::TheTracingService;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AnItem : public TheTracingService {
  protected:
    AnItem() { ht_control_set_enabled(1); }
};

struct Row {
    unsigned flags;
    Texts texts;  ///< of two that are stored
    std::vector<int> kinds;
};

const Row kRows[] = {
    {0, {"second"}, {0, 1}},          {1, {"first", "second"}, {1, 1}},
    {2, {"second", "first"}, {2, 1}}, {3, {"first", "second", "first"}, {3, 1}},
    {6, {"second", "first"}, {6, 1}}, {0x102, {"second", "first"}, {2, 1}},
};

TEST_F(AnItem, KeepsTextsAsItsFlagsSay) {
    std::size_t count = 0;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.flags);
        setOrders(row.flags, false);
        {
            Scope scope(m_outer, "first");
            store(scope.container(), "second");
        }
        ASSERT_EQ(ended().size(), ++count);
        EXPECT_EQ(ended().back().texts, row.texts);
        EXPECT_EQ(ended().back().flags, 1U);
        EXPECT_THAT(ended().back().typeNames, IsEmpty());
        EXPECT_THAT(ended().back().kinds, IsEmpty());
        EXPECT_THAT(ended().back().tags, IsEmpty());
    }
}

TEST_F(AnItem, RecordsTypesWhenAsked) {
    std::size_t count = 0;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.flags);
        setOrders(row.flags, true);
        {
            Scope scope(m_outer, "first");
            store(scope.container(), "second");
        }
        ASSERT_EQ(ended().size(), ++count);
        EXPECT_EQ(ended().back().texts, row.texts);
        EXPECT_THAT(ended().back().typeNames, ElementsAre("char const*", "char const*"));
        EXPECT_EQ(ended().back().kinds, row.kinds);
        EXPECT_THAT(ended().back().tags, ElementsAre(16383, 16383));
    }
}

TEST_F(AnItem, BeginsAsOrderedWhenItBegins) {
    setOrders(1, true);
    TCScopeContainer scope(m_outer.location);
    setOrders(0, false);
    const ht::TSCallItemHelper& item = *TCScopeHandler::Instance(scope).item();
    EXPECT_EQ(item.flags, 1U);
    EXPECT_TRUE(item.recordsTypes);
}

TEST_F(AnItem, TellsOfTheFlagsItEndsWith) {
    setOrders(2, false);
    { TCScopeContainer scope(m_outer.location); }
    ASSERT_EQ(ended().size(), 1U);
    EXPECT_EQ(ended()[0].flags, 2U);
}

TEST_F(AnItem, TakesTheNullValue) {
    for (const unsigned flags : {1U, 2U}) {
        setOrders(flags, false);
        { Scope scope(m_outer, nullptr); }
        EXPECT_EQ(ended().back().texts, Texts{std::nullopt});
    }
    EXPECT_EQ(ended().size(), 2U);
}

TEST_F(AnItem, CopiesTexts) {
    {
        TCScopeContainer scope(m_outer.location);
        char text[] = "text";
        TCScopeHandler::Instance(scope).item()->writer->Write(text, 3);
        text[0] = '!';
    }
    EXPECT_EQ(onlyTexts(), Texts{"tex"});
}

TEST_F(AnItem, RunsItsFormattersInOrderWhenItsCallEnds) {
    std::vector<std::string> seen;
    {
        TCScopeContainer scope(m_outer.location);
        ht::TSCallItemHelper* own = TCScopeHandler::Instance(scope).item();
        own->formatters.emplace_back([&, own](ht::TSCallItemHelper* item) {
            EXPECT_EQ(item, own);
            seen.emplace_back("first");
            item->writer->Write("first", 5);
        });
        own->formatters.emplace_back();
        own->formatters.emplace_back([&](ht::TSCallItemHelper* item) {
            EXPECT_THAT(item->formatters, IsEmpty());
            seen.emplace_back("second");
            item->writer->WriteNull();
        });
        own->writer->Write("at once", 7);
        EXPECT_THAT(seen, IsEmpty());
    }
    EXPECT_THAT(seen, ElementsAre("first", "second"));
    EXPECT_EQ(onlyTexts(), (Texts{"at once", "first", std::nullopt}));
}

TEST_F(AnItem, LosesTheTextOfAFormatterThatThrows) {
    {
        TCScopeContainer scope(m_outer.location);
        ht::TSCallItemHelper* item = TCScopeHandler::Instance(scope).item();
        item->formatters.emplace_back([](ht::TSCallItemHelper*) { throw std::runtime_error(""); });
        item->formatters.emplace_back([](ht::TSCallItemHelper*) { throw 7; });
        item->formatters.emplace_back(
            [](ht::TSCallItemHelper* own) { own->writer->Write("kept", 4); });
    }
    EXPECT_EQ(onlyTexts(), Texts{"kept"});
}

TEST_F(AnItem, LosesTheTextOfAFormatterWhenAnExceptionPassesItsScope) {
    EXPECT_THROW(
        {
            Scope scope(m_outer, "lost");
            ht_control_set_failing_write(1);
            throw std::logic_error("of the traced function");
        },
        std::logic_error);
    EXPECT_EQ(onlyTexts(), Texts{});
}

TEST_F(AnItem, LosesATypeThatWasRecordedByHalves) {
    {
        TCScopeContainer scope(m_outer.location);
        ht::TSCallItemHelper* item = TCScopeHandler::Instance(scope).item();
        item->typeNames = {"one", "two"};
        item->kinds = {1, 2};
        item->tags = {10};
    }
    ASSERT_EQ(ended().size(), 1U);
    EXPECT_THAT(ended()[0].typeNames, ElementsAre("one"));
    EXPECT_THAT(ended()[0].kinds, ElementsAre(1));
    EXPECT_THAT(ended()[0].tags, ElementsAre(10));
}

class AFailingWrite : public TheTracingService {
  protected:
    AFailingWrite() {
        ht_control_set_enabled(1);
        setOrders(1, false);
    }
};

TEST_F(AFailingWrite, IsTheOneOrderedAndNoOther) {
    {
        Scope scope(m_outer, "1");
        ht_control_set_failing_write(3);
        store(scope.container(), "2");
        store(scope.container(), nullptr);
        std::string reason;
        try {
            store(scope.container(), "4");
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        EXPECT_EQ(reason, "no room for the text");
        store(scope.container(), "5");
    }
    EXPECT_EQ(onlyTexts(), (Texts{"1", "2", std::nullopt, "5"}));
}

TEST_F(AFailingWrite, MayBeThatOfTheNullValue) {
    ht_control_set_failing_write(1);
    EXPECT_THROW(Scope(m_outer, nullptr), std::runtime_error);
    EXPECT_EQ(onlyTexts(), Texts{});
}

TEST_F(AFailingWrite, LeavesItsScopeToEndWell) {
    {
        TCScopeContainer scope(m_outer.location);
        ht_control_set_failing_write(1);
        EXPECT_THROW(store(scope, "lost"), std::runtime_error);
        store(scope, "kept");
    }
    EXPECT_EQ(onlyTexts(), Texts{"kept"});
}

TEST_F(AFailingWrite, IsTakenBack) {
    ht_control_set_failing_write(1);
    ht_control_set_failing_write(0);
    { Scope scope(m_outer, "kept"); }
    EXPECT_EQ(onlyTexts(), Texts{"kept"});
}

TEST_F(AFailingWrite, OfAFormatterLosesItsText) {
    setOrders(2, false);
    {
        Scope scope(m_outer, "lost");
        store(scope.container(), "kept");
        ht_control_set_failing_write(1);
    }
    EXPECT_EQ(onlyTexts(), Texts{"kept"});
}

TEST(TheDemangler, SpellsTypes) {
    using ht::TSDemangler;
    EXPECT_EQ(TSDemangler::Demangle("PKc"), "char const*");
    EXPECT_EQ(TSDemangler::Demangle("i"), "int");
    EXPECT_EQ(TSDemangler::Demangle("A29_c"), "char [29]");
    EXPECT_EQ(TSDemangler::Demangle("N2ht12TSTextWriterE"), "ht::TSTextWriter");
}

TEST(TheDemangler, LeavesWhatIsNoType) {
    for (const char* text : {"", "*PKc", "no type", "N2ht"}) {
        EXPECT_EQ(ht::TSDemangler::Demangle(text), text);
    }
}

}  // namespace
