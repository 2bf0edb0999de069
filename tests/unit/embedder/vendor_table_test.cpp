#include "embedder/vendor_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "browser_tables.h"
#include "ppapi/c/pp_errors.h"
#include "thread_tools.h"

namespace {

using embedder::Application;
using host::Value;
using host::VarTable;
using support::text;
using support::vars;
using ::testing::IsEmpty;

constexpr PP_Instance kInstance = -17;
constexpr PP_Instance kNeighbour = 17;

const PPB_ExtensionSystem_Korvane_0_1& table() { return *embedder::vendorTable(); }

/// Fails when a call of the table changes what the caller owns, its answer excepted.
class TheExtension : public ::testing::Test {
  protected:
    struct Answer {
        std::int32_t code;
        Value value;  ///< what the result var holds; it held the text "before"
    };

    TheExtension() {
        VarTable::instance().reset();
        configure(host::browserInterface);
    }
    ~TheExtension() override {
        for (const PP_Instance instance : {kInstance, kNeighbour}) {
            embedder::forgetInstance(instance);
        }
    }
    void TearDown() override {
        EXPECT_THAT(VarTable::instance().problems(), IsEmpty());
        EXPECT_THAT(VarTable::instance().moduleHeldVars(), IsEmpty());
        EXPECT_EQ(VarTable::instance().liveVarCount(), 0U);
    }

    static void configure(PPB_GetInterface getInterface,
                          const std::set<std::string>& grants = {"a://granted"}) {
        embedder::setBrowser(getInterface);
        embedder::setApplication(kInstance, {"the application", grants});
    }

    static Answer call(const PP_Var& name, const PP_Var& parameter,
                       PP_Instance instance = kInstance) {
        const PP_Var before = text("before");
        PP_Var result = before;
        const std::int32_t code = table().GenericSyncCall(instance, name, parameter, &result);
        Answer answer{code, support::valueOf(result)};
        vars().Release(before);
        return answer;
    }

    static Answer call(const std::string& name, const Value& parameter,
                       PP_Instance instance = kInstance) {
        const PP_Var nameVar = text(name);
        const PP_Var parameterVar = support::moduleVar(parameter);
        const Answer answer = call(nameVar, parameterVar, instance);
        vars().Release(nameVar);
        vars().Release(parameterVar);
        return answer;
    }
};

TEST_F(TheExtension, IsOneTable) {
    EXPECT_EQ(embedder::vendorTable(), embedder::vendorTable());
    EXPECT_NE(table().GetEmbedderName, nullptr);
    EXPECT_NE(table().GetCurrentExtensionInfo, nullptr);
    EXPECT_NE(table().GenericSyncCall, nullptr);
}

TEST_F(TheExtension, NamesItsEmbedderWithAReferenceForTheCaller) {
    const PP_Var name = table().GetEmbedderName(kInstance);
    EXPECT_EQ(VarTable::instance().moduleHeldVars().size(), 1U);
    EXPECT_EQ(support::takeValue(name), Value("QuarnWRT"));
}

TEST_F(TheExtension, TellsOfTheApplicationWithAReferenceForTheCaller) {
    const PP_Var info = table().GetCurrentExtensionInfo(kInstance);
    EXPECT_EQ(VarTable::instance().moduleHeldVars().size(), 1U) << "keys and values are given back";
    EXPECT_EQ(support::takeValue(info),
              (Value::Dictionary{{"name", "the application"}, {"embedder", "QuarnWRT"}}));
}

TEST_F(TheExtension, MayHaveAnotherName) {
    Application application;
    application.embedderName = "other";
    embedder::setApplication(kInstance, application);
    EXPECT_EQ(support::takeValue(table().GetEmbedderName(kInstance)), Value("other"));
    EXPECT_EQ(support::takeValue(table().GetCurrentExtensionInfo(kInstance)),
              (Value::Dictionary{{"name", ""}, {"embedder", "other"}}));
}

TEST_F(TheExtension, ChecksPrivilegesAsWholeTexts) {
    struct Row {
        std::string asked;
        bool granted;
    };
    configure(host::browserInterface, {"a://granted", "", std::string("a://nul\0", 8)});
    const std::vector<Row> rows = {{"a://granted", true},
                                   {"a://grante", false},
                                   {"a://granted ", false},
                                   {"A://granted", false},
                                   {"", true},
                                   {std::string("a://nul\0", 8), true},
                                   {"a://nul", false},
                                   {std::string("a://granted\0", 12), false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.asked);
        const Answer answer = call("check_ace_privilege", row.asked);
        EXPECT_EQ(answer.code, PP_OK);
        EXPECT_EQ(answer.value, Value(row.granted));
    }
}

TEST_F(TheExtension, GrantsNothingByDefault) {
    configure(host::browserInterface, {});
    EXPECT_EQ(call("check_ace_privilege", "a://granted").value, Value(false));
    EXPECT_EQ(call("check_ace_privilege", "").value, Value(false));
}

TEST_F(TheExtension, TakesWordsForTheInputMethod) {
    for (const Value& words :
         {Value("word"), Value(""), Value(Value::Array{}), Value(Value::Array{"a", "b"})}) {
        SCOPED_TRACE(words);
        const Answer answer = call("set_ime_recommended_words", words);
        EXPECT_EQ(answer.code, PP_OK);
        EXPECT_EQ(answer.value, Value(true));
    }
    for (const bool type : {true, false}) {
        const Answer answer = call("set_ime_recommended_words_type", type);
        EXPECT_EQ(answer.code, PP_OK);
        EXPECT_EQ(answer.value, Value(true));
    }
}

TEST_F(TheExtension, TellsTheWindowsNumber) {
    const Answer answer = call("get_window_id", Value());
    EXPECT_EQ(answer.code, PP_OK);
    EXPECT_EQ(answer.value, Value(1));
}

TEST_F(TheExtension, RefusesParametersOfTheWrongTypeAndLeavesTheResult) {
    const std::vector<Value> all = {
        Value(),         Value::Null{}, true, 1, 1.5, "a", Value::Array{"a"}, Value::Dictionary{},
        Value::Buffer{1}};
    struct Row {
        const char* name;
        std::vector<Value::Type> accepted;
    };
    const Row rows[] = {
        {"check_ace_privilege", {Value::Type::String}},
        {"set_ime_recommended_words", {Value::Type::String, Value::Type::Array}},
        {"set_ime_recommended_words_type", {Value::Type::Bool}},
        {"get_window_id", {Value::Type::Undefined}},
    };
    for (const Row& row : rows) {
        for (const Value& parameter : all) {
            SCOPED_TRACE(std::string(row.name) + " " + host::typeName(parameter.type()));
            const Answer answer = call(row.name, parameter);
            const bool accepted =
                std::count(row.accepted.begin(), row.accepted.end(), parameter.type()) > 0;
            EXPECT_EQ(answer.code, accepted ? PP_OK : PP_ERROR_BADARGUMENT);
            EXPECT_EQ(answer.value == Value("before"), !accepted);
        }
    }
}

TEST_F(TheExtension, DoesNotSupportOtherOperations) {
    for (const std::string& name :
         {std::string(), std::string("nothing"), std::string("CHECK_ACE_PRIVILEGE"),
          std::string("check_ace_privilege "), std::string("check_ace_privilege\0", 20)}) {
        SCOPED_TRACE(name);
        const Answer answer = call(name, "a://granted");
        EXPECT_EQ(answer.code, PP_ERROR_NOTSUPPORTED);
        EXPECT_EQ(answer.value, Value("before"));
    }
}

TEST_F(TheExtension, RefusesANameThatIsNoString) {
    for (const Value& name : {Value(), Value(Value::Null{}), Value(1), Value(Value::Array{"x"})}) {
        SCOPED_TRACE(name);
        const PP_Var nameVar = support::moduleVar(name);
        const Answer answer = call(nameVar, PP_MakeUndefined());
        vars().Release(nameVar);
        EXPECT_EQ(answer.code, PP_ERROR_BADARGUMENT);
        EXPECT_EQ(answer.value, Value("before"));
    }
}

TEST_F(TheExtension, RefusesDeadTexts) {
    const PP_Var dead = text("check_ace_privilege");
    vars().Release(dead);
    EXPECT_EQ(call(dead, PP_MakeUndefined()).code, PP_ERROR_BADARGUMENT);
    const PP_Var name = text("check_ace_privilege");
    EXPECT_EQ(call(name, dead).code, PP_ERROR_BADARGUMENT);
    vars().Release(name);
    EXPECT_EQ(VarTable::instance().problems().size(), 2U) << "of the caller, not of the table";
    VarTable::instance().reset();
}

TEST_F(TheExtension, RefusesToAnswerIntoNothing) {
    const PP_Var name = text("get_window_id");
    EXPECT_EQ(table().GenericSyncCall(kInstance, name, PP_MakeUndefined(), nullptr),
              PP_ERROR_BADARGUMENT);
    vars().Release(name);
}

TEST_F(TheExtension, FailsWhereTheBrowserHasNoVars) {
    configure([](const char*) -> const void* { return nullptr; });
    EXPECT_EQ(table().GetEmbedderName(kInstance).type, PP_VARTYPE_UNDEFINED);
    EXPECT_EQ(table().GetCurrentExtensionInfo(kInstance).type, PP_VARTYPE_UNDEFINED);
    const Answer answer = call("get_window_id", Value());
    EXPECT_EQ(answer.code, PP_ERROR_NOINTERFACE);
    EXPECT_EQ(answer.value, Value("before"));
}

TEST_F(TheExtension, HasNoInfoWhereTheBrowserHasNoDictionaries) {
    configure([](const char* name) -> const void* {
        return std::strcmp(name, "PPB_VarDictionary;1.0") == 0 ? nullptr
                                                               : host::browserInterface(name);
    });
    EXPECT_EQ(table().GetCurrentExtensionInfo(kInstance).type, PP_VARTYPE_UNDEFINED);
    EXPECT_EQ(support::takeValue(table().GetEmbedderName(kInstance)), Value("QuarnWRT"));
}

TEST_F(TheExtension, MayBeConfiguredAnewWhileItIsAsked) {
    std::thread configuring([] {
        for (int i = 0; i < 300; ++i) {
            configure(host::browserInterface, i % 2 == 0 ? std::set<std::string>{"a://other"}
                                                         : std::set<std::string>{"a://granted"});
        }
    });
    for (int i = 0; i < 300; ++i) {
        const Answer answer = call("check_ace_privilege", "a://granted");
        EXPECT_EQ(answer.code, PP_OK);
        EXPECT_TRUE(answer.value.isBool());
    }
    configuring.join();
    EXPECT_EQ(call("check_ace_privilege", "a://granted").value, Value(true));
}

TEST_F(TheExtension, ForgetsAnInstanceWhileAnotherIsConfigured) {
    support::atTheSameTime([] { embedder::forgetInstance(kNeighbour + 1); }, 300,
                           [] {
                               embedder::setApplication(kNeighbour, {"other", {"a://other"}});
                           });
    EXPECT_EQ(call("check_ace_privilege", "a://other", kNeighbour).value, Value(true));
}

TEST_F(TheExtension, GrantsEachInstanceWhatItsOwnApplicationHas) {
    embedder::setApplication(kInstance, {"one", {"a://one", "a://both"}});
    embedder::setApplication(kNeighbour, {"other", {"a://other", "a://both"}});
    const auto granted = [](PP_Instance instance, const char* privilege) {
        return call("check_ace_privilege", privilege, instance).value;
    };
    EXPECT_EQ(granted(kInstance, "a://one"), Value(true));
    EXPECT_EQ(granted(kInstance, "a://other"), Value(false));
    EXPECT_EQ(granted(kInstance, "a://both"), Value(true));
    EXPECT_EQ(granted(kNeighbour, "a://one"), Value(false));
    EXPECT_EQ(granted(kNeighbour, "a://other"), Value(true));
    EXPECT_EQ(granted(kNeighbour, "a://both"), Value(true));
}

TEST_F(TheExtension, TellsEachInstanceOfItsOwnApplication) {
    Application other = {"other", {}};
    other.embedderName = "another embedder";
    embedder::setApplication(kNeighbour, other);
    EXPECT_EQ(support::takeValue(table().GetCurrentExtensionInfo(kInstance)),
              (Value::Dictionary{{"name", "the application"}, {"embedder", "QuarnWRT"}}));
    EXPECT_EQ(support::takeValue(table().GetCurrentExtensionInfo(kNeighbour)),
              (Value::Dictionary{{"name", "other"}, {"embedder", "another embedder"}}));
    EXPECT_EQ(support::takeValue(table().GetEmbedderName(kNeighbour)), Value("another embedder"));
}

TEST_F(TheExtension, TellsAnInstanceWithoutAnApplicationNothing) {
    for (const PP_Instance instance : {kNeighbour, PP_Instance{0}}) {
        SCOPED_TRACE(instance);
        EXPECT_EQ(table().GetEmbedderName(instance).type, PP_VARTYPE_UNDEFINED);
        EXPECT_EQ(table().GetCurrentExtensionInfo(instance).type, PP_VARTYPE_UNDEFINED);
        for (const char* operation : {"check_ace_privilege", "nothing"}) {
            const Answer answer = call(operation, "a://granted", instance);
            EXPECT_EQ(answer.code, PP_ERROR_FAILED);
            EXPECT_EQ(answer.value, Value("before"));
        }
    }
}

TEST_F(TheExtension, ForgetsTheInstanceThatIsGoneAndNoOther) {
    embedder::setApplication(kNeighbour, {"other", {"a://granted"}});
    embedder::forgetInstance(kInstance);
    embedder::forgetInstance(kInstance);  // a second time is nothing
    EXPECT_EQ(call("check_ace_privilege", "a://granted").code, PP_ERROR_FAILED);
    EXPECT_EQ(call("check_ace_privilege", "a://granted", kNeighbour).value, Value(true));
}

TEST_F(TheExtension, HasAnInstancesLatestApplication) {
    embedder::setApplication(kInstance, {"the application", {"a://other"}});
    EXPECT_EQ(call("check_ace_privilege", "a://granted").value, Value(false));
    EXPECT_EQ(call("check_ace_privilege", "a://other").value, Value(true));
}

/// Exit code 0 when the table fails as it has to before it has a browser.
[[noreturn]] void tryUnconfigured() {
    embedder::setApplication(kInstance, {"the application", {}});
    const PP_Var name = text("get_window_id");
    PP_Var result = PP_MakeInt32(99);
    const bool good = table().GetEmbedderName(kInstance).type == PP_VARTYPE_UNDEFINED &&
                      table().GetCurrentExtensionInfo(kInstance).type == PP_VARTYPE_UNDEFINED &&
                      table().GenericSyncCall(kInstance, name, PP_MakeUndefined(), &result) ==
                          PP_ERROR_NOINTERFACE &&
                      result.value.as_int == 99;
    std::exit(good ? 0 : 1);
}

// In a process of its own, for a configuration cannot be taken back.
TEST(AnUnconfiguredExtension, Fails) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(tryUnconfigured(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
