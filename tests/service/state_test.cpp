// A named state: what changes it, its clock and orders, and popups with and without windows.

#include "state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "account/account_file.h"
#include "database.h"
#include "password.h"
#include "sso_api.h"
#include "temporary_folder.h"

namespace {

using account::Description;
using account::Operation;
using account::PopupState;
using account::Profile;
using service::FormErrors;
using service::Json;
using service::OpenPopup;
using service::PopupKind;
using service::State;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::Pair;

/// A world that writes down what it is asked for.
class Notebook : public service::World {
  public:
    service::Loop& loop() override { return m_loop; }
    void tell(const std::string& state, const Json& event) override {
        EXPECT_EQ(state, "name");
        Json told = event;
        EXPECT_TRUE(told.contains("time"));
        told.erase("time");
        events.push_back(told.dump());
    }
    std::string agentOf(const std::string& key) override { return key == "key" ? ":1.7" : ""; }
    void openWindow(const OpenPopup& popup, const std::string& /*title*/, const std::string& html,
                    std::function<void()> failed) override {
        windows.push_back("open " + std::to_string(popup.id));
        page = html;
        m_failed = std::move(failed);
    }
    void closeWindow(const OpenPopup& popup) override {
        windows.push_back("close " + std::to_string(popup.id));
    }
    void fillWindow(const OpenPopup& popup, const std::map<std::string, std::string>& fields,
                    bool submit) override {
        windows.push_back("fill " + std::to_string(popup.id) + " " + std::to_string(fields.size()) +
                          (submit ? " submit" : ""));
    }

    void failWindow() { m_failed(); }
    /// Lets time pass, and what is due in it happen.
    void pass(milliseconds time) {
        const auto until = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < until) sd_event_run(m_loop.get(), 1000);
    }

    std::vector<std::string> events;
    std::vector<std::string> windows;
    std::string page;

  private:
    service::Loop m_loop;
    std::function<void()> m_failed;
};

class AState : public ::testing::Test {
  protected:
    AState() {
        m_state.administer("accounts", [](Description& description) {
            description = Description();
            Profile& robin = description.profiles.emplace_back();
            robin.identity = {"robin", "uid-robin", "guid-robin", "auth-robin"};
            robin.password = "robins password";
            description.profiles.push_back(robin);
            description.profiles[1].identity = {"kim", "uid-kim", "guid-kim", "auth-kim"};
            description.profiles[1].password = "";
            description.terms["terms"] = {"1", "Title", "Text"};
        });
        m_world.events.clear();
    }

    /// Opens a popup whose end is written down.
    void open(PopupKind kind, const std::string& agent = ":1.7") {
        OpenPopup popup;
        popup.kind = kind;
        popup.termsId = "terms";
        popup.owner = ":1.3";
        popup.agent = agent;
        popup.end = [this](PopupState state) { m_ends.push_back(state); };
        m_state.openPopup(std::move(popup));
    }

    std::uint64_t openId() const { return m_state.popups().rbegin()->first; }

    support::TemporaryFolder m_folder;
    Notebook m_world;
    State m_state{"name", m_folder.path("state.db"), m_world};
    std::vector<PopupState> m_ends;
};

TEST_F(AState, KeepsWhatItsUsersChange) {
    m_state.change("session", [](account::Account& account) { return account.signIn("kim"); });
    EXPECT_THAT(m_world.events, ElementsAre(R"({"event":"changed","what":"session"})"));
    Notebook world;
    State again("name", m_folder.path("state.db"), world);
    EXPECT_EQ(again.account().identity().value.uid, "uid-kim");
}

TEST_F(AState, SeesWhatAnotherProcessChanges) {
    State other("name", m_folder.path("state.db"), m_world);
    other.change("session", [](account::Account& account) { return account.signIn("kim"); });
    EXPECT_EQ(m_state.change(
                  "session",
                  [](const account::Account& account) { return account.identity().value.uid; }),
              "uid-kim");
    other.change("session", [](account::Account& account) { return account.signIn("robin"); });
    EXPECT_EQ(m_state.account().identity().value.uid, "uid-robin");
    other.order([](service::Orders& orders) { orders.hang(Operation::GetGuid); });
    EXPECT_TRUE(m_state.orders().hangs(Operation::GetGuid));
    other.setClockOffset(milliseconds(3600000));
    EXPECT_EQ(m_state.clockOffset(), milliseconds(3600000));
}

TEST_F(AState, TellsNothingOfWhatCannotBeKept) {
    execute(
        m_folder.path("state.db"),
        "CREATE TRIGGER full BEFORE INSERT ON account BEGIN SELECT RAISE(ABORT, 'no room'); END");
    const auto nothing = [](Description&) {};
    EXPECT_THROW(m_state.administer("accounts", nothing), service::StoreError);
    EXPECT_THROW(m_state.replace(m_state.account().description(), {}, milliseconds(0)),
                 service::StoreError);
    EXPECT_THAT(m_world.events, IsEmpty());
    EXPECT_EQ(m_state.account().description().profiles.size(), 2U);
}

TEST_F(AState, KeepsPasswordsAsHashes) {
    const std::string kept = m_state.account().find("robin")->password;
    EXPECT_TRUE(service::isHash(kept));
    EXPECT_EQ(kept.find("robins password"), std::string::npos);
    EXPECT_TRUE(service::isPassword(kept, "robins password"));
    EXPECT_FALSE(service::isPassword(kept, "robins passwort"));
    m_state.administer("accounts", [](Description&) {});
    EXPECT_EQ(m_state.account().find("robin")->password, kept);
}

TEST_F(AState, HasAClockThatCanBeMoved) {
    const account::Time before = m_state.now();
    m_state.setClockOffset(milliseconds(86400000));
    EXPECT_GE(m_state.now(), before + 86400000);
    EXPECT_LT(m_state.now(), before + 86400000 + 60000);
    State again("name", m_folder.path("state.db"), m_world);
    EXPECT_EQ(again.clockOffset(), milliseconds(86400000));
}

TEST_F(AState, CountsOrderedFailuresAndKeepsThem) {
    m_state.order([](service::Orders& orders) {
        orders.fail(Operation::AddMapping, SSO_ERROR_UNKNOWN, 2);
        orders.fail(Operation::ShowLogin, SSO_ERROR_NOT_STARTED, 0);
    });
    EXPECT_EQ(m_state.takeFailure(Operation::AddMapping, true), std::nullopt);
    EXPECT_THAT(m_state.takeFailure(Operation::AddMapping, false), Optional(SSO_ERROR_UNKNOWN));
    State again("name", m_folder.path("state.db"), m_world);
    EXPECT_THAT(again.takeFailure(Operation::AddMapping, false), Optional(SSO_ERROR_UNKNOWN));
    EXPECT_EQ(again.takeFailure(Operation::AddMapping, false), std::nullopt);
    EXPECT_EQ(m_state.takeFailure(Operation::AddMapping, false), std::nullopt);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m_state.takeFailure(Operation::ShowLogin, false), std::nullopt);
        EXPECT_THAT(m_state.takeFailure(Operation::ShowLogin, true),
                    Optional(SSO_ERROR_NOT_STARTED));
    }
}

using APopupOfTheService = AState;

TEST_F(APopupOfTheService, FailsAtOnceWhenNobodyCanShowItAndNothingIsSet) {
    open(PopupKind::Login, "");
    EXPECT_TRUE(m_ends.empty());
    m_world.pass(milliseconds(20));
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Failed));
    EXPECT_TRUE(m_world.windows.empty());
}

TEST_F(APopupOfTheService, EndsAsWasSetForTheNextOfItsKind) {
    m_state.setNextPopup(PopupKind::Login, PopupState::Closed);
    open(PopupKind::Terms, "");
    open(PopupKind::Login);
    m_world.pass(milliseconds(20));
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Failed, PopupState::Closed));
    EXPECT_THAT(m_world.windows, ElementsAre("close 2"));
    open(PopupKind::Login, "");
    m_world.pass(milliseconds(20));
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Failed, PopupState::Closed, PopupState::Failed));
}

TEST_F(APopupOfTheService, SignsInWhoKnowsThePassword) {
    open(PopupKind::Login);
    EXPECT_THAT(m_world.windows, ElementsAre("open 1"));
    const FormErrors wrong{{"password", "The sign-in name or the password is wrong."}};
    EXPECT_THAT(m_state.submit(1, "sign-in", {{"loginId", ""}, {"password", "x"}}),
                Optional(FormErrors{{"loginId", "Enter your sign-in name."}}));
    for (const char* password : {"", "wrong", "robins password "}) {
        EXPECT_THAT(m_state.submit(1, "sign-in", {{"loginId", "robin"}, {"password", password}}),
                    Optional(wrong));
    }
    EXPECT_THAT(
        m_state.submit(1, "sign-in", {{"loginId", "nobody"}, {"password", "robins password"}}),
        Optional(wrong));
    EXPECT_THAT(m_state.submit(1, "sign-in", {{"loginId", "kim"}, {"password", ""}}),
                Optional(wrong));
    EXPECT_FALSE(m_state.account().isSignedIn());
    EXPECT_TRUE(m_ends.empty());
    EXPECT_EQ(m_state.submit(1, "sign-in", {{"loginId", "robin"}, {"password", "robins password"}}),
              std::nullopt);
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Completed));
    EXPECT_EQ(m_state.account().identity().value.uid, "uid-robin");
    EXPECT_THAT(m_world.windows, ElementsAre("open 1", "close 1"));
}

TEST_F(APopupOfTheService, CreatesAnAccountWhenAllIsWell) {
    open(PopupKind::CreateAccount);
    using Fields = std::map<std::string, std::string>;
    const std::pair<Fields, FormErrors> bad[] = {
        {{{"password", "12345678"}, {"repeated", "12345678"}},
         {{"loginId", "Choose a sign-in name."}}},
        {{{"loginId", std::string(256, 'x')}, {"password", "12345678"}, {"repeated", "12345678"}},
         {{"loginId", "The sign-in name is too long."}}},
        {{{"loginId", "robin"}, {"password", "1234567"}, {"repeated", "1234567"}},
         {{"loginId", "This sign-in name is taken."},
          {"password", "The password needs 8 characters or more."}}},
        {{{"loginId", "new"}, {"password", "12345678"}, {"repeated", "12345679"}},
         {{"repeated", "The two passwords are not the same."}}},
    };
    for (const auto& [fields, errors] : bad) {
        EXPECT_THAT(m_state.submit(1, "create-account", fields), Optional(errors));
    }
    EXPECT_EQ(m_state.account().description().profiles.size(), 2U);
    EXPECT_EQ(m_state.submit(1, "create-account",
                             {{"loginId", "new"},
                              {"displayName", "<New>"},
                              {"password", "12345678"},
                              {"repeated", "12345678"}}),
              std::nullopt);
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Completed));
    const Profile* profile = m_state.account().current();
    ASSERT_NE(profile, nullptr);
    EXPECT_EQ(profile->identity.loginId, "new");
    EXPECT_EQ(profile->displayName, "<New>");
    EXPECT_EQ(profile->identity.uid.size(), 36U);
    EXPECT_NE(profile->identity.guid, profile->identity.uid);
    EXPECT_TRUE(service::isPassword(profile->password, "12345678"));
}

TEST_F(APopupOfTheService, AgreesToTermsForWhoIsSignedIn) {
    open(PopupKind::Terms);
    EXPECT_THAT(m_state.submit(1, "agree", {}),
                Optional(FormErrors{{"", "Sign in before you agree."}}));
    m_state.change("session", [](account::Account& account) { return account.signIn("kim"); });
    EXPECT_EQ(m_state.submit(1, "agree", {}), std::nullopt);
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Completed));
    EXPECT_TRUE(m_state.account().isAgreed("terms").value);
}

TEST_F(APopupOfTheService, EndsOnceWhateverComes) {
    open(PopupKind::Login);
    m_world.failWindow();
    m_state.endPopup(1, PopupState::Completed);
    EXPECT_EQ(m_state.submit(1, "sign-in", {}), std::nullopt);
    m_state.endPopupsOf(":1.7");
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Failed));
    EXPECT_FALSE(m_state.account().isSignedIn());
}

TEST_F(APopupOfTheService, IsTakenAwayWithItsAgentOrItsOwner) {
    open(PopupKind::Login);
    open(PopupKind::Terms);
    m_state.endPopupsOf(":1.8");
    EXPECT_TRUE(m_ends.empty());
    m_state.endPopupsOf(":1.7");
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Cancelled, PopupState::Cancelled));
    open(PopupKind::Login);
    m_state.endPopupsOf(":1.3");
    EXPECT_EQ(m_ends.size(), 3U);
}

TEST_F(APopupOfTheService, HangsWhenThatIsOrdered) {
    m_state.order([](service::Orders& orders) { orders.hang(Operation::ShowLogin); });
    open(PopupKind::Login, "");
    m_world.pass(milliseconds(20));
    EXPECT_TRUE(m_ends.empty());
    m_state.endPopup(openId(), PopupState::Closed);
    EXPECT_THAT(m_ends, ElementsAre(PopupState::Closed));
}

}  // namespace
