// Mappings by themselves, and their JSON form.

#include "account/mappings.h"

#include <gtest/gtest.h>

namespace {

using account::Mapping;
using account::Mappings;
using account::toJson;

/// "app partner user, app partner user".
std::string toText(const std::vector<Mapping>& mappings) {
    std::string text;
    for (const Mapping& one : mappings) {
        text += (text.empty() ? "" : ", ") + one.appId + " " + one.cpName + " " + one.cpUid;
    }
    return text;
}

Mappings with(const std::vector<Mapping>& added) {
    Mappings mappings;
    for (const Mapping& one : added) {
        EXPECT_TRUE(mappings.add(one)) << toText({one});
    }
    return mappings;
}

TEST(Mappings, AreNoneAtFirst) {
    const Mappings mappings;
    EXPECT_EQ(toText(mappings.all()), "");
    EXPECT_EQ(toText(mappings.list("a", "")), "");
}

TEST(Mappings, AreListedTheOldestFirst) {
    const Mappings mappings = with({{"b", "p", "u"}, {"a", "q", "v"}, {"a", "p", "w"}});
    EXPECT_EQ(toText(mappings.all()), "b p u, a q v, a p w");
    EXPECT_EQ(toText(mappings.list("a", "")), "a q v, a p w");
    EXPECT_EQ(toText(mappings.list("a", "p")), "a p w");
    EXPECT_EQ(toText(mappings.list("b", "q")), "");
    EXPECT_EQ(toText(mappings.list("", "")), "");
}

TEST(Mappings, AreThereOnce) {
    Mappings mappings = with({{"a", "p", "u"}, {"a", "p", "v"}});
    EXPECT_FALSE(mappings.add({"a", "p", "u"}));
    EXPECT_EQ(toText(mappings.all()), "a p u, a p v");
    EXPECT_TRUE(mappings.add({"b", "p", "u"}));
}

TEST(Mappings, DifferInEachOfTheirTexts) {
    const Mapping one{"b", "b", "b"};
    for (const Mapping& smaller : {Mapping{"a", "c", "c"}, {"b", "a", "c"}, {"b", "b", "a"}}) {
        SCOPED_TRACE(toText({smaller}));
        EXPECT_TRUE(smaller < one);
        EXPECT_FALSE(one < smaller);
    }
    EXPECT_FALSE(one < one);
}

TEST(Mappings, GoOneByOne) {
    Mappings mappings = with({{"a", "p", "u"}, {"a", "p", "v"}});
    EXPECT_TRUE(mappings.remove({"a", "p", "u"}));
    EXPECT_FALSE(mappings.remove({"a", "p", "u"}));
    EXPECT_FALSE(mappings.remove({"a", "q", "v"}));
    EXPECT_EQ(toText(mappings.all()), "a p v");
}

TEST(Mappings, GoAllOfAnApplicationsWithAPartner) {
    Mappings mappings =
        with({{"a", "p", "u"}, {"a", "q", "u"}, {"b", "p", "u"}, {"a", "p", "v"}, {"a", "o", "u"}});
    EXPECT_FALSE(mappings.remove({"a", "", ""}));
    EXPECT_FALSE(mappings.remove({"c", "p", ""}));
    EXPECT_TRUE(mappings.remove({"a", "p", ""}));
    EXPECT_EQ(toText(mappings.all()), "a q u, b p u, a o u");
    EXPECT_FALSE(mappings.remove({"a", "p", ""}));
}

TEST(Mappings, ComeBackAsTheYoungest) {
    Mappings mappings = with({{"a", "p", "u"}, {"a", "p", "v"}});
    EXPECT_TRUE(mappings.remove({"a", "p", "u"}));
    EXPECT_TRUE(mappings.add({"a", "p", "u"}));
    EXPECT_EQ(toText(mappings.all()), "a p v, a p u");
}

TEST(Mappings, ThatAreCopiedGoOnAlone) {
    Mappings one = with({{"a", "p", "u"}});
    const Mappings copy = one;
    EXPECT_TRUE(one.remove({"a", "p", "u"}));
    EXPECT_EQ(toText(copy.all()), "a p u");
}

TEST(TheJsonOfMappings, IsACompactArray) {
    EXPECT_EQ(toJson(std::vector<Mapping>()), "[]");
    EXPECT_EQ(toJson({{"a", "p", "u"}, {"b", "q", ""}}),
              R"([{"appID":"a","cpName":"p","cpUID":"u"},{"appID":"b","cpName":"q","cpUID":""}])");
}

TEST(TheJsonOfMappings, HoldsAnyText) {
    EXPECT_EQ(toJson({{"\"\\\n", "\xC3\xA9", "\xFF"}}),
              "[{\"appID\":\"\\\"\\\\\\n\",\"cpName\":\"\xC3\xA9\",\"cpUID\":\"\xEF\xBF\xBD\"}]");
}

}  // namespace
