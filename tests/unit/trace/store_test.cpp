// What storing a text does to a call item.

#include "trace/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/bind/bind.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "recording_writer.h"
#include "trace/scope.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using trace_test::RecordingWriter;
using trace_test::Texts;
using Item = ht::TSCallItemHelper;

/// A text that is stored is a literal of 9 characters.
using Literal = const char[9];

/// A writer that has no room.
class FullWriter final : public ht::TSTextWriter {
  public:
    void Write(const char*, std::size_t) override { throw 7; }
    void WriteNull() override { throw 8; }
};

Item itemFor(ht::TSTextWriter* writer, unsigned flags, bool recordsTypes) {
    Item item{};
    item.active = true;
    item.flags = flags;
    item.writer = writer;
    item.recordsTypes = recordsTypes;
    return item;
}

/// What a formatter writes to an item of its own.
Texts writtenBy(const Item::Formatter& formatter) {
    RecordingWriter writer;
    Item item = itemFor(&writer, 0, false);
    formatter(&item);
    return writer.texts();
}

struct Row {
    unsigned flags;
    bool recordsTypes;
    Texts atOnce;
    Texts later;
    std::vector<std::uint8_t> kinds;
};

const Row kRows[] = {
    {0, false, {}, {}, {}},
    {1, false, {"Register"}, {}, {}},
    {2, false, {}, {"Register"}, {}},
    {3, false, {"Register"}, {"Register"}, {}},
    {0, true, {}, {}, {0}},
    {1, true, {"Register"}, {}, {1}},
    {2, true, {}, {"Register"}, {2}},
    {3, true, {"Register"}, {"Register"}, {3}},
    // The other bits mean nothing, but the low ones go into the kind.
    {0x1ff00, true, {}, {}, {0}},
    {0x1ff02, true, {}, {"Register"}, {2}},
    {0xfffffffc, true, {}, {}, {0xfc}},
    {0xffffffff, true, {"Register"}, {"Register"}, {0xff}},
    {0x80000001, false, {"Register"}, {}, {}},
};

/// A way in which a text gets into an item.
struct Route {
    const char* name;
    bool isToTheScopesItem;  ///< otherwise to any
    void (*store)(TCScopeContainer* scope, Item* item);
};

const Route kRoutes[] = {
    {"Store", false,
     [](TCScopeContainer* scope, Item* item) { scope->m_Store<Literal>(item, "Register"); }},
    {"StoreInPlace", false,
     [](TCScopeContainer* scope, Item* item) {
         trace::storeInPlace<Literal>(scope, item, "Register");
     }},
    {"StoreName", true,
     [](TCScopeContainer* scope, Item*) { trace::storeName(scope, "Register"); }},
    {"StoreText", true,
     [](TCScopeContainer* scope, Item*) { trace::storeText(scope, "Register"); }},
};

/// A scope of a library that is switched on.
class AScope : public ::testing::Test {
  protected:
    int m_id = 0;
    int m_enabled = 1;
    const TSCodeLocation m_location{"source.cpp", 1, "void function()", &m_id, &m_enabled};
    TCScopeContainer m_scope{m_location};
    RecordingWriter m_writer;
};

class AStoredText : public AScope, public ::testing::WithParamInterface<Route> {
  protected:
    // The service ends the call with what it was given at first.
    ~AStoredText() override { *scopesItem() = Item{}; }

    Item* scopesItem() { return TCScopeHandler::Instance(m_scope).item(); }
    /// What the route stores into.
    Item* item() { return GetParam().isToTheScopesItem ? scopesItem() : &m_own; }
    void store() { GetParam().store(&m_scope, item()); }

  private:
    Item m_own{};
};

TEST_P(AStoredText, GoesWhereTheFlagWordSays) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(::testing::Message()
                     << "flags " << row.flags << ", types " << row.recordsTypes);
        RecordingWriter writer;
        *item() = itemFor(&writer, row.flags, row.recordsTypes);
        store();
        EXPECT_EQ(writer.texts(), row.atOnce);
        Texts later;
        for (const Item::Formatter& formatter : item()->formatters) {
            const Texts texts = writtenBy(formatter);
            later.insert(later.end(), texts.begin(), texts.end());
        }
        EXPECT_EQ(later, row.later);
        EXPECT_EQ(item()->formatters.size(), row.later.size());
        EXPECT_EQ(item()->typeNames, std::vector<std::string>(row.kinds.size(), "char const*"));
        EXPECT_EQ(item()->kinds, row.kinds);
        EXPECT_EQ(item()->tags, std::vector<std::uint16_t>(row.kinds.size(), 16383));
        EXPECT_EQ(item()->flags, 1U);
        EXPECT_TRUE(item()->active);
        EXPECT_EQ(item()->writer, &writer);
        EXPECT_EQ(item()->recordsTypes, row.recordsTypes);
        // The formatters wrote to the item they were given.
        EXPECT_EQ(writer.texts(), row.atOnce);
        *item() = Item{};
    }
}

TEST_P(AStoredText, IsWrittenAtOnceWhenItIsNotTheFirst) {
    *item() = itemFor(&m_writer, 0x1ff02, true);
    store();
    EXPECT_THAT(m_writer.texts(), IsEmpty());
    store();
    EXPECT_EQ(m_writer.texts(), Texts{"Register"});
    EXPECT_EQ(item()->formatters.size(), 1U);
    EXPECT_THAT(item()->typeNames, ElementsAre("char const*", "char const*"));
    EXPECT_THAT(item()->kinds, ElementsAre(2, 1));
    EXPECT_THAT(item()->tags, ElementsAre(16383, 16383));
    EXPECT_EQ(item()->flags, 1U);
}

TEST_P(AStoredText, IsAddedToWhatTheItemHas) {
    *item() = itemFor(&m_writer, 2, true);
    item()->formatters.emplace_back();
    item()->typeNames = {"int"};
    item()->kinds = {9};
    item()->tags = {10};
    store();
    ASSERT_EQ(item()->formatters.size(), 2U);
    EXPECT_TRUE(item()->formatters[0].empty());
    EXPECT_EQ(writtenBy(item()->formatters[1]), Texts{"Register"});
    EXPECT_THAT(item()->typeNames, ElementsAre("int", "char const*"));
    EXPECT_THAT(item()->kinds, ElementsAre(9, 2));
    EXPECT_THAT(item()->tags, ElementsAre(10, 16383));
}

TEST_P(AStoredText, IsNotWrittenByHalvesWhenTheWriterThrows) {
    FullWriter writer;
    *item() = itemFor(&writer, 3, true);
    try {
        store();
        ADD_FAILURE() << "the exception was swallowed";
    } catch (int code) {
        EXPECT_EQ(code, 7);
    }
    EXPECT_THAT(item()->formatters, IsEmpty());
    EXPECT_THAT(item()->typeNames, IsEmpty());
    EXPECT_THAT(item()->kinds, IsEmpty());
    EXPECT_THAT(item()->tags, IsEmpty());
    EXPECT_EQ(item()->flags, 3U);
}

INSTANTIATE_TEST_SUITE_P(ByAnyRoute, AStoredText, ::testing::ValuesIn(kRoutes),
                         [](const auto& info) { return info.param.name; });

class AnInactiveItem : public AStoredText {};

TEST_P(AnInactiveItem, IsLeftAlone) {
    *item() = itemFor(&m_writer, 0x1ff03, true);
    item()->active = false;
    store();
    EXPECT_THAT(m_writer.texts(), IsEmpty());
    EXPECT_THAT(item()->formatters, IsEmpty());
    EXPECT_THAT(item()->typeNames, IsEmpty());
    EXPECT_THAT(item()->kinds, IsEmpty());
    EXPECT_THAT(item()->tags, IsEmpty());
    EXPECT_EQ(item()->flags, 0x1ff03U);
}

INSTANTIATE_TEST_SUITE_P(OfAScope, AnInactiveItem, ::testing::Values(kRoutes[2], kRoutes[3]),
                         [](const auto& info) { return info.param.name; });

/// Values that no literal of a scope has.
class AValue : public AScope {
  protected:
    Item m_item = itemFor(&m_writer, 3, true);
};

TEST_F(AValue, ThatIsNullIsStoredAsTheNullValue) {
    m_scope.m_Store<Literal>(&m_item, nullptr);
    EXPECT_EQ(m_writer.texts(), Texts{std::nullopt});
    ASSERT_EQ(m_item.formatters.size(), 1U);
    EXPECT_EQ(writtenBy(m_item.formatters[0]), Texts{std::nullopt});
    EXPECT_THAT(m_item.typeNames, ElementsAre("char const*"));
    EXPECT_THAT(m_item.kinds, ElementsAre(3));
    EXPECT_THAT(m_item.tags, ElementsAre(16383));
    EXPECT_EQ(m_item.flags, 1U);
}

TEST_F(AValue, ThatIsNullPassesOnWhatTheWriterThrows) {
    FullWriter writer;
    m_item.writer = &writer;
    try {
        m_scope.m_Store<Literal>(&m_item, nullptr);
        ADD_FAILURE() << "the exception was swallowed";
    } catch (int code) {
        EXPECT_EQ(code, 8);
    }
}

TEST_F(AValue, ThatIsEmptyIsStoredAsSuch) {
    m_scope.m_Store<const char[1]>(&m_item, "");
    EXPECT_EQ(m_writer.texts(), Texts{""});
    ASSERT_EQ(m_item.formatters.size(), 1U);
    EXPECT_EQ(writtenBy(m_item.formatters[0]), Texts{""});
}

TEST_F(AValue, EndsWhereItsTextDoes) {
    m_scope.m_Store<Literal>(&m_item, "Reg\0ster");
    EXPECT_EQ(m_writer.texts(), Texts{"Reg"});
    ASSERT_EQ(m_item.formatters.size(), 1U);
    EXPECT_EQ(writtenBy(m_item.formatters[0]), Texts{"Reg"});
}

TEST_F(AValue, IsNotCopied) {
    char text[] = "Register";
    m_scope.m_Store<Literal>(&m_item, text);
    text[0] = 'r';
    EXPECT_EQ(m_writer.texts(), Texts{"Register"});
    ASSERT_EQ(m_item.formatters.size(), 1U);
    EXPECT_EQ(writtenBy(m_item.formatters[0]), Texts{"register"});
}

TEST_F(AValue, IsKeptWithTheScopeAndTheFormatterOfItsSize) {
    const char* const value = "Register";
    m_scope.m_Store<Literal>(&m_item, value);
    ASSERT_EQ(m_item.formatters.size(), 1U);
    const auto bound = [value](auto formatter, TCScopeContainer* scope) {
        return boost::bind(formatter, scope, boost::placeholders::_1,
                           reinterpret_cast<Literal*>(value));
    };
    const Item::Formatter& kept = m_item.formatters[0];
    EXPECT_TRUE(kept.contains(bound(&TCScopeContainer::m_VoidToType<Literal>, &m_scope)));
    EXPECT_FALSE(kept.contains(bound(&TCScopeContainer::m_VoidToType<const char[10]>, &m_scope)));
    EXPECT_FALSE(kept.contains(bound(&TCScopeContainer::m_VoidToType<Literal>, nullptr)));
}

}  // namespace
