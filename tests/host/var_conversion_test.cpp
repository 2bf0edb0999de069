#include "host/var_conversion.h"

#include <pthread.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "host/value_json.h"
#include "sanitizer.h"
#include "var_test.h"

namespace {

using host::Conversion;
using host::Holder;
using host::toValue;
using host::toVar;
using support::arrays;
using support::dictionaries;
using support::text;
using support::vars;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class AConversion : public VarTest {
  protected:
    /// There and back; nothing must remain.
    static Value throughVars(const Value& value) {
        const PP_Var var = toVar("test", value);
        Value back = support::valueOf(var);
        table().release(Holder::Host, "test", var);
        EXPECT_EQ(table().liveVarCount(), 0U);
        return back;
    }
};

// A sanitizer sees when a number is read as an enumeration that cannot hold it.
TEST_F(AConversion, TakesABoolOfAnyOtherNumberForTrue) {
    PP_Var var = PP_MakeBool(PP_TRUE);
    var.value.as_int = 8738;
    EXPECT_EQ(support::valueOf(var), Value(true));
}

TEST_F(AConversion, RefusesAVarOfATypeThatThereIsNot) {
    PP_Var var = PP_MakeInt32(1);
    const int number = 8738;
    static_assert(sizeof var.type == sizeof number, "the type is as wide as in C");
    std::memcpy(&var.type, &number, sizeof number);
    EXPECT_EQ(toValue("test", var).reason, "it contains a dead var");
    EXPECT_THAT(newProblems(), ElementsAre("test: unknown or long dead var var 1"));
}

TEST_F(AConversion, ThereAndBackKeepsEveryValue) {
    const std::vector<Value> values = {
        Value(),
        Value::Null{},
        true,
        false,
        0,
        std::numeric_limits<std::int32_t>::min(),
        1.0,
        -0.0,
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        "",
        std::string("a\0b", 3),
        "\xf0\x9f\x98\x80",
        Value::Buffer{},
        Value::Buffer{0, 1, 255},
        Value::Array{},
        Value::Array{Value(), Value::Null{}, Value::Array{Value()}},
        Value::Dictionary{},
        Value::Dictionary{{"", Value()}, {"a", Value::Array{1, Value::Dictionary{{"b", 2.0}}}}},
    };
    for (const Value& value : values) {
        SCOPED_TRACE(value);
        EXPECT_EQ(throughVars(value), value);
    }
}

TEST_F(AConversion, ToVarsGivesTheHostOneReference) {
    const PP_Var var = toVar("page message", Value::Array{"inner"});
    EXPECT_EQ(var.type, PP_VARTYPE_ARRAY);
    EXPECT_EQ(var.padding, 0);
    EXPECT_EQ(heldReferences(), 0);
    EXPECT_EQ(table().liveVarCount(), 2U);
    const PP_Var inner = arrays().Get(var, 0);
    EXPECT_EQ(table().moduleHeldVars().front().origin.call, "page message");
    vars().Release(inner);
    table().release(Holder::Host, "test", var);
    EXPECT_EQ(table().liveVarCount(), 0U);
}

TEST_F(AConversion, ToValueChangesNoReference) {
    const PP_Var array = support::moduleVar(Value::Array{"a", "b"});
    table().recordOperations(true);
    EXPECT_EQ(toValue("test", array).value, Value(Value::Array{"a", "b"}));
    EXPECT_THAT(operations(), ::testing::IsEmpty());
    EXPECT_EQ(references(array), 1);
    vars().Release(array);
}

TEST_F(AConversion, MakesNullOfIllFormedText) {
    EXPECT_EQ(throughVars(std::string("\xed\xa0\x80")), Value(Value::Null{}));
    EXPECT_EQ(throughVars(Value::Array{std::string("\xff"), "good"}),
              (Value::Array{Value::Null{}, "good"}));
}

TEST_F(AConversion, MakesOneVarOfAContainerThatOccursTwice) {
    const Value shared = Value::Array{1};
    const PP_Var var = toVar("test", Value::Array{shared, Value::Dictionary{{"again", shared}}});
    EXPECT_EQ(table().liveVarCount(), 3U);
    const PP_Var first = arrays().Get(var, 0);
    const PP_Var dictionary = arrays().Get(var, 1);
    const PP_Var key = text("again");
    const PP_Var second = dictionaries().Get(dictionary, key);
    EXPECT_EQ(first.value.as_id, second.value.as_id);
    for (const PP_Var& held : {first, second, dictionary, key}) vars().Release(held);
    EXPECT_EQ(support::valueOf(var),
              (Value::Array{Value::Array{1}, Value::Dictionary{{"again", Value::Array{1}}}}));
    table().release(Holder::Host, "test", var);
}

TEST_F(AConversion, OfASharedContainerIsNoCycle) {
    const PP_Var inner = support::moduleVar(Value::Array{"x"});
    const PP_Var outer = arrays().Create();
    arrays().Set(outer, 0, inner);
    arrays().Set(outer, 1, inner);
    vars().Release(inner);
    EXPECT_EQ(support::takeValue(outer), (Value::Array{Value::Array{"x"}, Value::Array{"x"}}));
}

TEST_F(AConversion, RefusesACycle) {
    const PP_Var array = arrays().Create();
    arrays().Set(array, 0, array);
    EXPECT_EQ(toValue("test", array).value, std::nullopt);
    EXPECT_EQ(toValue("test", array).reason, "it contains a cycle");
    arrays().SetLength(array, 0);
    vars().Release(array);

    const PP_Var outer = dictionaries().Create();
    const PP_Var inner = arrays().Create();
    const PP_Var key = text("inner");
    dictionaries().Set(outer, key, inner);
    arrays().Set(inner, 5, outer);
    EXPECT_EQ(toValue("test", outer).reason, "it contains a cycle");
    dictionaries().Delete(outer, key);
    for (const PP_Var& var : {outer, inner, key}) vars().Release(var);
}

TEST_F(AConversion, RefusesAResource) {
    const PP_Var resource = vars().VarFromResource(0);
    EXPECT_EQ(toValue("test", resource).value, std::nullopt);
    EXPECT_THAT(toValue("test", resource).reason, HasSubstr("resource"));
    const PP_Var array = arrays().Create();
    arrays().Set(array, 0, resource);
    EXPECT_EQ(toValue("test", array).value, std::nullopt);
    vars().Release(array);
    vars().Release(resource);
}

TEST_F(AConversion, RefusesADeadVarAndNotesIt) {
    const Conversion conversion = toValue("PPB_Messaging.PostMessage", deadText("dead"));
    EXPECT_EQ(conversion.value, std::nullopt);
    EXPECT_THAT(conversion.reason, HasSubstr("dead"));
    EXPECT_THAT(newProblems(), ElementsAre(AllOf(HasSubstr("PPB_Messaging.PostMessage"),
                                                 HasSubstr("string \"dead\""))));
}

TEST_F(AConversion, RefusesAnObject) {
    const PP_Var object = support::forgedVar(PP_VARTYPE_OBJECT, 123456);
    EXPECT_EQ(toValue("test", object).value, std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
}

TEST_F(AConversion, WorksAtAnyDepth) {
    Value value = "innermost";
    for (std::size_t i = 0; i < host::kMaxValueDepth; ++i) {
        if (i % 2 == 0) {
            value = Value::Array{value};
        } else {
            value = Value::Dictionary{{"k", value}};
        }
    }
    EXPECT_EQ(throughVars(value), value);
}

TEST_F(AConversion, RefusesVarsThatAreNestedDeeperThanAValueMayBe) {
    const auto wrap = [](PP_Var inner, bool inArray) {
        const PP_Var outer = inArray ? arrays().Create() : dictionaries().Create();
        const PP_Var key = text("k");
        if (inArray) {
            arrays().Set(outer, 0, inner);
        } else {
            dictionaries().Set(outer, key, inner);
        }
        for (const PP_Var& var : {inner, key}) vars().Release(var);
        return outer;
    };
    PP_Var var = text("innermost");
    std::size_t depth = 0;
    for (; depth < host::kMaxValueDepth; ++depth) var = wrap(var, depth % 2 == 0);
    EXPECT_TRUE(toValue("test", var).value.has_value());
    for (; depth < 100000; ++depth) {
        var = wrap(var, depth % 2 == 0);
        if (depth > host::kMaxValueDepth + 1 && depth < 99990) continue;
        EXPECT_EQ(toValue("test", var).value, std::nullopt);
        EXPECT_EQ(toValue("test", var).reason, "it is nested deeper than 2048 levels");
    }
    vars().Release(var);
}

TEST_F(AConversion, RefusesDepthThatASharedContainerMakes) {
    // The shared part is met first where it lies less deep.
    PP_Var shared = arrays().Create();
    const auto wrap = [](PP_Var inner) {
        const PP_Var outer = arrays().Create();
        arrays().Set(outer, 0, inner);
        vars().Release(inner);
        return outer;
    };
    for (std::size_t i = 1; i < host::kMaxValueDepth - 1; ++i) shared = wrap(shared);
    const PP_Var pair = arrays().Create();
    arrays().Set(pair, 0, shared);
    EXPECT_TRUE(toValue("test", pair).value.has_value());
    const PP_Var deeper = wrap(wrap(shared));
    arrays().Set(pair, 1, deeper);
    EXPECT_EQ(toValue("test", pair).reason, "it is nested deeper than 2048 levels");
    vars().Release(deeper);
    vars().Release(pair);
}

void* doAll(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

TEST_F(AConversion, OfTheGreatestDepthStaysWithinTheStackThatItIsSaidToNeed) {
    const std::function<void()> work = [] {
        for (const bool inArrays : {true, false}) {
            Value value = 1;
            for (std::size_t i = 0; i < host::kMaxValueDepth; ++i) {
                value = inArrays ? Value(Value::Array{value}) : Value::Dictionary{{"k", value}};
            }
            const Value back = throughVars(value);
            EXPECT_TRUE(back == value);
            EXPECT_TRUE(host::parseJson(host::writeJson(back)) == value);
        }
    };
    const std::size_t stack = SSO_SANITIZED != 0 ? 8U << 20 : 4U << 20;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
    pthread_t thread;
    ASSERT_EQ(
        pthread_create(&thread, &attributes, doAll, const_cast<std::function<void()>*>(&work)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST_F(AConversion, WorksAtAnyWidth) {
    Value::Array elements(50000, "element");
    EXPECT_EQ(throughVars(elements), Value(elements));
}

}  // namespace
