#include "host/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "sanitizer.h"
#include "special_numbers.h"

namespace {

using host::Value;
using ::testing::EndsWith;
using ::testing::Not;

static_assert(!std::is_constructible_v<Value, int*>, "a pointer must not turn into true");
static_assert(!std::is_constructible_v<Value, void*>, "a pointer must not turn into true");

std::string shown(const Value& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

/// One value of each type, all different.
std::vector<Value> oneOfEach() {
    return {Value(),        Value::Null{},       false,          0, 0.0, "",
            Value::Array{}, Value::Dictionary{}, Value::Buffer{}};
}

bool throws(const std::function<void()>& ask) {
    try {
        ask();
        return false;
    } catch (const host::ValueTypeError&) {
        return true;
    }
}

TEST(AValue, KnowsItsTypeAndItsContent) {
    EXPECT_TRUE(Value().isUndefined());
    EXPECT_TRUE(Value(Value::Undefined{}).isUndefined());
    EXPECT_TRUE(Value(Value::Null{}).isNull());
    EXPECT_TRUE(Value(true).isBool());
    EXPECT_TRUE(Value(true).asBool());
    EXPECT_TRUE(Value(-7).isInt32());
    EXPECT_EQ(Value(-7).asInt32(), -7);
    EXPECT_TRUE(Value(1.5).isDouble());
    EXPECT_EQ(Value(1.5).asDouble(), 1.5);
    EXPECT_TRUE(Value("text").isString());
    EXPECT_EQ(Value(std::string("a\0b", 3)).asString(), std::string("a\0b", 3));
    EXPECT_TRUE(Value(Value::Array{1, 2}).isArray());
    EXPECT_EQ(Value(Value::Array{1, 2}).asArray().size(), 2U);
    EXPECT_TRUE(Value(Value::Dictionary{{"a", 1}}).isDictionary());
    EXPECT_EQ(Value(Value::Dictionary{{"a", 1}}).asDictionary().count("a"), 1U);
    EXPECT_TRUE(Value(Value::Buffer{1, 255}).isBuffer());
    EXPECT_EQ(Value(Value::Buffer{1, 255}).asBuffer().back(), 255);
}

TEST(AValue, IsOfOneTypeOnly) {
    const std::vector<Value> values = oneOfEach();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Value& value = values[i];
        SCOPED_TRACE(typeName(value.type()));
        EXPECT_EQ(value.isUndefined() + value.isNull() + value.isBool() + value.isInt32() +
                      value.isDouble() + value.isString() + value.isArray() + value.isDictionary() +
                      value.isBuffer(),
                  1);
        for (std::size_t j = 0; j < values.size(); ++j) EXPECT_EQ(value == values[j], i == j);
    }
}

TEST(AValue, ThrowsWhenAnotherTypesContentIsAskedFor) {
    for (const Value& value : oneOfEach()) {
        SCOPED_TRACE(typeName(value.type()));
        EXPECT_EQ(throws([&] { (void)value.asBool(); }), !value.isBool());
        EXPECT_EQ(throws([&] { (void)value.asInt32(); }), !value.isInt32());
        EXPECT_EQ(throws([&] { (void)value.asDouble(); }), !value.isDouble());
        EXPECT_EQ(throws([&] { (void)value.asString(); }), !value.isString());
        EXPECT_EQ(throws([&] { (void)value.asArray(); }), !value.isArray());
        EXPECT_EQ(throws([&] { (void)value.asDictionary(); }), !value.isDictionary());
        EXPECT_EQ(throws([&] { (void)value.asBuffer(); }), !value.isBuffer());
    }
}

TEST(AValue, NamesBothTypesWhenItThrows) {
    try {
        (void)Value(1).asString();
        FAIL() << "nothing was thrown";
    } catch (const host::ValueTypeError& error) {
        EXPECT_STREQ(error.what(), "the value is of type int32, not string");
    }
}

TEST(AValue, GivesUndefinedForWhatIsNotThere) {
    const Value dictionary = Value::Dictionary{{"there", 1}, {"undefined", Value()}};
    EXPECT_EQ(dictionary["there"], Value(1));
    EXPECT_TRUE(dictionary["missing"].isUndefined());
    EXPECT_TRUE(dictionary.has("undefined"));
    EXPECT_FALSE(dictionary.has("missing"));
    EXPECT_TRUE(Value(7)["key"].isUndefined());
    EXPECT_FALSE(Value(7).has("key"));

    const Value array = Value::Array{"first"};
    EXPECT_EQ(array.at(0), Value("first"));
    EXPECT_TRUE(array.at(1).isUndefined());
    EXPECT_TRUE(dictionary.at(0).isUndefined());
    EXPECT_TRUE(array["first"].isUndefined());
}

TEST(AValue, ComparesByTypeAndContent) {
    EXPECT_NE(Value(1), Value(1.0));
    EXPECT_NE(Value(), Value(Value::Null{}));
    EXPECT_NE(Value("1"), Value(1));
    EXPECT_NE(Value(false), Value(0));
    EXPECT_EQ(Value(kNaN), Value(-kNaN));
    EXPECT_NE(Value(0.0), Value(-0.0));
    EXPECT_EQ(Value(-0.0), Value(-0.0));
    EXPECT_EQ(Value(Value::Array{1, "a"}), Value(Value::Array{1, "a"}));
    EXPECT_NE(Value(Value::Array{1, 2}), Value(Value::Array{2, 1}));
    EXPECT_NE(Value(Value::Array{1}), Value(Value::Array{1, 2}));
    EXPECT_NE(Value(Value::Array{Value::Array{1}}), Value(Value::Array{Value::Array{2}}));
    EXPECT_EQ(Value(Value::Dictionary{{"a", 1}, {"b", 2}}),
              Value(Value::Dictionary{{"b", 2}, {"a", 1}}));
    EXPECT_NE(Value(Value::Dictionary{{"a", 1}}), Value(Value::Dictionary{{"a", 2}}));
    EXPECT_NE(Value(Value::Dictionary{{"a", 1}}), Value(Value::Dictionary{{"b", 1}}));
    EXPECT_NE(Value(Value::Dictionary{{"a", 1}}),
              Value(Value::Dictionary{{"a", 1}, {"b", Value()}}));
    EXPECT_NE(Value(Value::Buffer{1}), Value(Value::Buffer{2}));
}

TEST(AValue, SharesItsContentWithItsCopies) {
    const Value original = Value::Array{"content"};
    const Value copy = original;  // NOLINT(performance-unnecessary-copy-initialization): see name
    EXPECT_EQ(&copy.asArray(), &original.asArray());
}

/// Arrays and dictionaries inside each other.
Value nested(std::size_t depth, const Value& innermost) {
    Value value = innermost;
    for (std::size_t i = 0; i < depth; ++i) {
        if (i % 2 == 0) {
            value = Value::Array{value};
        } else {
            value = Value::Dictionary{{"k", value}};
        }
    }
    return value;
}

TEST(AValue, OfAnyDepthIsComparedShownAndDestroyed) {
    const Value left = nested(host::kMaxValueDepth, 1);
    EXPECT_EQ(left, nested(host::kMaxValueDepth, 1));
    EXPECT_NE(left, nested(host::kMaxValueDepth, 2));
    EXPECT_LT(shown(left).size(), 5000U);
}

TEST(AValue, IsAsDeepAsABrowserPassesAndNoDeeper) {
    EXPECT_TRUE(nested(2000, 1).isDictionary());
    const Value deepest = nested(host::kMaxValueDepth, 1);
    EXPECT_THROW(Value(Value::Array{1, deepest, 2}), host::ValueDepthError);
    EXPECT_THROW(Value(Value::Dictionary{{"a", deepest}, {"b", 1}}), host::ValueDepthError);
    try {
        nested(100000, 1);
        FAIL() << "nothing was thrown";
    } catch (const host::ValueDepthError& error) {
        EXPECT_STREQ(error.what(), "nested deeper than 2048 levels");
    }
    // Width is no depth, and a leaf beside the deepest costs none.
    EXPECT_TRUE(Value(Value::Array(100000, Value::Array{})).isArray());
    EXPECT_TRUE(
        Value(Value::Array{nested(host::kMaxValueDepth - 1, 1), Value::Array{}, "leaf"}).isArray());
}

TEST(AValue, IsShownOnOneLineWithItsType) {
    EXPECT_EQ(shown(Value()), "undefined");
    EXPECT_EQ(shown(Value::Null{}), "null");
    EXPECT_EQ(shown(true), "true");
    EXPECT_EQ(shown(1), "1");
    EXPECT_EQ(shown(1.0), "1.0");
    EXPECT_EQ(shown(0.1), "0.1");
    EXPECT_EQ(shown(kNaN), "NaN");
    EXPECT_EQ(shown(-kInfinity), "-Infinity");
    EXPECT_EQ(shown("a\n\"b\""), R"("a\n\"b\"")");
    EXPECT_EQ(shown(Value::Buffer{0, 255}), "ArrayBuffer(2)[00 ff]");
    EXPECT_EQ(shown(Value::Array{1, Value::Dictionary{{"b", "x"}, {"a", Value()}}}),
              R"([1, {"a": undefined, "b": "x"}])");
}

TEST(AValue, OfAnySizeIsShownInAFewThousandCharacters) {
    const std::vector<Value> big = {Value(std::string(1000000, 'x')),
                                    Value(Value::Array(100000, "element")),
                                    Value(Value::Buffer(1000000, 7))};
    for (const Value& value : big) {
        SCOPED_TRACE(typeName(value.type()));
        EXPECT_LT(shown(value).size(), 5000U);
        EXPECT_THAT(shown(value), EndsWith("..."));
    }
    EXPECT_THAT(shown("short"), Not(EndsWith("...")));
}

TEST(AValue, WithIllFormedTextIsHeldAndShown) {
    const Value value(std::string("a\xff"));
    EXPECT_EQ(value.asString(), "a\xff");
    EXPECT_EQ(shown(value), "\"a\xef\xbf\xbd\"");
}

TEST(TheTypesOfValues, HaveNames) {
    EXPECT_STREQ(typeName(Value::Type::Undefined), "undefined");
    EXPECT_STREQ(typeName(Value::Type::Null), "null");
    EXPECT_STREQ(typeName(Value::Type::Bool), "bool");
    EXPECT_STREQ(typeName(Value::Type::Int32), "int32");
    EXPECT_STREQ(typeName(Value::Type::Double), "double");
    EXPECT_STREQ(typeName(Value::Type::String), "string");
    EXPECT_STREQ(typeName(Value::Type::Array), "array");
    EXPECT_STREQ(typeName(Value::Type::Dictionary), "dictionary");
    EXPECT_STREQ(typeName(Value::Type::Buffer), "arraybuffer");
}

/// Bytes of memory that a test can take without harm to others.
std::size_t freeMemory() {
    std::ifstream info("/proc/meminfo");
    for (std::string name; info >> name;) {
        if (std::size_t kilobytes = 0; name == "MemAvailable:" && info >> kilobytes) {
            return kilobytes * 1024;
        }
    }
    return 0;
}

TEST(AValue, HasNoMoreBytesThanPepperCanCount) {
    if (SSO_SANITIZED != 0) {
        GTEST_SKIP() << "a sanitizer's own memory of 4 GiB takes it a minute and more";
    }
    constexpr std::size_t kTooMany = std::size_t{1} << 32;
    if (freeMemory() < 2 * kTooMany) {
        GTEST_SKIP() << "there is not twice the memory of a buffer of 4 GiB";
    }
    try {
        const Value value{Value::Buffer(kTooMany)};
        FAIL() << "no exception";
    } catch (const host::ValueSizeError& error) {
        EXPECT_STREQ(error.what(),
                     "4294967296 bytes, and a message's text or buffer has at most 4294967295");
    }
    EXPECT_THROW(Value(std::string(kTooMany, 'x')), host::ValueSizeError);
}

}  // namespace
