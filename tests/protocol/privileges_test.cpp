// What an instance learns about its application when it is made.

#include <gmock/gmock.h>

#include <array>

#include "ppapi/c/pp_errors.h"
#include "protocol_test.h"

namespace protocol {
namespace {

using support::RecordingExtension;

class ThePrivileges : public ProtocolTest {
  protected:
    /// "101" for the three flags of the line that the last instance wrote, in their order there.
    std::string loggedFlags() const {
        static const std::string start = "check privilege, m_bPrivilegePartner [";
        std::string flags;
        for (const Event& event : m_recorder.events(Supplier::Log)) {
            if (event.what.find(start) == std::string::npos) continue;
            flags.clear();
            for (const char* name :
                 {"m_bPrivilegePartner [", "SSO_PRIVILEGE_PLATFORM [", "SSO_PRIVILEGE_PUBLIC ["}) {
                const std::size_t at = event.what.find(name) + std::string(name).size();
                flags += event.what.substr(at, event.what.find(']', at) - at);
            }
            EXPECT_EQ(event.what.find("[(nil)]"), std::string::npos) << event.what;
            EXPECT_THAT(event.what, ::testing::ContainsRegex("instance \\[0x[0-9a-f]+\\]"));
        }
        return flags;
    }

    /// What the application may in fact do: "partner" and "platform" as "10" and so on.
    std::string admitted(PP_Instance instance) {
        std::string result;
        // Names of the other path: the gate lets them pass, and nothing is started.
        for (const char* command : {"sso_plugin_getVersion", "sso_plugin_getSSOState"}) {
            const Value answer = answerTo(instance, requestOf(command));
            result += answer == refusal(command) ? '0' : '1';
        }
        return result;
    }
};

using AnInstanceWithPrivileges = ThePrivileges;
using AFailingPrivilegeQuery = ThePrivileges;
using AMissingVendorTable = ThePrivileges;

TEST_F(AnInstanceWithPrivileges, LogsEachOfTheEightCombinations) {
    for (unsigned privileges = 0; privileges <= support::kAll; ++privileges) {
        SCOPED_TRACE(privileges);
        const PP_Instance instance = embedWith(privileges);
        const bool partner = (privileges & support::kPartner) != 0;
        const bool platform = (privileges & support::kPlatform) != 0;
        const bool publicOne = (privileges & support::kPublic) != 0;
        const auto digit = [](bool held) { return held ? '1' : '0'; };
        EXPECT_EQ(loggedFlags(), (std::string{digit(partner), digit(platform), digit(publicOne)}));
        EXPECT_EQ(admitted(instance), (std::string{digit(partner), digit(platform)}));
    }
}

TEST_F(AnInstanceWithPrivileges, LogsAnotherPointerThanItsNeighbour) {
    embed();
    embed();
    std::vector<std::string> pointers;
    for (const Event& event : m_recorder.events(Supplier::Log)) {
        const std::size_t at = event.what.find("instance [");
        if (at != std::string::npos) pointers.push_back(event.what.substr(at));
    }
    ASSERT_EQ(pointers.size(), 2U);
    EXPECT_NE(pointers[0], pointers[1]);
}

TEST_F(AnInstanceWithPrivileges, KeepsThemWhateverIsGrantedLater) {
    const PP_Instance without = embedWith(support::kNone);
    EXPECT_EQ(admitted(without), "00");
    const PP_Instance with = embedWith(support::kAll);
    EXPECT_EQ(admitted(without), "00");
    EXPECT_EQ(admitted(with), "11");
    const PP_Instance againWithout = embedWith(support::kNone);
    EXPECT_EQ(admitted(with), "11");
    EXPECT_EQ(admitted(againWithout), "00");
    const PP_Instance platformOnly = embedWith(support::kPlatform);
    EXPECT_EQ(admitted(platformOnly), "01");
    EXPECT_EQ(admitted(with), "11");
}

TEST_F(AnInstanceWithPrivileges, AsksForThemOnlyWhenItIsMade) {
    const PP_Instance instance = embedWith(support::kAll);
    EXPECT_EQ(m_extension.askers().size(), 3U);
    answersTo(instance, requestOf(kLogin));
    replyTo(instance, requestOf(kVersion));
    replyTo(instance, requestOf("sso_plugin_getSSOState"));
    EXPECT_EQ(m_extension.askers().size(), 3U);
    host().destroy(instance);
    EXPECT_EQ(m_extension.askers().size(), 3U);
    const PP_Instance second = embed();
    EXPECT_THAT(m_extension.askers(),
                ElementsAre(instance, instance, instance, second, second, second));
}

struct BadAnswer {
    const char* title;
    std::int32_t code;
    Value value;
};

std::vector<BadAnswer> badAnswers() {
    return {
        {"a failure with true in the slot", PP_ERROR_FAILED, true},
        {"a positive code with true in the slot", 1, true},
        {"a failure with a text in the slot", PP_ERROR_NOTSUPPORTED, "true"},
        {"a failure with nothing in the slot", PP_ERROR_FAILED, Value()},
        {"false", 0, false},
        {"undefined", 0, Value()},
        {"null", 0, Value::Null{}},
        {"1", 0, 1},
        {"1.0", 0, 1.0},
        {"a text", 0, "true"},
        {"an array", 0, Value::Array{true}},
        {"a dictionary", 0, Value::Dictionary{{"result", true}}},
        {"a buffer", 0, Value::Buffer{1}},
    };
}

TEST_F(AFailingPrivilegeQuery, CountsAsAPrivilegeThatIsNotHeld) {
    for (const BadAnswer& bad : badAnswers()) {
        SCOPED_TRACE(bad.title);
        m_extension.answer([bad](const std::string&, const Value&) {
            return RecordingExtension::Answer{bad.code, bad.value};
        });
        const PP_Instance instance = embed();
        EXPECT_EQ(loggedFlags(), "000");
        EXPECT_EQ(admitted(instance), "00");
        EXPECT_THAT(host().moduleHeldVars(), IsEmpty());
    }
}

TEST_F(AFailingPrivilegeQuery, LeavesTheOtherTwoAsTheyAre) {
    const std::array<std::string, 3> flags = {"011", "101", "110"};
    const std::array<support::Privilege, 3> privileges = {support::kPartner, support::kPlatform,
                                                          support::kPublic};
    for (std::size_t i = 0; i < privileges.size(); ++i) {
        for (const BadAnswer& bad : badAnswers()) {
            SCOPED_TRACE(std::string(bad.title) + " for " + support::identifierOf(privileges[i]));
            const Value failing = support::identifierOf(privileges[i]);
            m_extension.answer([bad, failing](const std::string&, const Value& parameter) {
                return parameter == failing ? RecordingExtension::Answer{bad.code, bad.value}
                                            : RecordingExtension::Answer{0, true};
            });
            const PP_Instance instance = embed();
            EXPECT_EQ(loggedFlags(), flags[i]);
            EXPECT_EQ(admitted(instance), flags[i].substr(0, 2));
        }
    }
}

TEST_F(AMissingVendorTable, GrantsNothing) {
    replaceInterface("PPB_ExtensionSystem_Korvane;0.1", nullptr);
    const PP_Instance instance = embedWith(support::kAll);
    EXPECT_EQ(loggedFlags(), "000");
    EXPECT_EQ(admitted(instance), "00");
    EXPECT_TRUE(m_extension.askers().empty());
    EXPECT_THAT(host().moduleHeldVars(), IsEmpty());
}

}  // namespace
}  // namespace protocol
