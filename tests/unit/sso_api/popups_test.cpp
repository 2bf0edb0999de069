// The popups, and what they do to the account.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "fixture.h"

namespace {

using ::testing::ElementsAre;

constexpr const char* kNever = "600000";

/// An account that is signed out, with the ends of its popups.
std::string signedOut(const std::string& popups) {
    return R"({"account": {"loginId": "login-1", "uid": "uid-1", "guid": "g", "authToken": "t"},
               "signedIn": false, "popups": {)" +
           popups + R"(}, "terms": {"agreed-1": "agreed", "open-1": "notAgreed"}})";
}

std::string signedIn(const std::string& popups) {
    std::string account = signedOut(popups);
    const std::string no = R"("signedIn": false)";
    return account.replace(account.find(no), no.size(), R"("signedIn": true)");
}

using APopup = TheClientLibrary;

TEST_F(APopup, EndsCompletedByItselfOnAThreadOfTheLibrary) {
    useAccount(signedOut(""));
    Callbacks callbacks;
    EXPECT_EQ(callbacks.show("login"), 0);
    EXPECT_EQ(callbacks.show("create", ""), 0);
    EXPECT_EQ(callbacks.showTerms("terms", "terms-1"), 0);
    EXPECT_THAT(callbacks.waitFor(3),
                ElementsAre("login: 0 state 0", "create: 0 state 0", "terms: 0 state 0"));
    EXPECT_THAT(callbacks.threads(), ElementsAre("sso-api", "sso-api", "sso-api"));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(APopup, EndsInTheStateAndResultThatTheAccountGivesIt) {
    useAccount(signedOut(R"("login": {"state": "closed", "delayMs": 0},
                            "createAccount": {"state": "failed", "delayMs": 0},
                            "terms": {"state": "completed", "delayMs": 0})"));
    EXPECT_EQ(show("page"), "0 state 1");
    EXPECT_EQ(show(""), "-7 state 2");
    EXPECT_EQ(showTerms("terms-1"), "0 state 0");
    useAccount(signedOut(R"("login": {"state": "failed", "delayMs": 0},
                            "createAccount": {"state": "completed", "delayMs": 0},
                            "terms": {"state": "closed", "delayMs": 0})"));
    EXPECT_EQ(show("page"), "-7 state 2");
    EXPECT_EQ(show(""), "0 state 0");
    EXPECT_EQ(showTerms("terms-1"), "0 state 1");
}

TEST_F(APopup, StaysAsLongAsTheAccountLetsIt) {
    struct Row {
        const char* quick;
        const char* event;
    };
    for (const Row& row : {Row{"login", "login: 0 state 0"},
                           {"createAccount", "createAccount: 0 state 0"},
                           {"terms", "terms: 0 state 0"}}) {
        SCOPED_TRACE(row.quick);
        std::string popups;
        for (const std::string popup : {"login", "createAccount", "terms"}) {
            popups += (popups.empty() ? "\"" : ", \"") + popup + R"(": {"delayMs": )" +
                      (popup == row.quick ? "0" : kNever) + "}";
        }
        useAccount(signedOut(popups));
        Callbacks callbacks;
        callbacks.show("login");
        callbacks.show("createAccount", "");
        callbacks.showTerms("terms", "terms-1");
        EXPECT_THAT(callbacks.waitFor(1), ElementsAre(row.event));
        EXPECT_EQ(sso_api_control_outstanding(), 2);
        sso_give_proxy();
    }
}

TEST_F(APopup, EndsByTheAccountThatWasThereAtItsStart) {
    useAccount(R"({"popups": {"login": {"state": "closed", "delayMs": 0}}})");
    std::atomic<bool> replaced = false;
    Callbacks callbacks;
    callbacks.inside = [&](const std::string& operation) {
        while (operation == "first" && !replaced) std::this_thread::yield();
    };
    callbacks.show("first");
    callbacks.show("second");  // waits behind the first one's callback
    useAccount(R"({"popups": {"login": {"state": "failed", "delayMs": 600000}}})");
    replaced = true;
    EXPECT_THAT(callbacks.waitFor(2), ElementsAre("first: 0 state 1", "second: 0 state 1"));
}

using ALoginPopup = TheClientLibrary;

TEST_F(ALoginPopup, SignsInWhenItIsCompleted) {
    useAccount(signedOut(R"("login": {"delayMs": 0})"));
    EXPECT_EQ(loginState(), "0 0");
    Callbacks callbacks;
    std::string inside;
    callbacks.inside = [&](const std::string&) { inside = loginState(); };
    callbacks.show("login");
    callbacks.waitFor(1);
    EXPECT_EQ(inside, "0 1");
    EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
}

TEST_F(ALoginPopup, SignsInWhenItsPageForANewAccountIsCompleted) {
    useAccount(signedOut(R"("createAccount": {"delayMs": 0})"));
    EXPECT_EQ(show(""), "0 state 0");
    EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
}

TEST_F(ALoginPopup, SignsNobodyInWhenItIsNotCompleted) {
    for (const std::string state : {"closed", "failed"}) {
        SCOPED_TRACE(state);
        const std::string end = R"({"delayMs": 0, "state": ")" + state + "\"}";
        useAccount(signedOut("\"login\": " + end + ", \"createAccount\": " + end));
        show("page");
        show("");
        EXPECT_EQ(loginState(), "0 0");
    }
}

TEST_F(ALoginPopup, SignsNobodyInWhileItIsShown) {
    useAccount(signedOut(R"("login": {"delayMs": 600000})"));
    Callbacks callbacks;
    callbacks.show("login");
    EXPECT_EQ(loginState(), "0 0");
}

TEST_F(ALoginPopup, CannotBeShownWhenThereIsNoAccount) {
    useAccount(R"({"popups": {"login": {"delayMs": 0}, "createAccount": {"delayMs": 0}}})");
    EXPECT_EQ(show("page"), "-7 state 2");
    EXPECT_EQ(show(""), "-7 state 2");
    EXPECT_EQ(loginState(), "0 0");
    EXPECT_EQ(guid(), "-2 untouched");
}

TEST_F(ALoginPopup, SignsNobodyInWhenItIsTakenAway) {
    useAccount(signedOut(R"("login": {"delayMs": 600000})"));
    Callbacks callbacks;
    callbacks.show("login");
    sso_give_proxy();
    EXPECT_THAT(callbacks.now(), ElementsAre("login: -3 state 3"));
    EXPECT_EQ(loginState(), "0 0");
}

TEST_F(ALoginPopup, SignsInToTheAccountThatIsThereAtItsEnd) {
    useAccount(R"({"popups": {"login": {"delayMs": 0}}})");
    std::atomic<bool> replaced = false;
    Callbacks callbacks;
    callbacks.inside = [&](const std::string& operation) {
        while (operation == "first" && !replaced) std::this_thread::yield();
    };
    callbacks.show("first");
    callbacks.show("second");
    useAccount(signedOut(""));
    replaced = true;
    callbacks.waitFor(2);
    EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
}

TEST_F(ALoginPopup, LeavesAnAccountSignedIn) {
    useAccount(signedIn(R"("login": {"delayMs": 0})"));
    show("page");
    EXPECT_EQ(loginState(), "0 1");
}

using ATermsPopup = TheClientLibrary;

TEST_F(ATermsPopup, AgreesToItsDocumentWhenItIsCompleted) {
    useAccount(signedIn(R"("terms": {"delayMs": 0})"));
    EXPECT_EQ(termState("open-1"), "0 0");
    EXPECT_EQ(showTerms("agreed-1"), "0 state 0");
    EXPECT_EQ(termState("open-1"), "0 0");
    EXPECT_EQ(showTerms("open-1"), "0 state 0");
    EXPECT_EQ(termState("open-1"), "0 1");
    EXPECT_EQ(termState("agreed-1"), "0 1");
}

TEST_F(ATermsPopup, AgreesToNothingWhenItIsNotCompleted) {
    for (const std::string state : {"closed", "failed"}) {
        SCOPED_TRACE(state);
        useAccount(signedIn(R"("terms": {"delayMs": 0, "state": ")" + state + "\"}"));
        showTerms("open-1");
        EXPECT_EQ(termState("open-1"), "0 0");
    }
}

TEST_F(ATermsPopup, AgreesToNothingWhenNobodyIsSignedIn) {
    useAccount(signedOut(R"("login": {"delayMs": 0}, "terms": {"delayMs": 0})"));
    EXPECT_EQ(showTerms("open-1"), "0 state 0");
    show("page");
    EXPECT_EQ(termState("open-1"), "0 0");
}

TEST_F(ATermsPopup, LeavesAnUnknownDocumentUnknown) {
    useAccount(signedIn(R"("terms": {"delayMs": 0})"));
    EXPECT_EQ(showTerms("other-1"), "0 state 0");
    EXPECT_EQ(termState("other-1"), "-5 77");
}

}  // namespace
