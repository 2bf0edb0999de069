#include "sso_api.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sso_api_control.h"

namespace {

std::string threadName() {
    char name[16] = {};
    prctl(PR_GET_NAME, name);
    return name;
}

struct Ended {
    int operation;
    int result;
    int state;
    std::string thread;
};

/// Collects what callbacks are told. Each operation gets the address of a number as user data.
class Collector {
  public:
    explicit Collector(int count) : m_numbers(static_cast<size_t>(count)) {
        for (int i = 0; i < count; ++i) {
            m_numbers[static_cast<size_t>(i)] = {i, this};
        }
    }

    int show(int number) {
        return sso_show(nullptr, 0, "page", &Collector::ended,
                        &m_numbers.at(static_cast<size_t>(number)));
    }

    std::vector<Ended> waitFor(size_t count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_ended.size() >= count; });
        return m_ended;
    }

    std::vector<Ended> now() {
        const std::lock_guard lock(m_mutex);
        return m_ended;
    }

    /// Runs inside each callback, before it is counted.
    std::function<void()> m_inside = [] {};

  private:
    struct Number {
        int number = 0;
        Collector* collector = nullptr;
    };

    static int ended(void* userData, int result, sso_popup_state_e state) {
        const auto* number = static_cast<Number*>(userData);
        Collector& self = *number->collector;
        self.m_inside();
        const std::lock_guard lock(self.m_mutex);
        self.m_ended.push_back({number->number, result, state, threadName()});
        self.m_changed.notify_all();
        return 40 + number->number;
    }

    std::vector<Number> m_numbers;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Ended> m_ended;
};

class TheClientLibrary : public ::testing::Test {
  protected:
    ~TheClientLibrary() override {
        sso_api_control_set_observer(nullptr, nullptr);
        sso_api_control_set_start_result(0);
        sso_api_control_set_popup_end(200, 0);
        sso_give_proxy();
    }
};

TEST_F(TheClientLibrary, EndsAPopupByItselfOnAThreadOfItsOwn) {
    Collector collector(1);
    EXPECT_EQ(collector.show(0), 0);
    const auto ended = collector.waitFor(1);
    EXPECT_EQ(ended[0].result, 0);
    EXPECT_EQ(ended[0].state, 0);
    EXPECT_EQ(ended[0].thread, "sso-api");
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(TheClientLibrary, EndsAPopupInTheStateItIsTold) {
    sso_api_control_set_popup_end(0, 77);
    Collector collector(1);
    collector.show(0);
    EXPECT_EQ(collector.waitFor(1)[0].state, 77);
}

TEST_F(TheClientLibrary, EndsPopupsInTheOrderTheyAreDue) {
    Collector collector(3);
    sso_api_control_set_popup_end(60, 0);
    collector.show(0);
    sso_api_control_set_popup_end(20, 0);
    collector.show(1);
    collector.show(2);
    const auto ended = collector.waitFor(3);
    EXPECT_EQ(ended[0].operation, 1);
    EXPECT_EQ(ended[1].operation, 2);
    EXPECT_EQ(ended[2].operation, 0);
}

TEST_F(TheClientLibrary, KeepsAHeldPopupUntilItIsEnded) {
    sso_api_control_set_popup_end(-1, 0);
    Collector collector(2);
    collector.show(0);
    collector.show(1);
    EXPECT_EQ(sso_api_control_outstanding(), 2);
    int returned = 0;
    EXPECT_EQ(sso_api_control_finish(1, 5, 6, &returned), 0);
    EXPECT_EQ(returned, 41);
    const auto ended = collector.now();
    ASSERT_EQ(ended.size(), 1U);
    EXPECT_EQ(ended[0].operation, 1);
    EXPECT_EQ(ended[0].result, 5);
    EXPECT_EQ(ended[0].state, 6);
    EXPECT_EQ(ended[0].thread, threadName());
    EXPECT_EQ(sso_api_control_finish(1, 0, 0, nullptr), -4);
    EXPECT_EQ(sso_api_control_finish(-1, 0, 0, nullptr), -4);
    EXPECT_EQ(sso_api_control_finish(0, 0, 0, &returned), 0);
    EXPECT_EQ(returned, 40);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(TheClientLibrary, StartsNothingWhenItIsToldTo) {
    sso_api_control_set_start_result(-1);
    Collector collector(1);
    EXPECT_EQ(collector.show(0), -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_TRUE(collector.now().empty());
}

TEST_F(TheClientLibrary, StartsWithAnyOtherResult) {
    sso_api_control_set_popup_end(0, 0);
    Collector collector(2);
    sso_api_control_set_start_result(7);
    EXPECT_EQ(collector.show(0), 7);
    sso_api_control_set_start_result(-2);
    EXPECT_EQ(collector.show(1), -2);
    EXPECT_EQ(collector.waitFor(2).size(), 2U);
}

TEST_F(TheClientLibrary, RefusesNullArguments) {
    Collector collector(1);
    EXPECT_EQ(sso_show(
                  nullptr, 0, nullptr, [](void*, int, sso_popup_state_e) { return 0; }, nullptr),
              -1);
    EXPECT_EQ(sso_show(nullptr, 0, "page", nullptr, nullptr), -1);
    EXPECT_EQ(sso_show_term_page(
                  "terms", 0, nullptr, [](void*, int, sso_popup_state_e) { return 0; }, nullptr),
              -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(TheClientLibrary, TellsAnObserverWhatItWasAsked) {
    std::vector<std::string> seen;
    sso_api_control_set_observer(
        [](const SsoApiCall* call, void* user) {
            std::string text = call->function;
            for (const char* argument : call->texts) {
                text += argument != nullptr ? std::string(" ") + argument : " -";
            }
            static_cast<std::vector<std::string>*>(user)->push_back(
                text + " " + std::to_string(call->flags) +
                (call->window == nullptr ? " null" : " window") +
                (call->user_data == user ? " data" : " -") +
                (call->callback != nullptr ? " callback" : " -"));
        },
        &seen);
    const auto popup = [](void*, int, sso_popup_state_e) { return 0; };
    const auto text = [](void*, int, char*) { return 0; };
    const auto result = [](void*, int) { return 0; };
    int window = 0;
    sso_api_control_set_popup_end(-1, 0);
    sso_show(&window, 3, "page", popup, &seen);
    sso_show_term_page("terms", 4, "caller", popup, &seen);
    sso_request_access_token("id", "secret", text, &seen);
    sso_get_cp_account_mapping_list("app", "cp", text, &seen);
    sso_add_cp_account_mapping_info("app", "cp", "uid", result, &seen);
    sso_remove_cp_account_mapping_info("app", "cp", "uid", result, &seen);
    sso_give_proxy();
    EXPECT_EQ(seen, (std::vector<std::string>{
                        "sso_show page - - 3 window data callback",
                        "sso_show_term_page terms caller - 4 null data callback",
                        "sso_request_access_token id secret - 0 null data callback",
                        "sso_get_cp_account_mapping_list app cp - 0 null data callback",
                        "sso_add_cp_account_mapping_info app cp uid 0 null data callback",
                        "sso_remove_cp_account_mapping_info app cp uid 0 null data callback",
                        "sso_give_proxy - - - 0 null - -",
                    }));
}

TEST_F(TheClientLibrary, StartsNoRequestWithoutAnAccount) {
    const auto text = [](void*, int, char*) { return 0; };
    const auto result = [](void*, int) { return 0; };
    EXPECT_EQ(sso_request_access_token("id", "secret", text, nullptr), -1);
    EXPECT_EQ(sso_get_cp_account_mapping_list("app", "cp", text, nullptr), -1);
    EXPECT_EQ(sso_add_cp_account_mapping_info("app", "cp", "uid", result, nullptr), -1);
    EXPECT_EQ(sso_remove_cp_account_mapping_info("app", "cp", "uid", result, nullptr), -1);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(TheClientLibrary, KnowsNothingWithoutAnAccount) {
    int state = 5;
    EXPECT_EQ(sso_get_login_state(&state), 0);
    EXPECT_EQ(state, 0);
    state = 5;
    EXPECT_EQ(sso_get_term_state("terms", &state), -2);
    EXPECT_EQ(state, 5);
    char text[] = "untouched";
    char* out = text;
    EXPECT_EQ(sso_get_guid(&out), -2);
    EXPECT_EQ(sso_get_auth_token(&out), -2);
    EXPECT_EQ(out, text);
    sso_login_info info{};
    info.uid[0] = 'u';
    EXPECT_EQ(sso_get_login_info(&info), -2);
    EXPECT_EQ(info.uid[0], 'u');
    EXPECT_EQ(sso_get_login_state(nullptr), -4);
    EXPECT_EQ(sso_get_term_state(nullptr, &state), -4);
    EXPECT_EQ(sso_get_term_state("terms", nullptr), -4);
    EXPECT_EQ(sso_get_login_info(nullptr), -4);
    EXPECT_EQ(sso_get_guid(nullptr), -4);
    EXPECT_EQ(sso_get_auth_token(nullptr), -4);
}

using GivingTheProxyBack = TheClientLibrary;

TEST_F(GivingTheProxyBack, CancelsWhatIsOutstandingBeforeItReturns) {
    sso_api_control_set_popup_end(-1, 0);
    Collector collector(3);
    for (int i = 0; i < 3; ++i) {
        collector.show(i);
    }
    EXPECT_EQ(sso_give_proxy(), 0);
    const auto ended = collector.now();
    ASSERT_EQ(ended.size(), 3U);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ended[static_cast<size_t>(i)].operation, i);
        EXPECT_EQ(ended[static_cast<size_t>(i)].result, -3);
        EXPECT_EQ(ended[static_cast<size_t>(i)].state, 3);
        EXPECT_EQ(ended[static_cast<size_t>(i)].thread, threadName());
    }
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(GivingTheProxyBack, WaitsForACallbackThatRuns) {
    sso_api_control_set_popup_end(0, 0);
    Collector collector(1);
    std::atomic<bool> inside = false;
    std::atomic<bool> leave = false;
    collector.m_inside = [&] {
        inside = true;
        while (!leave) {
            std::this_thread::yield();
        }
    };
    collector.show(0);
    while (!inside) {
        std::this_thread::yield();
    }
    std::atomic<bool> given = false;
    std::thread giver([&] {
        sso_give_proxy();
        given = true;
        EXPECT_EQ(collector.now().size(), 1U);
    });
    // While a proxy is being given back nothing starts: that shows the call has begun.
    while (sso_show(
               nullptr, 0, "", [](void*, int, sso_popup_state_e) { return 0; }, nullptr) != -1) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(given);
    leave = true;
    giver.join();
    EXPECT_TRUE(given);
}

TEST_F(GivingTheProxyBack, FromInsideACallbackDoesNotWaitForItself) {
    sso_api_control_set_popup_end(0, 0);
    Collector collector(2);
    collector.m_inside = [] { sso_give_proxy(); };
    collector.show(0);
    EXPECT_EQ(collector.waitFor(1).size(), 1U);
}

TEST_F(GivingTheProxyBack, FromInsideACancelledCallbackEnds) {
    sso_api_control_set_popup_end(-1, 0);
    Collector collector(3);
    collector.m_inside = [] { sso_give_proxy(); };
    for (int i = 0; i < 3; ++i) {
        collector.show(i);
    }
    sso_give_proxy();
    EXPECT_EQ(collector.now().size(), 3U);
}

TEST_F(GivingTheProxyBack, RefusesWhatACancelledCallbackStarts) {
    sso_api_control_set_popup_end(-1, 0);
    Collector collector(2);
    std::vector<int> results;
    collector.m_inside = [&] { results.push_back(collector.show(1)); };
    collector.show(0);
    sso_give_proxy();
    EXPECT_EQ(results, std::vector<int>{-1});
    EXPECT_EQ(collector.now().size(), 1U);
    EXPECT_EQ(collector.show(1), 0);
    collector.m_inside = [] {};
    sso_give_proxy();
    EXPECT_EQ(collector.now().size(), 2U);
}

TEST_F(GivingTheProxyBack, InTheMiddleOfThousandsLosesAndRepeatsNothing) {
    constexpr int kCount = 4000;
    sso_api_control_set_popup_end(1, 0);
    Collector collector(kCount);
    std::atomic<int> next = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int number = next++; number < kCount; number = next++) {
                while (collector.show(number) == -1) {
                    std::this_thread::yield();  // another thread is giving the proxy back
                }
                if (number % 500 == 0) {
                    sso_give_proxy();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    sso_give_proxy();
    auto ended = collector.now();
    EXPECT_EQ(ended.size(), static_cast<size_t>(kCount));
    std::sort(ended.begin(), ended.end(),
              [](const Ended& one, const Ended& other) { return one.operation < other.operation; });
    const auto twice = std::adjacent_find(
        ended.begin(), ended.end(),
        [](const Ended& one, const Ended& other) { return one.operation == other.operation; });
    EXPECT_EQ(twice, ended.end());
}

}  // namespace
