// What a recorder is told, and that nothing changes when it refuses.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "account/account.h"

namespace {

using account::Account;
using account::Client;
using account::Description;
using account::Mapping;
using account::Outcome;
using account::PopupState;
using account::Profile;
using account::Token;

/// Writes down what it is told, or refuses it.
class Notes : public account::Recorder {
  public:
    void session(const std::string* loginId) override {
        note("session " + (loginId != nullptr ? *loginId : "nobody"));
    }
    void agreement(const std::string& loginId, const std::string& termsId,
                   const std::string& version) override {
        note("agreement " + loginId + " " + termsId + " " + version);
    }
    void token(const std::string& loginId, const std::string& clientId,
               const Token& token) override {
        note("token " + loginId + " " + clientId + " " + token.text + " " +
             std::to_string(token.number) + " " +
             (token.expiry ? std::to_string(*token.expiry) : "never"));
    }
    void mappingAdded(const std::string& loginId, const Mapping& mapping) override {
        note("added " + loginId + " " + mapping.appId + " " + mapping.cpName + " " + mapping.cpUid);
    }
    void mappingRemoved(const std::string& loginId, const Mapping& mapping) override {
        note("removed " + loginId + " " + mapping.appId + " " + mapping.cpName + " " +
             mapping.cpUid);
    }

    std::vector<std::string> taken() { return std::exchange(m_notes, {}); }
    bool refuses = false;

  private:
    void note(const std::string& what) {
        if (refuses) throw std::runtime_error("refused");
        m_notes.push_back(what);
    }

    std::vector<std::string> m_notes;
};

Profile profile(const std::string& loginId) {
    Profile profile;
    profile.identity = {loginId, "uid-of-" + loginId, "guid", "auth"};
    return profile;
}

class ARecordedAccount : public ::testing::Test {
  protected:
    static Description description() {
        Description description;
        description.profiles = {profile("robin"), profile("kim")};
        description.clients["app"] = Client{"secret", "token-of-app", 1000};
        description.clients["eternal"] = Client{"secret", "eternal-token", {}};
        description.terms["terms"] = {"2", "", ""};
        return description;
    }

    using Texts = std::vector<std::string>;
    Notes m_notes;
    Account m_account{description(), &m_notes};
};

TEST_F(ARecordedAccount, TellsOfSessions) {
    EXPECT_EQ(m_account.signIn("nobody"), Outcome::Unknown);
    EXPECT_EQ(m_notes.taken(), Texts{});
    EXPECT_EQ(m_account.signIn("kim"), Outcome::Ok);
    EXPECT_EQ(m_account.identity().value.uid, "uid-of-kim");
    m_account.signOut();
    EXPECT_FALSE(m_account.isSignedIn());
    EXPECT_EQ(m_notes.taken(), (Texts{"session kim", "session nobody"}));
}

TEST_F(ARecordedAccount, SignsTheFirstInByAPopupUnlessSomebodyIs) {
    m_account.endLogin(PopupState::Completed);
    EXPECT_EQ(m_notes.taken(), Texts{"session robin"});
    m_account.signIn("kim");
    m_notes.taken();
    EXPECT_EQ(m_account.endLogin(PopupState::Completed), PopupState::Completed);
    EXPECT_EQ(m_notes.taken(), Texts{});
    EXPECT_EQ(m_account.identity().value.loginId, "kim");
}

TEST_F(ARecordedAccount, TellsOfMappings) {
    m_account.signIn("kim");
    m_notes.taken();
    EXPECT_EQ(m_account.addMapping({"a", "p", "u"}), Outcome::Ok);
    EXPECT_EQ(m_account.addMapping({"a", "p", "u"}), Outcome::Duplicate);
    EXPECT_EQ(m_account.addMapping({"a", "p", ""}), Outcome::Invalid);
    EXPECT_EQ(m_account.removeMapping({"a", "p", "none"}), Outcome::Unknown);
    EXPECT_EQ(m_account.removeMapping({"a", "p", ""}), Outcome::Ok);
    EXPECT_EQ(m_notes.taken(), (Texts{"added kim a p u", "removed kim a p "}));
}

TEST_F(ARecordedAccount, HasMappingsOfEachUser) {
    m_account.signIn("kim");
    m_account.addMapping({"a", "p", "u"});
    m_account.signIn("robin");
    EXPECT_TRUE(m_account.mappings("a", "").value.empty());
    m_account.signIn("kim");
    EXPECT_EQ(m_account.mappings("a", "").value.size(), 1U);
}

TEST_F(ARecordedAccount, GivesATokenUntilItExpiresAndThenTheNext) {
    m_account.signIn("robin");
    m_notes.taken();
    EXPECT_EQ(m_account.accessToken("app", "secret", 5000).value, "token-of-app");
    EXPECT_EQ(m_account.accessToken("app", "secret", 5999).value, "token-of-app");
    EXPECT_EQ(m_notes.taken(), Texts{"token robin app token-of-app 1 6000"});
    EXPECT_EQ(m_account.accessToken("app", "secret", 6000).value, "token-of-app-2");
    EXPECT_EQ(m_account.accessToken("app", "secret", 6001).value, "token-of-app-2");
    EXPECT_EQ(m_notes.taken(), Texts{"token robin app token-of-app-2 2 7000"});
    EXPECT_EQ(m_account.accessToken("eternal", "secret", 1).value, "eternal-token");
    EXPECT_EQ(m_account.accessToken("eternal", "secret", 1LL << 50).value, "eternal-token");
    EXPECT_EQ(m_notes.taken(), Texts{"token robin eternal eternal-token 1 never"});
}

TEST_F(ARecordedAccount, GivesEachUserATokenOfTheirOwn) {
    m_account.signIn("kim");
    EXPECT_EQ(m_account.accessToken("app", "secret", 0).value, "token-of-app-uid-of-kim");
    EXPECT_EQ(m_account.accessToken("app", "secret", 1000).value, "token-of-app-uid-of-kim-2");
}

TEST_F(ARecordedAccount, HasAgreedToTheVersionThatWasShown) {
    m_account.signIn("robin");
    m_notes.taken();
    m_account.endTerms(PopupState::Completed, "terms");
    EXPECT_EQ(m_notes.taken(), Texts{"agreement robin terms 2"});
    EXPECT_TRUE(m_account.isAgreed("terms").value);
    Description later = m_account.description();
    later.terms["terms"].version = "3";
    EXPECT_FALSE(Account(later).isAgreed("terms").value);
    EXPECT_EQ(Account(later).isAgreed("terms").outcome, Outcome::Ok);
    m_account.signIn("kim");
    EXPECT_FALSE(m_account.isAgreed("terms").value);
}

TEST_F(ARecordedAccount, ChangesNothingThatCannotBeRecorded) {
    m_account.signIn("robin");
    m_account.addMapping({"a", "p", "u"});
    m_account.accessToken("app", "secret", 0);
    m_notes.refuses = true;
    EXPECT_THROW(m_account.signIn("kim"), std::runtime_error);
    EXPECT_THROW(m_account.signOut(), std::runtime_error);
    EXPECT_EQ(m_account.identity().value.loginId, "robin");
    EXPECT_THROW(m_account.addMapping({"a", "p", "v"}), std::runtime_error);
    EXPECT_THROW(m_account.removeMapping({"a", "p", "u"}), std::runtime_error);
    EXPECT_EQ(m_account.mappings("a", "").value.size(), 1U);
    EXPECT_THROW(m_account.accessToken("app", "secret", 1000), std::runtime_error);
    EXPECT_EQ(m_account.description().profiles[0].tokens.at("app").number, 1);
    EXPECT_THROW(m_account.endTerms(PopupState::Completed, "terms"), std::runtime_error);
    EXPECT_FALSE(m_account.isAgreed("terms").value);
}

}  // namespace
