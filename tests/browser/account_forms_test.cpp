// What the account service says to what a person enters in its windows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "account/account_file.h"
#include "state.h"
#include "temporary_folder.h"

namespace {

using account::PopupState;
using service::FormErrors;
using service::OpenPopup;
using service::PopupKind;
using Fields = std::map<std::string, std::string>;

/// An agent that shows whatever it is given.
class Agent : public service::World {
  public:
    service::Loop& loop() override { return m_loop; }
    void tell(const std::string& /*state*/, const service::Json& event) override {
        m_told += event.dump();
    }
    std::string agentOf(const std::string& /*key*/) override { return ":1.1"; }
    void openWindow(const OpenPopup& popup, const std::string& title, const std::string& /*html*/,
                    std::function<void()> /*failed*/) override {
        m_popup = popup.id;
        m_title = title;
    }
    void closeWindow(const OpenPopup& /*popup*/) override { ++m_closed; }
    void fillWindow(const OpenPopup& /*popup*/, const Fields& /*fields*/, bool /*press*/) override {
    }

    std::uint64_t m_popup = 0;
    std::string m_title;
    std::string m_told;
    int m_closed = 0;

  private:
    service::Loop m_loop;
};

class AForm : public ::testing::Test {
  protected:
    void open(PopupKind kind) {
        OpenPopup popup;
        popup.kind = kind;
        popup.termsId = "terms-1";
        popup.agent = ":1.1";
        popup.end = [this](PopupState state) { m_ends.push_back(state); };
        m_state.openPopup(std::move(popup));
    }
    std::optional<FormErrors> submit(const std::string& action, const Fields& fields = {}) {
        return m_state.submit(m_agent.m_popup, action, fields);
    }

    support::TemporaryFolder m_folder;
    Agent m_agent;
    service::State m_state{"test", m_folder.path("test.db"), m_agent};
    std::vector<PopupState> m_ends;
};

TEST_F(AForm, TellsWhatIsWrongWithANewAccount) {
    open(PopupKind::CreateAccount);
    ASSERT_EQ(submit("create-account",
                     {{"loginId", "mia"}, {"password", "12345678"}, {"repeated", "12345678"}}),
              std::nullopt);
    const struct {
        Fields fields;
        FormErrors errors;
    } rows[] = {
        {{},
         {{"loginId", "Choose a sign-in name."},
          {"password", "The password needs 8 characters or more."}}},
        {{{"loginId", "mia"}, {"password", "12345678"}, {"repeated", "12345678"}},
         {{"loginId", "This sign-in name is taken."}}},
        {{{"loginId", "mi a"}, {"password", "12345678"}, {"repeated", "12345678"}},
         {{"loginId", "The sign-in name must have no blanks."}}},
        {{{"loginId", std::string(256, 'a')}, {"password", "12345678"}, {"repeated", "12345678"}},
         {{"loginId", "The sign-in name is too long."}}},
        {{{"loginId", "zoe"}, {"password", "1234567"}, {"repeated", "1234567"}},
         {{"password", "The password needs 8 characters or more."}}},
        // Four characters of two bytes each.
        {{{"loginId", "zoe"},
          {"password", "\u00e4\u00e4\u00e4\u00e4"},
          {"repeated", "\u00e4\u00e4\u00e4\u00e4"}},
         {{"password", "The password needs 8 characters or more."}}},
        {{{"loginId", "zoe"},
          {"password", std::string(1025, 'p')},
          {"repeated", std::string(1025, 'p')}},
         {{"password", "The password is too long."}}},
        {{{"loginId", "zoe"}, {"password", "12345678"}, {"repeated", "12345679"}},
         {{"repeated", "The two passwords are not the same."}}},
        {{{"loginId", "zoe"},
          {"displayName", std::string(256, 'z')},
          {"password", "12345678"},
          {"repeated", "12345678"}},
         {{"displayName", "The name is too long."}}},
    };
    open(PopupKind::CreateAccount);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.errors.begin()->second);
        EXPECT_EQ(submit("create-account", row.fields), row.errors);
    }
    EXPECT_EQ(m_ends, std::vector<PopupState>{PopupState::Completed});
    EXPECT_EQ(m_state.account().description().profiles.size(), 1U);
}

TEST_F(AForm, KeepsWhatAPersonEnteredAsItIs) {
    open(PopupKind::CreateAccount);
    ASSERT_EQ(submit("create-account", {{"loginId", "'; DROP TABLE account; --"}})
                  .value()
                  .count("loginId"),
              1U);
    ASSERT_EQ(submit("create-account", {{"loginId", "x');DROP"},
                                        {"displayName", "<b>\u00e4'"},
                                        {"password", "12345678"},
                                        {"repeated", "12345678"}}),
              std::nullopt);
    const account::Profile* profile = m_state.account().current();
    ASSERT_NE(profile, nullptr);
    EXPECT_EQ(profile->identity.loginId, "x');DROP");
    EXPECT_EQ(profile->displayName, "<b>\u00e4'");
    EXPECT_EQ(profile->identity.uid.size(), 4 + 32U);
    EXPECT_NE(profile->identity.uid.substr(4), profile->identity.guid.substr(5));
    EXPECT_EQ(profile->password.find("12345678"), std::string::npos);
    EXPECT_EQ(m_agent.m_told.find("12345678"), std::string::npos);
}

TEST_F(AForm, SignsInWithTheRightPasswordAlone) {
    open(PopupKind::CreateAccount);
    submit("create-account",
           {{"loginId", "mia"}, {"password", "12345678"}, {"repeated", "12345678"}});
    m_state.change("session", [](account::Account& account) {
        account.signOut();
        return 0;
    });
    open(PopupKind::Login);
    const FormErrors wrong = {{"password", "The sign-in name or the password is wrong."}};
    EXPECT_EQ(submit("sign-in"), (FormErrors{{"loginId", "Enter your sign-in name."}}));
    EXPECT_EQ(submit("sign-in", {{"loginId", "mia"}, {"password", "1234567"}}), wrong);
    EXPECT_EQ(submit("sign-in", {{"loginId", "zoe"}, {"password", "12345678"}}), wrong);
    EXPECT_FALSE(m_state.account().isSignedIn());
    EXPECT_EQ(submit("sign-in", {{"loginId", "mia"}, {"password", "12345678"}}), std::nullopt);
    EXPECT_TRUE(m_state.account().isSignedIn());
    EXPECT_EQ(m_ends.back(), PopupState::Completed);
}

TEST_F(AForm, GoesOnToAnotherAndEndsOnce) {
    open(PopupKind::Login);
    EXPECT_EQ(m_agent.m_title, "Sign in");
    EXPECT_EQ(submit("show-create-account"), FormErrors());
    EXPECT_EQ(m_agent.m_title, "Create an account");
    EXPECT_EQ(submit("show-login"), FormErrors());
    EXPECT_EQ(m_agent.m_title, "Sign in");
    EXPECT_EQ(submit("no-such"), (FormErrors{{"", "This button does nothing here."}}));
    EXPECT_EQ(submit("cancel"), std::nullopt);
    EXPECT_EQ(submit("cancel"), std::nullopt);
    m_state.endPopup(m_agent.m_popup, PopupState::Failed);
    EXPECT_EQ(m_ends, std::vector<PopupState>{PopupState::Closed});
    EXPECT_EQ(m_agent.m_closed, 1);
}

TEST_F(AForm, NeedsSomebodyWhoAgrees) {
    open(PopupKind::Terms);
    EXPECT_EQ(submit("agree"), (FormErrors{{"", "Sign in before you agree."}}));
    EXPECT_EQ(submit("sign-in"), (FormErrors{{"", "This button does nothing here."}}));
    EXPECT_TRUE(m_ends.empty());
}

}  // namespace
