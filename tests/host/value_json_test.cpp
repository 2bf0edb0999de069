#include "host/value_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "special_numbers.h"

namespace {

using host::JsonError;
using host::parseJson;
using host::Value;
using host::writeJson;
using ::testing::HasSubstr;
using ::testing::Not;

struct Row {
    std::string json;
    Value value;
};

/// Text and value stand for each other, both ways.
const std::vector<Row>& exactRows() {
    static const std::vector<Row> rows = {
        {"null", Value::Null{}},
        {"true", true},
        {"false", false},
        {"0", 0},
        {"-1", -1},
        {"2147483647", std::numeric_limits<std::int32_t>::max()},
        {"-2147483648", std::numeric_limits<std::int32_t>::min()},
        {"2147483648.0", 2147483648.0},
        {"-2147483649.0", -2147483649.0},
        {"0.5", 0.5},
        {"0.1", 0.1},
        {"1e+300", 1e300},
        {"5e-324", std::numeric_limits<double>::denorm_min()},
        {R"("text")", "text"},
        {R"("")", ""},
        {R"("a\u0000b")", std::string("a\0b", 3)},
        {R"("\"\\\n\t")", "\"\\\n\t"},
        {"\"\xc3\xa4\xf0\x9f\x98\x80\"", "\xc3\xa4\xf0\x9f\x98\x80"},
        {"[]", Value::Array{}},
        {"[1,[],\"a\"]", Value::Array{1, Value::Array{}, "a"}},
        {"{}", Value::Dictionary{}},
        {R"({"":1,"a":{"b":null}})",
         Value::Dictionary{{"", 1}, {"a", Value::Dictionary{{"b", Value::Null{}}}}}},
        {R"({"$type":"undefined"})", Value()},
        {R"({"$type":"double","value":1.0})", 1.0},
        {R"({"$type":"double","value":-2.0})", -2.0},
        {R"({"$type":"double","value":"NaN"})", kNaN},
        {R"({"$type":"double","value":"Infinity"})", kInfinity},
        {R"({"$type":"double","value":"-Infinity"})", -kInfinity},
        {R"({"$type":"double","value":"-0"})", -0.0},
        {R"({"$type":"arraybuffer","bytes":[]})", Value::Buffer{}},
        {R"({"$type":"arraybuffer","bytes":[0]})", Value::Buffer{0}},
        {R"({"$type":"arraybuffer","bytes":[0,1]})", Value::Buffer{0, 1}},
        {R"({"$type":"arraybuffer","bytes":[0,1,255]})", Value::Buffer{0, 1, 255}},
        {R"({"$type":"arraybuffer","bytes":[251,255,191]})", Value::Buffer{0xfb, 0xff, 0xbf}},
        {R"({"$type":"dictionary","value":{"$type":"double"}})",
         Value::Dictionary{{"$type", "double"}}},
        {R"({"$type":"dictionary","value":{"$type":{"$type":"undefined"},"a":1}})",
         Value::Dictionary{{"$type", Value()}, {"a", 1}}},
        {R"([{"$type":"undefined"},{"a":{"$type":"undefined"}}])",
         Value::Array{Value(), Value::Dictionary{{"a", Value()}}}},
        {R"({"$type":"dictionary","value":{"$type":{"$type":"dictionary","value":{"$type":1}}}})",
         Value::Dictionary{{"$type", Value::Dictionary{{"$type", 1}}}}},
    };
    return rows;
}

TEST(AJsonText, StandsForAValue) {
    for (const Row& row : exactRows()) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(parseJson(row.json), row.value);
    }
}

TEST(AValueAsJson, IsWrittenWithTheNumbersTypeKept) {
    for (const Row& row : exactRows()) {
        SCOPED_TRACE(row.json);
        const std::string written = writeJson(row.value);
        EXPECT_EQ(parseJson(written), row.value) << written;
        // The spelling is JSON's; what it says is compared by the library.
        EXPECT_EQ(nlohmann::json::parse(written), nlohmann::json::parse(row.json)) << written;
    }
}

TEST(AValueAsJson, GoesThroughTheLibrarysTypeUnchanged) {
    for (const Row& row : exactRows()) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(host::fromJson(host::toJson(row.value)), row.value);
    }
}

TEST(AJsonText, TakesNumbersAsAPageDoes) {
    const std::vector<Row> rows = {
        {"3.0", 3},
        {"1e2", 100},
        {"2147483648", 2147483648.0},
        {"-2147483649", -2147483649.0},
        {"9007199254740993", 9007199254740992.0},
        {"18446744073709551616", 18446744073709551616.0},
        {"1e-400", 0},
        {"-0.0", -0.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(parseJson(row.json), row.value);
    }
}

TEST(AJsonText, KeepsTheSignOfAZeroWithoutAPointAsAPageDoes) {
    EXPECT_EQ(parseJson("-0"), Value(-0.0));
    EXPECT_EQ(parseJson("[-0]"), Value(Value::Array{-0.0}));
    EXPECT_EQ(parseJson("0"), Value(0));
}

TEST(AJsonText, DoesNotEndAtANulByte) {
    EXPECT_THROW(parseJson(std::string("1\0", 2)), JsonError);
    EXPECT_THROW(parseJson(std::string("{}\0 more", 8)), JsonError);
    EXPECT_THROW(parseJson(std::string("\0", 1)), JsonError);
}

TEST(AJsonText, MayHaveBlanksAndEscapes) {
    EXPECT_EQ(parseJson(" \t\r\n[ 1 , 2 ] "), Value(Value::Array{1, 2}));
    EXPECT_EQ(parseJson(R"("\u00e4\ud83d\ude00")"), Value("\xc3\xa4\xf0\x9f\x98\x80"));
    EXPECT_EQ(parseJson(R"({"]":"}[{\"","\\":1})"),
              Value(Value::Dictionary{{"]", "}[{\""}, {"\\", 1}}));
    EXPECT_EQ(parseJson(R"({"a":1,"a":2})"), Value(Value::Dictionary{{"a", 2}}));
}

TEST(AJsonText, ThatIsNoneIsRefused) {
    const std::vector<std::string> bad = {
        "",
        " ",
        "nul",
        "[1,]",
        "[1",
        "{\"a\":1",
        "{\"a\" 1}",
        "{a:1}",
        "'a'",
        "[1] 2",
        "1 2",
        "NaN",
        "01",
        "+1",
        "1.",
        ".5",
        "\"a",
        "\"\\x\"",
        "\"\n\"",
        "\"\\ud800\"",
        "\"\xff\"",
        "\"\xc0\x80\"",
        "\"\xed\xa0\x80\"",
        "\xff",
        "[1}",
        "]",
        "1e999",
        "-1e999",
        "[1e999]",
        "undefined",
        "// 1",
    };
    for (const std::string& text : bad) {
        SCOPED_TRACE(text);
        EXPECT_THROW(parseJson(text), JsonError);
    }
}

TEST(AJsonText, WithAnUnknownOrUnfinishedTypeIsRefused) {
    const std::vector<std::string> bad = {
        R"({"$type":"nothing"})",
        R"({"$type":1})",
        R"({"$type":"undefined","value":1})",
        R"({"$type":"double"})",
        R"({"$type":"double","value":"1"})",
        R"({"$type":"double","value":null})",
        R"({"$type":"double","value":1,"more":2})",
        R"({"$type":"double","bytes":[0]})",
        R"({"$type":"arraybuffer"})",
        R"({"$type":"arraybuffer","bytes":1})",
        R"({"$type":"arraybuffer","bytes":"AA=="})",
        R"({"$type":"arraybuffer","bytes":{}})",
        R"({"$type":"arraybuffer","bytes":[-1]})",
        R"({"$type":"arraybuffer","bytes":[256]})",
        R"({"$type":"arraybuffer","bytes":[0.5]})",
        R"({"$type":"arraybuffer","bytes":[0,"1"]})",
        R"({"$type":"arraybuffer","bytes":[[0]]})",
        R"({"$type":"arraybuffer","base64":"AA=="})",
        R"({"$type":"arraybuffer","bytes":[0]," ":1})",
        R"({"$type":"dictionary"})",
        R"({"$type":"dictionary","value":[]})",
        R"({"$type":"dictionary","value":null})",
        R"({"$type":"dictionary","value":{"$type":"double"},"more":1})",
        R"([1,{"a":{"$type":"nothing"}}])",
    };
    for (const std::string& text : bad) {
        SCOPED_TRACE(text);
        EXPECT_THROW(parseJson(text), JsonError);
    }
}

std::string reasonFor(const std::string& text) {
    try {
        parseJson(text);
    } catch (const JsonError& error) {
        return error.what();
    }
    return "";
}

TEST(AJsonError, IsOneLineOfLimitedLength) {
    for (const std::string& text :
         {std::string("[1,\n\n x]"), "\"" + std::string(1000000, 'x'),
          std::string("\"line\nfeed\""), std::string("{\"$type\":\"") + "a\\nb\"}"}) {
        SCOPED_TRACE(text.substr(0, 20));
        const std::string reason = reasonFor(text);
        EXPECT_FALSE(reason.empty());
        EXPECT_LT(reason.size(), 500U);
        EXPECT_THAT(reason, Not(HasSubstr("\n")));
    }
}

std::string brackets(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(DeepJson, IsReadUpToItsLimit) {
    Value value = parseJson(brackets(host::kMaxValueDepth));
    std::size_t depth = 0;
    for (; value.isArray(); ++depth) value = Value(value.at(0));
    EXPECT_EQ(depth, host::kMaxValueDepth);
    EXPECT_EQ(reasonFor(brackets(host::kMaxValueDepth + 1)), "nested deeper than 2048 levels");
    EXPECT_EQ(reasonFor(std::string(5000000, '[')), "nested deeper than 2048 levels");
    EXPECT_EQ(reasonFor(brackets(host::kMaxValueDepth * 10)), "nested deeper than 2048 levels");
}

TEST(DeepJson, IsLimitedByTheValuesDepthNotByTheTextThatItTakes) {
    const auto nested = [](std::size_t depth) {
        std::string text = "1";
        for (std::size_t i = 0; i < depth; ++i) {
            text = R"({"$type":"dictionary","value":{"$type":)" + text + "}}";
        }
        return text;
    };
    const Value value = parseJson(nested(host::kMaxValueDepth));
    EXPECT_EQ(parseJson(writeJson(value)), value);
    EXPECT_EQ(host::fromJson(host::toJson(value)), value);
    EXPECT_EQ(reasonFor(nested(host::kMaxValueDepth + 1)), "nested deeper than 2048 levels");
    // Less text than the deepest takes, but one level of the value too many.
    const std::size_t arrays = host::kMaxValueDepth - 9;
    EXPECT_EQ(reasonFor(std::string(arrays, '[') + nested(10) + std::string(arrays, ']')),
              "nested deeper than 2048 levels");
}

TEST(DeepJson, IsLimitedInTheLibrarysTypeToo) {
    nlohmann::json json = 1;
    for (std::size_t i = 0; i < host::kMaxValueDepth; ++i) {
        nlohmann::json outer = nlohmann::json::array();
        outer.push_back(std::move(json));
        json = std::move(outer);
    }
    EXPECT_TRUE(host::fromJson(json).isArray());
    nlohmann::json deeper = {{"k", nullptr}};
    deeper["k"] = std::move(json);
    EXPECT_THROW(host::fromJson(deeper), JsonError);
}

TEST(DeepJson, IsNotWhatOnlyLooksDeep) {
    const std::string open(host::kMaxValueDepth * 3, '[');
    EXPECT_EQ(parseJson("\"" + open + "\""), Value(open));
    std::string row = "[";
    for (std::size_t i = 0; i < host::kMaxValueDepth * 3; ++i) row += i > 0 ? ",[]" : "[]";
    EXPECT_EQ(parseJson(row + "]").asArray().size(), host::kMaxValueDepth * 3);
}

TEST(AValueAsJson, IsWrittenWhateverItsDepth) {
    Value value = 1;
    for (std::size_t i = 0; i < host::kMaxValueDepth; ++i) value = Value::Array{value};
    EXPECT_EQ(writeJson(value), std::string(host::kMaxValueDepth, '[') + "1" +
                                    std::string(host::kMaxValueDepth, ']'));
}

TEST(AValueAsJson, IsOneLineAndHasIllFormedTextReplaced) {
    const Value value = Value::Dictionary{{"line\nfeed", std::string("bad \xff")}};
    EXPECT_EQ(writeJson(value), "{\"line\\nfeed\":\"bad \xef\xbf\xbd\"}");
}

TEST(TheLibrarysJson, OfAKindThatNoTextHasIsRefused) {
    EXPECT_THROW(host::fromJson(nlohmann::json::binary({1, 2})), JsonError);
    EXPECT_THROW(host::fromJson(nlohmann::json(nlohmann::json::value_t::discarded)), JsonError);
}

}  // namespace
