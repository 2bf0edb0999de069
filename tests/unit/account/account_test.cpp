// The account model: who is signed in, and what becomes of the account.

#include "account/account.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

using account::Account;
using account::Description;
using account::Operation;
using account::Outcome;
using account::PopupState;
using account::Profile;
using std::chrono::milliseconds;

constexpr PopupState kStates[] = {PopupState::Completed, PopupState::Closed, PopupState::Failed,
                                  PopupState::Cancelled};
constexpr PopupState kNotCompleted[] = {PopupState::Closed, PopupState::Failed,
                                        PopupState::Cancelled};

constexpr account::Time kNow = 1000000;

Description signedIn() {
    Description description;
    Profile& profile = description.profiles.emplace_back();
    profile.identity = {"login-1", "uid-1", "guid-1", "auth-1"};
    profile.mappings.add({"app", "partner", "user"});
    profile.agreements = {{"agreed-1", "1"}};
    description.signedIn = "login-1";
    description.clients = {{"client-1", {"secret-1", "token-1", {}}}, {"client-2", {"", "", {}}}};
    description.terms = {{"agreed-1", {"1", "", ""}}, {"open-1", {"1", "", ""}}};
    return description;
}

Description signedOut() {
    Description description = signedIn();
    description.signedIn.reset();
    return description;
}

/// What is there, but for the identity.
Description withoutIdentity() {
    Description description = signedIn();
    description.profiles.clear();
    return description;
}

/// That there is a failure and no value.
template <typename Value>
void expectFailure(const account::Result<Value>& result, Outcome outcome) {
    EXPECT_EQ(result.outcome, outcome);
    EXPECT_TRUE(result.value == Value{});
}

TEST(AnAccount, HasNobodySignedInWithoutADescription) {
    const Account account;
    EXPECT_FALSE(account.isSignedIn());
    EXPECT_EQ(account.identity().outcome, Outcome::NoAccount);
}

TEST(AnAccount, TellsWhoIsSignedIn) {
    const Account account(signedIn());
    EXPECT_TRUE(account.isSignedIn());
    const auto identity = account.identity();
    EXPECT_EQ(identity.outcome, Outcome::Ok);
    EXPECT_EQ(identity.value.loginId, "login-1");
    EXPECT_EQ(identity.value.uid, "uid-1");
    EXPECT_EQ(identity.value.guid, "guid-1");
    EXPECT_EQ(identity.value.authToken, "auth-1");
}

TEST(AnAccount, GivesNothingAndTakesNothingWhileNobodyIsSignedIn) {
    for (const Description& description : {Description(), signedOut(), withoutIdentity()}) {
        Account account(description);
        EXPECT_FALSE(account.isSignedIn());
        EXPECT_EQ(account.identity().outcome, Outcome::NoAccount);
        EXPECT_EQ(account.identity().value.authToken, "");
        expectFailure(account.isAgreed("agreed-1"), Outcome::NoAccount);
        expectFailure(account.isAgreed("other-1"), Outcome::NoAccount);
        expectFailure(account.accessToken("client-1", "secret-1", kNow), Outcome::NoAccount);
        expectFailure(account.accessToken("other-1", "", kNow), Outcome::NoAccount);
        EXPECT_EQ(account.mappings("app", "").outcome, Outcome::NoAccount);
        EXPECT_TRUE(account.mappings("app", "").value.empty());
        EXPECT_EQ(account.addMapping({"app", "partner", "new"}), Outcome::NoAccount);
        EXPECT_EQ(account.addMapping({"", "", ""}), Outcome::NoAccount);
        EXPECT_EQ(account.removeMapping({"app", "partner", "user"}), Outcome::NoAccount);
        EXPECT_EQ(account.removeMapping({"app", "none", ""}), Outcome::NoAccount);
    }
    Account account(signedOut());
    EXPECT_EQ(account.addMapping({"app", "partner", "new"}), Outcome::NoAccount);
    EXPECT_EQ(account.removeMapping({"app", "partner", "user"}), Outcome::NoAccount);
    account.endLogin(PopupState::Completed);
    EXPECT_EQ(toJson(account.mappings("app", "").value),
              R"([{"appID":"app","cpName":"partner","cpUID":"user"}])");
}

TEST(ALogin, SignsInWhenItIsCompleted) {
    Account account(signedOut());
    EXPECT_EQ(account.endLogin(PopupState::Completed), PopupState::Completed);
    EXPECT_TRUE(account.isSignedIn());
    EXPECT_EQ(account.identity().value.uid, "uid-1");
}

TEST(ALogin, SignsNobodyInWhenItIsNotCompleted) {
    for (const PopupState state : kNotCompleted) {
        Account account(signedOut());
        account.endLogin(state);
        EXPECT_FALSE(account.isSignedIn());
    }
}

TEST(ALogin, FailsWhenThereIsNoAccount) {
    for (const Description& description : {Description(), withoutIdentity()}) {
        Account account(description);
        EXPECT_EQ(account.endLogin(PopupState::Completed), PopupState::Failed);
        EXPECT_FALSE(account.isSignedIn());
        EXPECT_EQ(account.endLogin(PopupState::Closed), PopupState::Closed);
    }
}

TEST(ALogin, LeavesAnAccountSignedIn) {
    for (const PopupState state : kStates) {
        Account account(signedIn());
        account.endLogin(state);
        EXPECT_TRUE(account.isSignedIn());
    }
}

TEST(APopup, TellsItsCallerHowItEnded) {
    const Outcome outcomes[] = {Outcome::Ok, Outcome::Ok, Outcome::Unavailable, Outcome::Cancelled};
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        EXPECT_EQ(outcomeOf(kStates[i]), outcomes[i]);
        for (const Description& description : {Description(), signedOut(), signedIn()}) {
            Account account(description);
            EXPECT_EQ(account.endTerms(kStates[i], "open-1"), kStates[i]);
            EXPECT_EQ(account.endTerms(kStates[i], "other-1"), kStates[i]);
            if (!description.profiles.empty()) {
                EXPECT_EQ(account.endLogin(kStates[i]), kStates[i]);
            }
        }
    }
}

TEST(ATermsDocument, IsAgreedToOrNotOrUnknown) {
    const Account account(signedIn());
    EXPECT_EQ(account.isAgreed("agreed-1").outcome, Outcome::Ok);
    EXPECT_TRUE(account.isAgreed("agreed-1").value);
    EXPECT_EQ(account.isAgreed("open-1").outcome, Outcome::Ok);
    EXPECT_FALSE(account.isAgreed("open-1").value);
    expectFailure(account.isAgreed("other-1"), Outcome::Unknown);
    expectFailure(account.isAgreed(""), Outcome::Unknown);
}

TEST(ATermsDocument, IsAgreedToWhenItsPopupIsCompleted) {
    Account account(signedIn());
    account.endTerms(PopupState::Completed, "agreed-1");
    EXPECT_FALSE(account.isAgreed("open-1").value);
    account.endTerms(PopupState::Completed, "open-1");
    EXPECT_TRUE(account.isAgreed("open-1").value);
    EXPECT_TRUE(account.isAgreed("agreed-1").value);
}

TEST(ATermsDocument, StaysAsItIsWhenItsPopupIsNotCompleted) {
    for (const PopupState state : kNotCompleted) {
        Account account(signedIn());
        account.endTerms(state, "open-1");
        EXPECT_FALSE(account.isAgreed("open-1").value);
        account.endTerms(state, "agreed-1");
        EXPECT_TRUE(account.isAgreed("agreed-1").value);
    }
}

TEST(ATermsDocument, StaysAsItIsWhileNobodyIsSignedIn) {
    Account account(signedOut());
    account.endTerms(PopupState::Completed, "open-1");
    account.endLogin(PopupState::Completed);
    EXPECT_EQ(account.isAgreed("open-1").outcome, Outcome::Ok);
    EXPECT_FALSE(account.isAgreed("open-1").value);
}

TEST(ATermsDocument, StaysUnknownWhenItsPopupIsCompleted) {
    Account account(signedIn());
    account.endTerms(PopupState::Completed, "other-1");
    expectFailure(account.isAgreed("other-1"), Outcome::Unknown);
}

TEST(AClient, GetsItsTokenForItsSecret) {
    Account account(signedIn());
    EXPECT_EQ(account.accessToken("client-1", "secret-1", kNow).outcome, Outcome::Ok);
    EXPECT_EQ(account.accessToken("client-1", "secret-1", kNow).value, "token-1");
    EXPECT_EQ(account.accessToken("client-2", "", kNow).outcome, Outcome::Ok);
    EXPECT_EQ(account.accessToken("client-2", "", kNow).value, "");
}

TEST(AClient, IsUnknownWithAnotherSecret) {
    Account account(signedIn());
    expectFailure(account.accessToken("client-1", "secret-2", kNow), Outcome::Unknown);
    expectFailure(account.accessToken("client-1", "", kNow), Outcome::Unknown);
    expectFailure(account.accessToken("client-2", "secret-1", kNow), Outcome::Unknown);
    expectFailure(account.accessToken("client-3", "secret-1", kNow), Outcome::Unknown);
}

TEST(AnAccountsMappings, AreAddedOnce) {
    Account account(signedIn());
    EXPECT_EQ(account.addMapping({"app", "partner", "new"}), Outcome::Ok);
    EXPECT_EQ(account.addMapping({"app", "partner", "new"}), Outcome::Duplicate);
    EXPECT_EQ(account.addMapping({"app", "partner", "user"}), Outcome::Duplicate);
    const auto mappings = account.mappings("app", "partner");
    EXPECT_EQ(mappings.outcome, Outcome::Ok);
    EXPECT_EQ(toJson(mappings.value), R"([{"appID":"app","cpName":"partner","cpUID":"user"},)"
                                      R"({"appID":"app","cpName":"partner","cpUID":"new"}])");
}

TEST(AnAccountsMappings, HaveNoEmptyText) {
    Account account(signedIn());
    EXPECT_EQ(account.addMapping({"", "p", "u"}), Outcome::Invalid);
    EXPECT_EQ(account.addMapping({"a", "", "u"}), Outcome::Invalid);
    EXPECT_EQ(account.addMapping({"a", "p", ""}), Outcome::Invalid);
    EXPECT_TRUE(account.mappings("a", "").value.empty());
    EXPECT_TRUE(account.mappings("", "").value.empty());
}

TEST(AnAccountsMappings, AreRemovedWhenTheyAreThere) {
    Account account(signedIn());
    EXPECT_EQ(account.removeMapping({"app", "partner", "none"}), Outcome::Unknown);
    EXPECT_EQ(account.removeMapping({"app", "", ""}), Outcome::Unknown);
    EXPECT_EQ(account.removeMapping({"app", "partner", "user"}), Outcome::Ok);
    EXPECT_EQ(account.removeMapping({"app", "partner", "user"}), Outcome::Unknown);
    const auto mappings = account.mappings("app", "");
    EXPECT_EQ(mappings.outcome, Outcome::Ok);
    EXPECT_TRUE(mappings.value.empty());
}

TEST(AnAccountsMappings, AreRemovedWithAllOfAnApplicationAndPartner) {
    Account account(signedIn());
    account.addMapping({"app", "partner", "new"});
    account.addMapping({"app", "other", "user"});
    EXPECT_EQ(account.removeMapping({"app", "partner", ""}), Outcome::Ok);
    EXPECT_EQ(toJson(account.mappings("app", "").value),
              R"([{"appID":"app","cpName":"other","cpUID":"user"}])");
}

TEST(TheBehaviour, IsThatOfTheDescription) {
    Description description;
    description.behaviour.login = account::Popup{PopupState::Closed, milliseconds(1)};
    description.behaviour.requestDelay = milliseconds(2);
    description.behaviour.unavailable = {Operation::GetGuid};
    const Account account(description);
    EXPECT_EQ(account.behaviour().login->state, PopupState::Closed);
    EXPECT_EQ(account.behaviour().login->delay, milliseconds(1));
    EXPECT_EQ(account.behaviour().requestDelay, milliseconds(2));
    EXPECT_TRUE(account.behaviour().isUnavailable(Operation::GetGuid));
    EXPECT_FALSE(account.behaviour().isUnavailable(Operation::GetAuthToken));
    EXPECT_FALSE(Account().behaviour().isUnavailable(Operation::GetGuid));
}

TEST(TheBehaviour, ChangesNothingOfTheAccountByItself) {
    Description description = signedIn();
    description.behaviour.unavailable = {Operation::GetGuid, Operation::AddMapping};
    Account account(description);
    EXPECT_EQ(account.identity().value.guid, "guid-1");
    EXPECT_EQ(account.addMapping({"app", "partner", "new"}), Outcome::Ok);
}

}  // namespace
