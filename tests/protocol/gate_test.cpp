// Which name an application may use: every name against every set of privileges, on both paths.

#include <gmock/gmock.h>

#include <cctype>
#include <set>

#include "protocol_data.h"
#include "protocol_test.h"
#include "request_texts.h"

namespace protocol {
namespace {

/// Names that look like a command and are none.
std::set<std::string> unknownNames() {
    std::set<std::string> names = {"",
                                   " ",
                                   "sso_plugin_",
                                   "sso_plugin_signOut",
                                   "getVersion",
                                   "command",
                                   std::string(1, '\0'),
                                   "%s%s%n%d",
                                   "\033[0;31m",
                                   "sso_plugin_g\xc3\xa9tVersion",
                                   std::string(100000, 'x')};
    std::set<std::string> known;
    for (const contract::Command& command : contract::protocol().commands) {
        const std::string& name = command.name;
        known.insert(name);
        names.insert(changed(name, &std::toupper));
        names.insert(changed(name, &std::tolower));
        std::string oneLetter = name;
        oneLetter[0] = 'S';
        names.insert(oneLetter);
        oneLetter = name;
        oneLetter.back() = static_cast<char>(std::toupper(oneLetter.back()));
        names.insert(oneLetter);
        names.insert(name + " ");
        names.insert(" " + name);
        names.insert(name + "\n");
        names.insert(name + std::string(1, '\0'));
        names.insert(name + std::string(1, '\0') + "x");
        names.insert(name + name);
        names.insert(name.substr(0, name.size() - 1));
        names.insert(name.substr(1));
    }
    for (const std::string& name : known) names.erase(name);
    return names;
}

/// "the name, up to its first NUL": what a formatted line shows of a text.
// NOLINTNEXTLINE(readability-redundant-string-cstr): it ends the text at the NUL
std::string asPrinted(const std::string& text) { return text.c_str(); }

/// The bit of a privilege.
unsigned bitOf(const std::string& privilege) {
    for (const auto bit : {support::kPartner, support::kPlatform, support::kPublic}) {
        const std::string identifier = support::identifierOf(bit);
        if (identifier.substr(identifier.rfind('/') + 1) == privilege) return bit;
    }
    ADD_FAILURE() << "no bit for " << privilege;
    return support::kNone;
}

class TheGate : public ProtocolTest {
  protected:
    std::size_t gateLines() const { return count(") > \033[0;33mcheck "); }

    void expectRefused(PP_Instance instance, const std::string& name, std::size_t lines) {
        m_recorder.clear();
        EXPECT_EQ(answerTo(instance, requestOf(name)), refusal(name));
        EXPECT_EQ(gateLines(), lines);
        EXPECT_TRUE(m_recorder.libraryCalls().empty());
        m_recorder.clear();
        EXPECT_EQ(replyTo(instance, requestOf(name)),
                  errorReply(18, "SecurityError", "You do not have the privilege"));
        EXPECT_EQ(gateLines(), lines);
        EXPECT_TRUE(m_recorder.libraryCalls().empty());
    }

    /// Both paths let the name pass, whatever they do with it then.
    void expectAdmitted(PP_Instance instance, const contract::Command& command) {
        m_recorder.clear();
        const std::vector<Value> answers = answersTo(instance, requestOf(command.name));
        EXPECT_THAT(answers, ::testing::Not(::testing::Contains(refusal(command.name))));
        EXPECT_EQ(gateLines(), 1U);
        EXPECT_EQ(count("check SSO Privilege fail"), 0U);
        m_recorder.clear();
        EXPECT_NE(replyTo(instance, requestOf(command.name))["code"], Value(18));
        EXPECT_EQ(gateLines(), 1U);
        EXPECT_EQ(count("check SSO Privilege fail"), 0U);
    }
};

TEST_F(TheGate, AdmitsEachCommandForItsOnePrivilegeOnly) {
    for (unsigned privileges = 0; privileges <= support::kAll; ++privileges) {
        const PP_Instance instance = embedWith(privileges);
        for (const contract::Command& command : contract::protocol().commands) {
            SCOPED_TRACE(command.name + " with " + std::to_string(privileges));
            if ((privileges & bitOf(command.privilege)) != 0) {
                expectAdmitted(instance, command);
            } else {
                expectRefused(instance, command.name, 1);
            }
        }
        host().destroy(instance);  // with what the admitted ones started
    }
}

TEST_F(TheGate, NeedsThePlatformPrivilegeForTheStateAndWhatTheDataSays) {
    const PP_Instance instance = embedWith(support::kPlatform);
    std::set<std::string> admitted;
    std::set<std::string> expected;
    for (const contract::Command& command : contract::protocol().commands) {
        if (command.privilege == "sso.platform") expected.insert(command.name);
        const Value reply = replyTo(instance, requestOf(command.name));
        if (reply["code"] != Value(18)) admitted.insert(command.name);
    }
    EXPECT_EQ(admitted, expected);
    EXPECT_THAT(admitted, ::testing::Contains("sso_plugin_getSSOState"));
}

TEST_F(TheGate, RefusesEveryOtherNameAndSaysNothing) {
    const std::set<std::string> names = unknownNames();
    EXPECT_GT(names.size(), 140U);
    for (unsigned privileges = 0; privileges <= support::kAll; ++privileges) {
        const PP_Instance instance = embedWith(privileges);
        for (const std::string& name : names) {
            SCOPED_TRACE(support::visible(name.substr(0, 80)) + " with " +
                         std::to_string(privileges));
            expectRefused(instance, name, 0);
        }
    }
}

TEST_F(TheGate, LogsNoGateLineForAnUnknownNameInAnyOrder) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const std::string& name : unknownNames()) {
        if (name.size() > 1000) continue;  // the log service cuts such a line
        SCOPED_TRACE(support::visible(name));
        m_recorder.clear();
        answersTo(instance, requestOf(name));
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {postedStart(),
                         gateForNoCommand(),
                         {logged(Kind::Error, postedPlace(133), "check SSO Privilege fail")},
                         response(asPrinted(name), 18, "PrivilegeInvalid",
                                  "You do not have the privilege")})));
        m_recorder.clear();
        replyTo(instance, requestOf(name));
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {askedStart(),
                         gateForNoCommand(),
                         {logged(Kind::Error, askedPlace(305), "check SSO Privilege fail")}})));
    }
}

}  // namespace
}  // namespace protocol
