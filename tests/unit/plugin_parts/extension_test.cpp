// The typed wrappers of the runtime's vendor interface.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "extension_probe.h"
#include "fake_extension.h"
#include "host/plugin_host.h"
#include "host/var_table.h"
#include "loaded_probe.h"

namespace {

using host::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Calls = std::vector<FakeExtension::Call>;

constexpr PP_Instance kInstance = -4711;

class LoadedExtensionProbe : public LoadedModule {
  public:
    explicit LoadedExtensionProbe(const void* extension, host::PluginHost::Options options = {})
        : LoadedModule("libextension_probe.so", "makeExtension", extension, std::move(options)) {}

    std::unique_ptr<ExtensionProbe> makeExtension(PP_Instance instance) const {
        return (*static_cast<const MakeExtension*>(exported()))(instance);
    }
};

/// One value of every type that a table may answer with.
std::vector<Value> everyType() {
    return {Value(),
            Value(Value::Null{}),
            Value(true),
            Value(false),
            Value(0),
            Value(-7),
            Value(2.5),
            Value(""),
            Value("text"),
            Value(Value::Array{1, "two"}),
            Value(Value::Dictionary{{"key", 1}}),
            Value(Value::Buffer{1, 2, 3})};
}

class AnExtension : public ::testing::Test {
  protected:
    AnExtension() : m_probe(m_fake.table()), m_extension(m_probe.makeExtension(kInstance)) {}

    ~AnExtension() override {
        m_extension.reset();
        EXPECT_THAT(m_probe.host().problems(), IsEmpty());
        EXPECT_EQ(heldVars(), 0U);
    }

    size_t heldVars() { return m_probe.host().moduleHeldVars().size(); }

    /// What a boolean operation gives when the embedder answers with `answer`.
    template <typename Operation>
    bool answeredWith(const Value& answer, Operation operation) {
        m_fake.m_result = answer;
        return operation();
    }

    bool checkPrivilege(const Value& privilege) {
        const PP_Var var = moduleVar(privilege);
        const bool held = m_extension->checkPrivilege(var);
        host::VarTable::instance().release(host::Holder::Module, "test", var);
        return held;
    }

    Value genericSyncCall(const Value& operation, const Value& param) {
        const PP_Var operationVar = moduleVar(operation);
        const PP_Var paramVar = moduleVar(param);
        const Value result = takeValue(m_extension->genericSyncCall(operationVar, paramVar));
        host::VarTable::instance().release(host::Holder::Module, "test", operationVar);
        host::VarTable::instance().release(host::Holder::Module, "test", paramVar);
        return result;
    }

    bool setWords(const Value& words) {
        const PP_Var var = moduleVar(words);
        const bool taken = m_extension->setImeRecommendedWords(var);
        host::VarTable::instance().release(host::Holder::Module, "test", var);
        return taken;
    }

    FakeExtension m_fake;
    LoadedExtensionProbe m_probe;
    std::unique_ptr<ExtensionProbe> m_extension;
};

TEST_F(AnExtension, GivesTheEmbeddersName) {
    m_fake.m_name = "Some embedder \xc3\xa4";
    EXPECT_EQ(m_extension->embedderName(), "Some embedder \xc3\xa4");
    EXPECT_THAT(m_fake.m_nameAsked, ElementsAre(kInstance));
}

TEST_F(AnExtension, GivesNoNameForAnAnswerThatIsNoString) {
    for (const Value& answer : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_name = answer;
        EXPECT_EQ(m_extension->embedderName(), answer.isString() ? answer.asString() : "");
        EXPECT_EQ(heldVars(), 0U);
    }
}

TEST_F(AnExtension, GivesTheExtensionInfoAsItIs) {
    for (const Value& answer : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_info = answer;
        EXPECT_EQ(takeValue(m_extension->currentExtensionInfo()), answer);
        EXPECT_EQ(heldVars(), 0U);
    }
    EXPECT_THAT(m_fake.m_infoAsked, ::testing::Each(kInstance));
}

TEST_F(AnExtension, HandsAGenericCallOverAndItsAnswerBack) {
    for (const Value& value : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(value));
        m_fake.m_calls.clear();
        m_fake.m_result = value;
        EXPECT_EQ(genericSyncCall("operation", value), value);
        EXPECT_EQ(m_fake.m_calls, (Calls{{kInstance, "operation", value}}));
        EXPECT_EQ(heldVars(), 0U);
    }
}

TEST_F(AnExtension, AddsNoReferenceToWhatItPasses) {
    const PP_Var operation = moduleVar("operation");
    const PP_Var param = moduleVar("param");
    host::VarTable::instance().recordOperations(true);
    takeValue(m_extension->genericSyncCall(operation, param));
    for (const PP_Var& var : {operation, param}) {
        // The probe's own copy, made and dropped; nothing in between.
        const auto operations = host::VarTable::instance().operations(var.value.as_id);
        ASSERT_EQ(operations.size(), 2U);
        EXPECT_EQ(operations[0].change, 1);
        EXPECT_EQ(operations[1].change, -1);
        host::VarTable::instance().release(host::Holder::Module, "test", var);
    }
}

TEST_F(AnExtension, IgnoresTheResultOfACallThatFails) {
    m_fake.m_result = "left in the slot";
    for (const int32_t code : {-1, 1, INT32_MIN, INT32_MAX}) {
        m_fake.m_code = code;
        EXPECT_EQ(genericSyncCall("operation", 1), Value());
    }
}

TEST_F(AnExtension, AsksForAPrivilegeByItsOperation) {
    m_fake.m_result = true;
    EXPECT_TRUE(checkPrivilege("http://one"));
    EXPECT_EQ(m_fake.m_calls, (Calls{{kInstance, "check_ace_privilege", "http://one"}}));
}

TEST_F(AnExtension, PassesTheCallersOwnVarAsThePrivilege) {
    m_fake.m_result = true;
    const PP_Var var = moduleVar("http://one");
    host::VarTable::instance().recordOperations(true);
    m_extension->checkPrivilege(var);
    EXPECT_EQ(host::VarTable::instance().operations(var.value.as_id).size(), 2U);
    host::VarTable::instance().release(host::Holder::Module, "test", var);
}

TEST_F(AnExtension, HoldsNoPrivilegeForAnAnswerThatIsNotTrue) {
    int number = 0;
    for (const Value& answer : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_result = answer;
        EXPECT_EQ(checkPrivilege("http://" + std::to_string(number++)), answer == Value(true));
        EXPECT_EQ(heldVars(), 0U);
    }
}

TEST_F(AnExtension, HoldsNoPrivilegeWhenTheQuestionFails) {
    m_fake.m_code = -2;
    m_fake.m_result = true;
    EXPECT_FALSE(checkPrivilege("http://one"));
}

TEST_F(AnExtension, AsksNothingForAPrivilegeThatIsNoString) {
    m_fake.m_result = true;
    for (const Value& privilege : everyType()) {
        if (!privilege.isString()) {
            SCOPED_TRACE(::testing::PrintToString(privilege));
            EXPECT_FALSE(checkPrivilege(privilege));
        }
    }
    EXPECT_THAT(m_fake.m_calls, IsEmpty());
    // Nor was a refusal kept under the empty text, which is what such a var reads as.
    EXPECT_TRUE(checkPrivilege(""));
}

TEST_F(AnExtension, AsksOncePerPrivilege) {
    m_fake.m_result = true;
    EXPECT_TRUE(checkPrivilege("http://one"));
    m_fake.m_result = false;
    EXPECT_TRUE(checkPrivilege("http://one"));
    EXPECT_FALSE(checkPrivilege("http://two"));
    EXPECT_EQ(m_fake.m_calls.size(), 2U);
}

TEST_F(AnExtension, RemembersARefusalToo) {
    m_fake.m_result = false;
    EXPECT_FALSE(checkPrivilege("http://one"));
    m_fake.m_result = true;
    EXPECT_FALSE(checkPrivilege("http://one"));
    EXPECT_EQ(m_fake.m_calls.size(), 1U);
}

TEST_F(AnExtension, RemembersAFailedQuestionAsARefusal) {
    m_fake.m_code = 1;
    EXPECT_FALSE(checkPrivilege("http://one"));
    m_fake.m_code = 0;
    m_fake.m_result = true;
    EXPECT_FALSE(checkPrivilege("http://one"));
    EXPECT_EQ(m_fake.m_calls.size(), 1U);
}

TEST_F(AnExtension, ComparesPrivilegesByAllTheirBytes) {
    m_fake.m_result = true;
    EXPECT_TRUE(checkPrivilege(std::string("http://one\0a", 12)));
    m_fake.m_result = false;
    EXPECT_FALSE(checkPrivilege("http://one"));
    EXPECT_FALSE(checkPrivilege(std::string("http://one\0b", 12)));
    EXPECT_FALSE(checkPrivilege("HTTP://one"));
    EXPECT_EQ(m_fake.m_calls.size(), 4U);
}

TEST_F(AnExtension, KeepsItsAnswersToItself) {
    m_fake.m_result = true;
    EXPECT_TRUE(checkPrivilege("http://one"));
    m_extension = m_probe.makeExtension(kInstance + 1);
    m_fake.m_result = false;
    EXPECT_FALSE(checkPrivilege("http://one"));
    EXPECT_EQ(m_fake.m_calls.back(),
              (FakeExtension::Call{kInstance + 1, "check_ace_privilege", "http://one"}));
}

TEST_F(AnExtension, PassesRecommendedWordsUntouched) {
    m_fake.m_result = true;
    for (const Value& words : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(words));
        m_fake.m_calls.clear();
        EXPECT_TRUE(setWords(words));
        EXPECT_EQ(m_fake.m_calls, (Calls{{kInstance, "set_ime_recommended_words", words}}));
    }
}

TEST_F(AnExtension, SaysWhetherTheWordsWereTaken) {
    for (const Value& answer : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_result = answer;
        EXPECT_EQ(setWords("words"), answer == Value(true));
    }
    m_fake.m_code = 3;
    m_fake.m_result = true;
    EXPECT_FALSE(setWords("words"));
}

TEST_F(AnExtension, PassesTheWordsTypeAsABool) {
    m_fake.m_result = true;
    EXPECT_TRUE(m_extension->setImeRecommendedWordsType(true));
    EXPECT_TRUE(m_extension->setImeRecommendedWordsType(false));
    EXPECT_EQ(m_fake.m_calls, (Calls{{kInstance, "set_ime_recommended_words_type", true},
                                     {kInstance, "set_ime_recommended_words_type", false}}));
}

TEST_F(AnExtension, SaysWhetherTheWordsTypeWasTaken) {
    for (const Value& answer : everyType()) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_result = answer;
        EXPECT_EQ(m_extension->setImeRecommendedWordsType(true), answer == Value(true));
    }
    m_fake.m_code = 3;
    m_fake.m_result = true;
    EXPECT_FALSE(m_extension->setImeRecommendedWordsType(true));
}

TEST_F(AnExtension, GivesTheWindowsNumber) {
    const std::pair<Value, int32_t> rows[] = {
        {12, 12},
        {-12, -12},
        {INT_MAX, INT_MAX},
        {INT_MIN, INT_MIN},
        {12.9, 12},
        {-12.9, -12},
        {0.0, 0},
        {Value(), -1},
        {Value(Value::Null{}), -1},
        {true, -1},
        {"12", -1},
        {Value(Value::Array{12}), -1},
        {Value(Value::Dictionary{}), -1},
        {Value(Value::Buffer{}), -1},
        // Outside of int32 the nearest number it has; never anything undefined.
        {1e10, INT_MAX},
        {-1e10, INT_MIN},
        {std::nan(""), 0},
    };
    for (const auto& [answer, expected] : rows) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_fake.m_calls.clear();
        m_fake.m_result = answer;
        EXPECT_EQ(m_extension->windowId(), expected);
        EXPECT_EQ(m_fake.m_calls, (Calls{{kInstance, "get_window_id", Value()}}));
        EXPECT_EQ(heldVars(), 0U);
    }
    m_fake.m_code = 1;
    m_fake.m_result = 12;
    EXPECT_EQ(m_extension->windowId(), -1);
}

TEST_F(AnExtension, IsValidForTheWebRuntime) {
    EXPECT_TRUE(m_extension->isValid());
    EXPECT_THAT(m_fake.m_nameAsked, ElementsAre(kInstance));
}

TEST_F(AnExtension, StaysValidForTheLifeOfTheProcess) {
    EXPECT_TRUE(m_extension->isValid());
    m_fake.m_name = "another";
    EXPECT_TRUE(m_extension->isValid());
    EXPECT_TRUE(m_probe.makeExtension(kInstance + 1)->isValid());
    EXPECT_EQ(m_fake.m_nameAsked.size(), 1U);
}

TEST_F(AnExtension, StaysInvalidForTheLifeOfTheProcess) {
    m_fake.m_name = "another";
    EXPECT_FALSE(m_extension->isValid());
    m_fake.m_name = "QuarnWRT";
    EXPECT_FALSE(m_extension->isValid());
    EXPECT_FALSE(m_probe.makeExtension(kInstance + 1)->isValid());
    EXPECT_EQ(m_fake.m_nameAsked.size(), 1U);
}

class ANearlyRightEmbedder : public ::testing::TestWithParam<Value> {};

TEST_P(ANearlyRightEmbedder, IsNotValid) {
    FakeExtension fake;
    fake.m_name = GetParam();
    const LoadedExtensionProbe probe(fake.table());
    EXPECT_FALSE(probe.makeExtension(kInstance)->isValid());
}

INSTANTIATE_TEST_SUITE_P(Names, ANearlyRightEmbedder,
                         ::testing::Values(Value("QuarnWRT "), Value(" QuarnWRT"),
                                           Value("quarnwrt"), Value("QUARNWRT"), Value("QuarnWR"),
                                           Value(std::string("QuarnWRT\0", 9)), Value(""),
                                           Value(1)));

class AMissingExtension : public ::testing::Test {
  protected:
    AMissingExtension()
        : m_probe(nullptr, options()), m_extension(m_probe.makeExtension(kInstance)) {}

    host::PluginHost::Options options() {
        host::PluginHost::Options options;
        options.onCall = [this](const std::string& call) {
            if (call == "GetInterface PPB_ExtensionSystem_Korvane;0.1") {
                ++m_lookups;
            }
        };
        return options;
    }

    int m_lookups = 0;
    LoadedExtensionProbe m_probe;
    std::unique_ptr<ExtensionProbe> m_extension;
};

TEST_F(AMissingExtension, GivesEveryOperationsNeutralResult) {
    const PP_Var text = moduleVar("text");
    EXPECT_EQ(m_extension->embedderName(), "");
    EXPECT_EQ(takeValue(m_extension->currentExtensionInfo()), Value());
    EXPECT_EQ(takeValue(m_extension->genericSyncCall(text, text)), Value());
    EXPECT_FALSE(m_extension->checkPrivilege(text));
    EXPECT_FALSE(m_extension->setImeRecommendedWords(text));
    EXPECT_FALSE(m_extension->setImeRecommendedWordsType(true));
    EXPECT_EQ(m_extension->windowId(), -1);
    EXPECT_FALSE(m_extension->isValid());
    host::VarTable::instance().release(host::Holder::Module, "test", text);
    EXPECT_THAT(m_probe.host().problems(), IsEmpty());
    EXPECT_THAT(m_probe.host().moduleHeldVars(), IsEmpty());
}

TEST_F(AMissingExtension, IsLookedUpOnce) {
    m_extension->embedderName();
    m_extension->windowId();
    m_probe.makeExtension(kInstance)->embedderName();
    EXPECT_EQ(m_lookups, 1);
}

TEST(TwoLoadsOfTheModule, StartAfresh) {
    FakeExtension fake;
    {
        const LoadedExtensionProbe probe(nullptr);
        EXPECT_FALSE(probe.makeExtension(kInstance)->isValid());
    }
    const LoadedExtensionProbe probe(fake.table());
    EXPECT_TRUE(probe.makeExtension(kInstance)->isValid());
}

}  // namespace
