// The library when memory runs out: nothing is thrown through C, nothing is half done.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "failing_allocation.h"
#include "fixture.h"

namespace {

// How many more times memory is given out; none is when it is 0. Negative: there is enough.
std::atomic<int> g_left = -1;

bool isThereNone() {
    int left = g_left;
    while (left > 0 && !g_left.compare_exchange_weak(left, left - 1)) {
    }
    return left == 0;
}

constexpr const char* kAccount = R"({
    "account": {"loginId": "login-1", "uid": "uid-1", "authToken": "a-long-token-that-is-allocated",
                "guid": "a-long-guid-that-is-allocated-too-because-it-is-long"},
    "clients": [{"id": "client-with-a-long-name", "secret": "secret-with-many-letters",
                 "token": "token-with-many-letters-too"}],
    "mappings": [{"appID": "application-with-a-long-name", "cpName": "partner-with-a-long-name",
                  "cpUID": "user-with-a-long-name"}],
    "terms": {"terms-with-a-long-name": "agreed"},
    "requestDelayMs": 0, "popups": {"login": {"delayMs": 0}}})";

constexpr const char* kApp = "application-with-a-long-name";
constexpr const char* kPartner = "partner-with-a-long-name";
constexpr const char* kUser = "user-with-a-long-name";

class WithoutMemory : public TheClientLibrary {
  protected:
    void SetUp() override {
        SSO_NEEDS_FAILING_ALLOCATION();
        support::failAllocationsWhen(isThereNone);
    }
    ~WithoutMemory() override { g_left = -1; }

    /// Calls `work` with no memory, then with enough for one piece, and so on until it succeeds.
    ///
    /// @param work      gives whether it has succeeded.
    /// @param unharmed  called after each failure.
    /// @return the number of failures.
    template <typename Work, typename Unharmed>
    int failuresOf(Work work, Unharmed unharmed) {
        for (int pieces = 0;; ++pieces) {
            g_left = pieces;
            const bool succeeded = work();
            g_left = -1;
            if (succeeded) return pieces;
            unharmed();
        }
    }
};

std::atomic<int> g_ended;

int popupEnded(void*, int, sso_popup_state_e) { return ++g_ended; }
int textCame(void*, int, char*) { return ++g_ended; }
int resultCame(void*, int) { return ++g_ended; }

const std::function<int()> kStarts[] = {
    [] { return sso_show(nullptr, 0, "page", popupEnded, nullptr); },
    [] { return sso_show_term_page("terms-with-a-long-name", 0, "caller", popupEnded, nullptr); },
    [] {
        return sso_request_access_token("client-with-a-long-name", "secret-with-many-letters",
                                        textCame, nullptr);
    },
    [] { return sso_get_cp_account_mapping_list(kApp, kPartner, textCame, nullptr); },
    [] { return sso_add_cp_account_mapping_info(kApp, kPartner, kUser, resultCame, nullptr); },
    [] { return sso_remove_cp_account_mapping_info(kApp, kPartner, kUser, resultCame, nullptr); },
};

TEST_F(WithoutMemory, NothingIsStarted) {
    useAccount(kAccount);
    sso_api_control_set_held(1);
    int outstanding = 0;
    for (const auto& start : kStarts) {
        const int failures = failuresOf(
            [&] {
                const int result = start();
                EXPECT_TRUE(result == 0 || result == -1) << result;
                return result == 0;
            },
            [&] { EXPECT_EQ(sso_api_control_outstanding(), outstanding); });
        EXPECT_GT(failures, 2);
        EXPECT_EQ(sso_api_control_outstanding(), ++outstanding);
    }
}

TEST_F(WithoutMemory, QueriesFailAndLeaveTheirCallersValue) {
    useAccount(kAccount);
    char untouched[] = "untouched";
    for (int (*query)(char**) : {&sso_get_guid, &sso_get_auth_token}) {
        char* text = untouched;
        const int failures = failuresOf(
            [&] {
                const int result = query(&text);
                EXPECT_TRUE(result == 0 || result == -7) << result;
                return result == 0;
            },
            [&] { EXPECT_EQ(text, untouched); });
        EXPECT_GT(failures, 0);
        std::free(text);
    }
    int state = 77;
    failuresOf(
        [&] {
            const int result = sso_get_term_state("terms-with-a-long-name", &state);
            EXPECT_TRUE(result == 0 || result == -7) << result;
            return result == 0;
        },
        [&] { EXPECT_EQ(state, 77); });
    EXPECT_EQ(state, 1);
    state = 77;
    failuresOf([&] { return sso_get_login_state(&state) == 0; }, [&] { EXPECT_EQ(state, 77); });
    sso_login_info info{};
    failuresOf([&] { return sso_get_login_info(&info) == 0; },
               [&] { EXPECT_EQ(info.uid[0], '\0'); });
}

TEST_F(WithoutMemory, TheProxyIsGivenBackAllTheSame) {
    sso_api_control_set_held(1);
    g_ended = 0;
    for (const auto& start : kStarts) {
        ASSERT_EQ(start(), 0);
    }
    g_left = 0;
    const int result = sso_give_proxy();
    g_left = -1;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(g_ended, 6);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

// Not so with a list: the JSON library needs memory to release an array, and ends the process.
TEST_F(WithoutMemory, AMappingThatCannotBeAddedEndsAsUnavailable) {
    useAccount(kAccount);
    static std::atomic<bool> isBusy;
    static std::atomic<bool> goOn;
    static std::atomic<int> told;
    const std::string before = list(kApp, "");
    const int failures = failuresOf(
        [&] {
            // The request is started with enough memory, and worked on with less.
            const int pieces = g_left.exchange(-1);
            isBusy = false;
            goOn = false;
            told = 77;
            const auto keepBusy = [](void*, int, sso_popup_state_e) {
                isBusy = true;
                while (!goOn) std::this_thread::yield();
                return 0;
            };
            EXPECT_EQ(sso_show(nullptr, 0, "page", keepBusy, nullptr), 0);
            while (!isBusy) std::this_thread::yield();
            const auto tell = [](void*, int result) { return told = result; };
            EXPECT_EQ(sso_add_cp_account_mapping_info(
                          kApp, kPartner, "another-user-with-a-long-name", tell, nullptr),
                      0);
            g_left = pieces;
            goOn = true;
            while (told == 77) std::this_thread::yield();
            g_left = -1;
            EXPECT_TRUE(told == 0 || told == -7) << told;
            return told == 0;
        },
        [&] { EXPECT_EQ(list(kApp, ""), before); });
    EXPECT_GT(failures, 0);
    EXPECT_NE(list(kApp, ""), before);
}

TEST_F(WithoutMemory, TheAccountStaysAsItIs) {
    std::string other = kAccount;
    for (std::size_t at = other.find("long"); at != std::string::npos; at = other.find("long")) {
        other.replace(at, 4, "new");
    }
    other.replace(other.find("uid-1"), 5, "uid-2");
    useAccount(kAccount);
    const std::string before = list(kApp, "");
    const int failures = failuresOf([&] { return sso_api_control_set_account(other.c_str()) == 0; },
                                    [&] {
                                        EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
                                        EXPECT_EQ(authToken(), "0 a-long-token-that-is-allocated");
                                        EXPECT_EQ(termState("terms-with-a-long-name"), "0 1");
                                        EXPECT_EQ(list(kApp, ""), before);
                                    });
    EXPECT_GT(failures, 10);
    EXPECT_EQ(loginInfo(), "0 login-1 uid-2");
}

}  // namespace
