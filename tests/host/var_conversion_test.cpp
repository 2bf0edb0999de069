#include "host/var_conversion.h"

#include <limits>
#include <string>
#include <vector>

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
    for (int i = 0; i < 100000; ++i) {
        if (i % 2 == 0) {
            value = Value::Array{value};
        } else {
            value = Value::Dictionary{{"k", value}};
        }
    }
    EXPECT_EQ(throughVars(value), value);
}

TEST_F(AConversion, WorksAtAnyWidth) {
    Value::Array elements(50000, "element");
    EXPECT_EQ(throughVars(elements), Value(elements));
}

}  // namespace
