// What tests can order the library to do, and see of it.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kControlAccount = R"({
    "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"},
    "terms": {"agreed-1": "agreed"}})";

using AnObserver = TheClientLibrary;

/// A call as one text; of the pointers whether they are there, and whether it is `userData`.
std::string toText(const SsoApiCall& call, const void* userData) {
    std::string text = call.function;
    for (const char* argument : call.texts) {
        text += argument != nullptr ? std::string(" ") + argument : " -";
    }
    return text + " " + std::to_string(call.flags) + (call.window != nullptr ? " window" : " -") +
           (call.callback != nullptr ? " callback" : " -") +
           (call.user_data == nullptr    ? " -"
            : call.user_data == userData ? " data"
                                         : " other");
}

TEST_F(AnObserver, SeesEveryCallWithItsArguments) {
    std::vector<std::string> seen;
    sso_api_control_set_observer(
        [](const SsoApiCall* call, void* user) {
            static_cast<std::vector<std::string>*>(user)->push_back(toText(*call, user));
        },
        &seen);
    const auto popup = [](void*, int, sso_popup_state_e) { return 0; };
    const auto text = [](void*, int, char*) { return 0; };
    const auto result = [](void*, int) { return 0; };
    int window = 0;
    int state = 0;
    sso_login_info info;
    char* out = nullptr;
    sso_api_control_set_held(1);
    sso_show(&window, 3, "page", popup, &seen);
    sso_show_term_page("terms", 4, "caller", popup, &seen);
    sso_request_access_token("id", "secret", text, &seen);
    sso_get_cp_account_mapping_list("app", "cp", text, &seen);
    sso_add_cp_account_mapping_info("app", "cp", "uid", result, &seen);
    sso_remove_cp_account_mapping_info("app", "cp", "uid", result, &seen);
    sso_get_login_state(&state);
    sso_get_term_state("terms", &state);
    sso_get_login_info(&info);
    sso_get_guid(&out);
    sso_get_auth_token(&out);
    sso_give_proxy();
    EXPECT_THAT(
        seen,
        ElementsAre("sso_show page - - 3 window callback data",
                    "sso_show_term_page terms caller - 4 - callback data",
                    "sso_request_access_token id secret - 0 - callback data",
                    "sso_get_cp_account_mapping_list app cp - 0 - callback data",
                    "sso_add_cp_account_mapping_info app cp uid 0 - callback data",
                    "sso_remove_cp_account_mapping_info app cp uid 0 - callback data",
                    "sso_get_login_state - - - 0 - - -", "sso_get_term_state terms - - 0 - - -",
                    "sso_get_login_info - - - 0 - - -", "sso_get_guid - - - 0 - - -",
                    "sso_get_auth_token - - - 0 - - -", "sso_give_proxy - - - 0 - - -"));
    sso_api_control_set_observer(nullptr, nullptr);
    sso_give_proxy();
    EXPECT_EQ(seen.size(), 12U);
}

TEST_F(AnObserver, SeesTheCallbackThatIsCalled) {
    static SsoApiCall seen;
    sso_api_control_set_observer([](const SsoApiCall* call, void*) { seen = *call; }, nullptr);
    sso_api_control_set_held(1);
    const auto popup = +[](void*, int, sso_popup_state_e) { return 0; };
    sso_show(nullptr, 0, "", popup, nullptr);
    EXPECT_EQ(seen.callback, reinterpret_cast<void (*)()>(popup));
    const auto text = +[](void*, int, char*) { return 0; };
    sso_request_access_token("", "", text, nullptr);
    EXPECT_EQ(seen.callback, reinterpret_cast<void (*)()>(text));
    const auto result = +[](void*, int) { return 0; };
    sso_add_cp_account_mapping_info("", "", "", result, nullptr);
    EXPECT_EQ(seen.callback, reinterpret_cast<void (*)()>(result));
}

TEST_F(AnObserver, SeesCallsThatAreRefused) {
    int count = 0;
    sso_api_control_set_observer([](const SsoApiCall*, void* user) { ++*static_cast<int*>(user); },
                                 &count);
    sso_show(nullptr, 0, nullptr, nullptr, nullptr);
    sso_get_guid(nullptr);
    sso_get_term_state(nullptr, nullptr);
    sso_api_control_set_start_result(-1);
    Callbacks callbacks;
    callbacks.startAll();
    EXPECT_EQ(count, 9);
}

TEST_F(AnObserver, SeesACallBeforeItHasAnyEffectOnTheCallingThread) {
    sso_api_control_set_held(1);
    static std::vector<std::string> seen;
    seen.clear();
    sso_api_control_set_observer(
        [](const SsoApiCall* call, void*) {
            seen.push_back(call->function + std::string(" ") +
                           std::to_string(sso_api_control_outstanding()) + " " + threadName());
        },
        nullptr);
    Callbacks callbacks;
    callbacks.show("login");
    sso_give_proxy();
    EXPECT_THAT(seen,
                ElementsAre("sso_show 0 " + threadName(), "sso_give_proxy 1 " + threadName()));
}

using ATextObserver = TheClientLibrary;

TEST_F(ATextObserver, SeesTheTextsThatCallersHaveToRelease) {
    useAccount(kControlAccount);
    struct Seen {
        std::string function;
        const char* address;
        std::string text;
    };
    std::vector<Seen> seen;
    sso_api_control_set_text_observer(
        [](const char* function, const char* text, void* user) {
            static_cast<std::vector<Seen>*>(user)->push_back({function, text, text});
        },
        &seen);
    char* guid = nullptr;
    char* token = nullptr;
    ASSERT_EQ(sso_get_guid(&guid), 0);
    ASSERT_EQ(sso_get_auth_token(&token), 0);
    EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
    EXPECT_EQ(sso_get_guid(nullptr), -4);
    support::resetLibrary();
    EXPECT_EQ(sso_get_guid(&guid), -2);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].function, "sso_get_guid");
    EXPECT_EQ(seen[0].address, guid);
    EXPECT_EQ(seen[0].text, "guid-1");
    EXPECT_EQ(seen[1].function, "sso_get_auth_token");
    EXPECT_EQ(seen[1].address, token);
    EXPECT_EQ(seen[1].text, "auth-1");
    std::free(guid);
    std::free(token);
    sso_api_control_set_text_observer(nullptr, nullptr);
    useAccount(kControlAccount);
    EXPECT_EQ(TheClientLibrary::guid(), "0 guid-1");
    EXPECT_EQ(seen.size(), 2U);
}

/// An observer that is slow, for a thread that takes it away meanwhile.
struct SlowObserver {
    std::atomic<bool> isRunning = false;
    std::atomic<bool> isTakenAway = false;
    std::atomic<bool> hasEnded = false;

    void run() {
        isRunning = true;
        while (!isTakenAway) std::this_thread::yield();
        // Only lengthens the time in which a removal that does not wait is seen.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        hasEnded = true;
    }

    /// @param call    is observed.
    /// @param remove  takes this away.
    /// @return whether it had ended when it was taken away.
    template <typename Call, typename Remove>
    bool hasEndedOnceRemoved(Call call, Remove remove) {
        std::thread caller(call);
        while (!isRunning) std::this_thread::yield();
        isTakenAway = true;
        remove();
        const bool ended = hasEnded;
        caller.join();
        return ended;
    }
};

TEST_F(AnObserver, HasEndedOnEveryThreadOnceItIsTakenAway) {
    for (const SsoApiObserver next :
         {SsoApiObserver{nullptr}, SsoApiObserver{[](const SsoApiCall*, void*) {}}}) {
        SlowObserver slow;
        sso_api_control_set_observer(
            [](const SsoApiCall*, void* user) { static_cast<SlowObserver*>(user)->run(); }, &slow);
        EXPECT_TRUE(slow.hasEndedOnceRemoved([] { sso_get_guid(nullptr); },
                                             [=] { sso_api_control_set_observer(next, nullptr); }));
    }
}

TEST_F(ATextObserver, HasEndedOnEveryThreadOnceItIsTakenAway) {
    useAccount(kControlAccount);
    SlowObserver slow;
    sso_api_control_set_text_observer(
        [](const char*, const char*, void* user) { static_cast<SlowObserver*>(user)->run(); },
        &slow);
    EXPECT_TRUE(
        slow.hasEndedOnceRemoved([this] { EXPECT_EQ(TheClientLibrary::guid(), "0 guid-1"); },
                                 [] { sso_api_control_set_text_observer(nullptr, nullptr); }));
}

TEST_F(AnObserver, HoldsUpNoOtherThread) {
    static std::atomic<int> running;
    running = 0;
    sso_api_control_set_observer(
        [](const SsoApiCall*, void*) {
            ++running;
            while (running < 2) std::this_thread::yield();
        },
        nullptr);
    std::thread other([] { sso_get_guid(nullptr); });
    sso_get_guid(nullptr);
    other.join();
    EXPECT_EQ(running, 2);
}

using AStartResult = TheClientLibrary;

TEST_F(AStartResult, OfNotStartedStartsNothing) {
    sso_api_control_set_start_result(-1);
    Callbacks callbacks;
    EXPECT_EQ(callbacks.show("show"), -1);
    EXPECT_EQ(callbacks.showTerms("terms", "t"), -1);
    EXPECT_EQ(callbacks.requestToken("token", "c", "s"), -1);
    EXPECT_EQ(callbacks.listMappings("list", "a", "p"), -1);
    EXPECT_EQ(callbacks.addMapping("add", "a", "p", "u"), -1);
    EXPECT_EQ(callbacks.removeMapping("remove", "a", "p", "u"), -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    sso_give_proxy();
    EXPECT_THAT(callbacks.now(), IsEmpty());
}

TEST_F(AStartResult, OfAnyOtherValueStarts) {
    for (const int result : {7, -2, 1, -2147483647 - 1, 2147483647}) {
        SCOPED_TRACE(result);
        sso_api_control_set_start_result(result);
        Callbacks callbacks;
        EXPECT_EQ(callbacks.show("show"), result);
        EXPECT_EQ(callbacks.showTerms("terms", "t"), result);
        EXPECT_EQ(callbacks.requestToken("token", "c", "s"), result);
        EXPECT_EQ(callbacks.listMappings("list", "a", "p"), result);
        EXPECT_EQ(callbacks.addMapping("add", "a", "p", "u"), result);
        EXPECT_EQ(callbacks.removeMapping("remove", "a", "p", "u"), result);
        callbacks.waitFor(6);
    }
}

TEST_F(AStartResult, StartsNothingThatAnArgumentOrTheAccountForbids) {
    sso_api_control_set_start_result(7);
    useAccount(R"({"unavailable": ["sso_show"]})");
    Callbacks callbacks;
    EXPECT_EQ(callbacks.show("show"), -1);
    EXPECT_EQ(callbacks.showTerms("terms", nullptr), -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

using AnOperation = TheClientLibrary;

TEST_F(AnOperation, RefusesNullPointers) {
    const auto popup = [](void*, int, sso_popup_state_e) { return 0; };
    const auto text = [](void*, int, char*) { return 0; };
    const auto result = [](void*, int) { return 0; };
    sso_api_control_set_held(1);
    EXPECT_EQ(sso_show(nullptr, 0, nullptr, popup, nullptr), -1);
    EXPECT_EQ(sso_show(nullptr, 0, "page", nullptr, nullptr), -1);
    EXPECT_EQ(sso_show_term_page(nullptr, 0, "caller", popup, nullptr), -1);
    EXPECT_EQ(sso_show_term_page("terms", 0, nullptr, popup, nullptr), -1);
    EXPECT_EQ(sso_show_term_page("terms", 0, "caller", nullptr, nullptr), -1);
    EXPECT_EQ(sso_request_access_token(nullptr, "secret", text, nullptr), -1);
    EXPECT_EQ(sso_request_access_token("id", nullptr, text, nullptr), -1);
    EXPECT_EQ(sso_request_access_token("id", "secret", nullptr, nullptr), -1);
    EXPECT_EQ(sso_get_cp_account_mapping_list(nullptr, "cp", text, nullptr), -1);
    EXPECT_EQ(sso_get_cp_account_mapping_list("app", nullptr, text, nullptr), -1);
    EXPECT_EQ(sso_get_cp_account_mapping_list("app", "cp", nullptr, nullptr), -1);
    EXPECT_EQ(sso_add_cp_account_mapping_info(nullptr, "cp", "uid", result, nullptr), -1);
    EXPECT_EQ(sso_add_cp_account_mapping_info("app", nullptr, "uid", result, nullptr), -1);
    EXPECT_EQ(sso_add_cp_account_mapping_info("app", "cp", nullptr, result, nullptr), -1);
    EXPECT_EQ(sso_add_cp_account_mapping_info("app", "cp", "uid", nullptr, nullptr), -1);
    EXPECT_EQ(sso_remove_cp_account_mapping_info(nullptr, "cp", "uid", result, nullptr), -1);
    EXPECT_EQ(sso_remove_cp_account_mapping_info("app", nullptr, "uid", result, nullptr), -1);
    EXPECT_EQ(sso_remove_cp_account_mapping_info("app", "cp", nullptr, result, nullptr), -1);
    EXPECT_EQ(sso_remove_cp_account_mapping_info("app", "cp", "uid", nullptr, nullptr), -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    // The twin that is complete, with null where it may be.
    EXPECT_EQ(sso_show(nullptr, 0, "", popup, nullptr), 0);
    EXPECT_EQ(sso_api_control_outstanding(), 1);
}

using AHeldOperation = TheClientLibrary;

TEST_F(AHeldOperation, WaitsUntilItIsFinished) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.startAll();
    EXPECT_EQ(sso_api_control_outstanding(), 6);
    sso_api_control_set_held(0);
    EXPECT_EQ(token("id", "secret"), "-2 null");  // the library's thread is at work
    EXPECT_EQ(sso_api_control_outstanding(), 6);
    EXPECT_THAT(callbacks.now(), IsEmpty());
    int returned = 0;
    // From the middle, from the end, then the oldest each.
    EXPECT_EQ(support::finish(2, {11, 91, "token-1"}, &returned), 0);
    EXPECT_EQ(returned, 2);
    EXPECT_EQ(support::finish(4, {16, 92, "ignored"}, &returned), 0);
    EXPECT_EQ(returned, 3);
    EXPECT_EQ(support::finish(0, {12, 93, "ignored"}, &returned), 0);
    EXPECT_EQ(returned, 1);
    EXPECT_EQ(support::finish(0, {13, -94, nullptr}, &returned), 0);
    EXPECT_EQ(returned, 1);
    EXPECT_EQ(support::finish(0, {14, 0, nullptr}, &returned), 0);
    EXPECT_EQ(returned, 2);
    EXPECT_EQ(support::finish(0, {15, 0, nullptr}), 0);
    EXPECT_THAT(
        callbacks.now(),
        ElementsAre("request_access_token: 11 token-1", "remove_cp_account_mapping_info: 16",
                    "show: 12 state 93", "show_term_page: 13 state -94",
                    "get_cp_account_mapping_list: 14 null", "add_cp_account_mapping_info: 15"));
    EXPECT_THAT(callbacks.threads(), ::testing::Each(threadName()));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(AHeldOperation, IsNotFinishedWhenThereIsNone) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.show("login");
    const SsoApiEnd end{0, 0, nullptr};
    int returned = 77;
    EXPECT_EQ(sso_api_control_finish(1, &end, &returned), -4);
    EXPECT_EQ(sso_api_control_finish(-1, &end, &returned), -4);
    EXPECT_EQ(sso_api_control_finish(0, nullptr, &returned), -4);
    EXPECT_EQ(returned, 77);
    EXPECT_THAT(callbacks.now(), IsEmpty());
    EXPECT_EQ(sso_api_control_finish(0, &end, &returned), 0);
    EXPECT_EQ(sso_api_control_finish(0, &end, &returned), -4);
    EXPECT_THAT(callbacks.now(), ElementsAre("login: 0 state 0"));
}

TEST_F(AHeldOperation, GetsATextOfItsOwn) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.requestToken("token", "c", "s");
    const std::string text = "token-1";
    EXPECT_EQ(support::finish(0, {0, 0, text.c_str()}), 0);  // the callback writes over it
    EXPECT_EQ(text, "token-1");
}

TEST_F(AHeldOperation, ChangesNothingOfTheAccountWhenItIsFinished) {
    useAccount(R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"},
                   "signedIn": false})");
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.show("login");
    EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0);
    EXPECT_EQ(loginState(), "0 0");
}

TEST_F(AnOperation, CanBeFinishedBeforeItEndsByItself) {
    useAccount(R"({"popups": {"login": {"delayMs": 600000}}})");
    Callbacks callbacks;
    callbacks.show("first");
    callbacks.show("second");
    EXPECT_EQ(support::finish(0, {5, 6, nullptr}), 0);
    EXPECT_THAT(callbacks.now(), ElementsAre("first: 5 state 6"));
    EXPECT_EQ(sso_api_control_outstanding(), 1);
}

using AnOrderedAnswer = TheClientLibrary;

TEST_F(AnOrderedAnswer, TakesThePlaceOfTheAccounts) {
    useAccount(kControlAccount);
    const int state = 42;
    sso_login_info info{};
    std::strcpy(info.login_id, "login-2");
    std::strcpy(info.uid, "uid-2");
    for (const int result : {0, -2, 9}) {
        const SsoApiAnswer answer{result, &state, &info, "text-2"};
        const std::string begin = std::to_string(result) + " ";
        EXPECT_EQ(loginState(), "0 1");
        EXPECT_EQ(sso_api_control_set_answer("sso_get_login_state", &answer), 0);
        EXPECT_EQ(loginState(), begin + "42");
        EXPECT_EQ(termState("agreed-1"), "0 1");
        EXPECT_EQ(sso_api_control_set_answer("sso_get_term_state", &answer), 0);
        EXPECT_EQ(termState("agreed-1"), begin + "42");
        EXPECT_EQ(termState("any"), begin + "42");
        EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
        EXPECT_EQ(sso_api_control_set_answer("sso_get_login_info", &answer), 0);
        EXPECT_EQ(loginInfo(), begin + "login-2 uid-2");
        EXPECT_EQ(guid(), "0 guid-1");
        EXPECT_EQ(sso_api_control_set_answer("sso_get_guid", &answer), 0);
        EXPECT_EQ(guid(), begin + "text-2");
        EXPECT_EQ(authToken(), "0 auth-1");
        EXPECT_EQ(sso_api_control_set_answer("sso_get_auth_token", &answer), 0);
        EXPECT_EQ(authToken(), begin + "text-2");
        for (const char* query : {"sso_get_login_state", "sso_get_term_state", "sso_get_login_info",
                                  "sso_get_guid", "sso_get_auth_token"}) {
            EXPECT_EQ(sso_api_control_set_answer(query, nullptr), 0);
        }
    }
}

TEST_F(AnOrderedAnswer, WithoutAValueLeavesTheCallersAlone) {
    useAccount(kControlAccount);
    const SsoApiAnswer answer{0, nullptr, nullptr, nullptr};
    for (const char* query : {"sso_get_login_state", "sso_get_term_state", "sso_get_login_info",
                              "sso_get_guid", "sso_get_auth_token"}) {
        ASSERT_EQ(sso_api_control_set_answer(query, &answer), 0);
    }
    EXPECT_EQ(loginState(), "0 77");
    EXPECT_EQ(termState("agreed-1"), "0 77");
    EXPECT_EQ(loginInfo(), "0 untouched untouched");
    EXPECT_EQ(guid(), "0 untouched");
    EXPECT_EQ(authToken(), "0 untouched");
}

TEST_F(AnOrderedAnswer, IsACopy) {
    int state = 42;
    sso_login_info info{};
    std::strcpy(info.uid, "uid-2");
    std::string text = "text-2";
    SsoApiAnswer answer{1, &state, &info, text.c_str()};
    for (const char* query : {"sso_get_login_state", "sso_get_login_info", "sso_get_guid"}) {
        ASSERT_EQ(sso_api_control_set_answer(query, &answer), 0);
    }
    answer = {};
    state = 0;
    info = {};
    text.assign(6, '#');
    EXPECT_EQ(loginState(), "1 42");
    EXPECT_EQ(loginInfo(), "1  uid-2");
    EXPECT_EQ(guid(), "1 text-2");
    EXPECT_EQ(guid(), "1 text-2");
}

TEST_F(AnOrderedAnswer, StaysWhenTheAccountIsReplaced) {
    const SsoApiAnswer answer{0, nullptr, nullptr, "text-2"};
    ASSERT_EQ(sso_api_control_set_answer("sso_get_guid", &answer), 0);
    useAccount(R"({"unavailable": ["sso_get_guid"]})");
    EXPECT_EQ(guid(), "0 text-2");
}

TEST_F(AnOrderedAnswer, DoesNotMakeUpForANullPointer) {
    const int state = 42;
    const SsoApiAnswer answer{0, &state, nullptr, "text-2"};
    ASSERT_EQ(sso_api_control_set_answer("sso_get_guid", &answer), 0);
    ASSERT_EQ(sso_api_control_set_answer("sso_get_login_state", &answer), 0);
    EXPECT_EQ(sso_get_guid(nullptr), -4);
    EXPECT_EQ(sso_get_login_state(nullptr), -4);
}

TEST_F(AnOrderedAnswer, IsForQueriesOnly) {
    const SsoApiAnswer answer{};
    EXPECT_EQ(sso_api_control_set_answer("sso_show", &answer), -4);
    EXPECT_EQ(sso_api_control_set_answer("sso_get_cp_account_mapping_list", nullptr), -4);
    EXPECT_EQ(sso_api_control_set_answer("", &answer), -4);
    EXPECT_EQ(sso_api_control_set_answer(nullptr, &answer), -4);
}

using AReplacedAccount = TheClientLibrary;

TEST_F(AReplacedAccount, IsThereAtOnce) {
    EXPECT_EQ(guid(), "-2 untouched");
    useAccount(kControlAccount);
    EXPECT_EQ(guid(), "0 guid-1");
    EXPECT_EQ(add("a", "p", "u"), "0");
    useAccount(kControlAccount);
    EXPECT_EQ(list("a", "p"), "0 []");  // as it is written, not as it has become
    EXPECT_EQ(sso_api_control_set_account(nullptr), 0);
    EXPECT_EQ(guid(), "-2 untouched");
}

TEST_F(AReplacedAccount, IsTheOldOneWhenTheNewOneIsBad) {
    useAccount(kControlAccount);
    EXPECT_EQ(add("a", "p", "u"), "0");
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(sso_api_control_set_account("{\n\"signedIn\": 1}"), -4);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "sso_api: account:2: signedIn: must be true or false\n");
    EXPECT_EQ(guid(), "0 guid-1");
    EXPECT_EQ(list("a", "p"), R"(0 [{"appID":"a","cpName":"p","cpUID":"u"}])");
}

}  // namespace
