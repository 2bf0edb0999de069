// The library in processes of their own: SSO_ACCOUNT_FILE, and what a start costs.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "forking.h"
#include "module_path.h"
#include "process.h"
#include "sanitizer.h"
#include "temporary_folder.h"

namespace {

constexpr const char* kProcessAccount = R"({
    "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"},
    "popups": {"login": {"state": "closed", "delayMs": 0}},
    "clients": [{"id": "client", "secret": "secret", "token": "token-1"}]})";

const std::string kNoAccount =
    "sso_api: there is no account, so nobody can sign in; --account FILE of sso-host and "
    "sso-browser gives one, such as account/examples/signed-out.json\n";

class AProcess : public ::testing::Test {
  protected:
    /// What the probe tells of its steps, after which it must have left well.
    ///
    /// @param variable  of the environment, "NAME=value"; "" for none.
    std::string outputOf(const std::string& variable, const std::vector<std::string>& steps) {
        std::vector<std::string> command = {support::builtPath("bin/sso-account-probe")};
        command.insert(command.end(), steps.begin(), steps.end());
        support::ProcessOptions options;
        if (std::any_of(steps.begin(), steps.end(),
                        [](const std::string& step) { return step.rfind("fork", 0) == 0; })) {
            options.environment = support::forksMayRunOn();
        }
        if (!variable.empty()) options.environment.push_back(variable);
        const support::ProcessResult result = support::runProcess(command, options);
        EXPECT_EQ(result.exitCode, 0);
        m_errors = result.errors;
        return result.output;
    }

    std::string account(const std::string& content = kProcessAccount) {
        return m_folder.write("account.json", content);
    }

    const support::TemporaryFolder m_folder;
    std::string m_errors;
};

TEST_F(AProcess, WithoutAnAccountFileHasNobodySignedIn) {
    for (const char* variable : {"", "SSO_ACCOUNT_FILE="}) {
        SCOPED_TRACE(variable);
        EXPECT_EQ(outputOf(variable, {"state", "guid", "token", "popup", "state"}),
                  "state 0 0\nguid -2 null\ntext -2 null\npopup -7 2\nstate 0 0\n");
        EXPECT_EQ(m_errors, kNoAccount);
    }
}

TEST_F(AProcess, HasTheAccountOfItsFile) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"state", "guid", "token", "popup"}),
              "state 0 1\nguid 0 guid-1\ntext 0 token-1\npopup 0 1\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AProcess, ReadsItsFileAtTheFirstUseWhateverThatIs) {
    for (const char* first : {"state", "guid", "token", "popup"}) {
        SCOPED_TRACE(first);
        const std::string path = account();
        const std::string output =
            outputOf("", {"variable=" + path, first, "spoil=" + path, "guid"});
        EXPECT_EQ(output.substr(output.find('\n') + 1), "guid 0 guid-1\n");
        EXPECT_EQ(m_errors, "");
    }
}

TEST_F(AProcess, ReadsItsFileNotBefore) {
    const std::string path = account();
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + path, {"give", "spoil=" + path, "guid"}),
              "guid -2 null\n");
    EXPECT_EQ(m_errors,
              "sso_api: " + path + ":1:1: is not JSON: its only words are true, false and null\n");
}

TEST_F(AProcess, ReadsItsFileOnce) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + m_folder.path("none"),
                       {"guid", "variable=" + account(), "state", "token", "popup"}),
              "guid -2 null\nstate 0 0\ntext -2 null\npopup -7 2\n");
    EXPECT_EQ(m_errors, "sso_api: " + m_folder.path("none") + ": no such file\n" + kNoAccount);
}

TEST_F(AProcess, WithABadFileSaysSoOnceAndHasNobodySignedIn) {
    const std::string path = account(R"({
    "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"},
    "popups": {"login": {"state": "closed", "delayMs": 0}},
    "terms": {"terms-1": "maybe"}})");
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + path, {"state", "guid", "token", "popup"}),
              "state 0 0\nguid -2 null\ntext -2 null\npopup -7 2\n");
    EXPECT_EQ(m_errors, "sso_api: " + path +
                            ":4: terms.terms-1: must be \"agreed\" or \"notAgreed\"\n" +
                            kNoAccount);
}

TEST_F(AProcess, ThatIsGivenAnAccountNeedsNoFile) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + m_folder.path("none"),
                       {std::string("account=") + kProcessAccount, "guid"}),
              "account 0\nguid 0 guid-1\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AProcess, GetsAThreadWithItsFirstOperation) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(),
                       {"guid", "give", "threads", "token", "threads", "popup", "threads"}),
              "guid 0 guid-1\nthreads 0\ntext 0 token-1\nthreads 1\npopup 0 1\nthreads 1\n");
}

class AForkingProcess : public AProcess {
  protected:
    void SetUp() override {
        if (SSO_THREAD_SANITIZED != 0) {
            GTEST_SKIP() << "the thread sanitizer loses its way in a fork that starts threads";
        }
    }
};

TEST_F(AForkingProcess, MayForkBeforeItsFirstOperation) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"guid", "give", "fork", "token", "popup"}),
              "guid 0 guid-1\ntext 0 token-1\npopup 0 1\n");
}

TEST_F(AForkingProcess, MayForkAfterItsFirstOperation) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"token", "fork", "threads", "outstanding",
                                                         "token", "threads", "give", "popup"}),
              "text 0 token-1\nthreads 0\noutstanding 0\ntext 0 token-1\nthreads 1\npopup 0 1\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AForkingProcess, MayForkWhileOperationsAreOutstandingThatAreTheParents) {
    const std::string never = R"({"popups": {"login": {"delayMs": 600000}}})";
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(never),
                       {"start", "held", "fork", "outstanding", "token", "give"}),
              "outstanding 0\ntext -2 null\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AForkingProcess, MayForkInsideACallback) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"fork-inside"}), "text 0 token-1\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AForkingProcess, MayForkWhileOtherThreadsAreBusy) {
    if (SSO_SANITIZED != 0) {
        GTEST_SKIP() << "a sanitizer's allocator may stay locked in a forked child";
    }
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"fork-busily", "token"}),
              "text 0 token-1\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AProcess, MayEndWhileOperationsAreOutstanding) {
    const std::string never = R"({"popups": {"login": {"delayMs": 600000}}})";
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(never), {"leave"}), "");
    EXPECT_EQ(m_errors, "");
}

TEST_F(AProcess, MayEndInsideACallback) {
    EXPECT_EQ(outputOf("SSO_ACCOUNT_FILE=" + account(), {"leave-inside"}), "leaving\n");
    EXPECT_EQ(m_errors, "");
}

}  // namespace
