// Many operations, and many threads.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "fixture.h"
#include "thread_tools.h"

namespace {

using ::testing::Each;

/// Counts the callbacks of numbered popups.
class Counts {
  public:
    explicit Counts(std::size_t count) : m_operations(count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_operations[i].number = i;
            m_operations[i].counts = this;
        }
    }

    ~Counts() { sso_give_proxy(); }
    Counts(const Counts&) = delete;
    Counts& operator=(const Counts&) = delete;

    int show(std::size_t number) {
        return sso_show(nullptr, 0, "page", &ended, &m_operations.at(number));
    }

    void waitFor(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_order.size() >= count; });
    }

    /// In the order of the callbacks.
    std::vector<std::size_t> order() {
        const std::lock_guard lock(m_mutex);
        return m_order;
    }

    /// How often each has called back.
    std::vector<int> times() const {
        std::vector<int> times;
        for (const Operation& operation : m_operations) {
            times.push_back(operation.times);
        }
        return times;
    }

    /// Runs inside each callback. Set before operations are started.
    std::function<void(std::size_t number)> inside = [](std::size_t) {};

  private:
    struct Operation {
        std::size_t number = 0;
        Counts* counts = nullptr;
        std::atomic<int> times = 0;
    };

    static int ended(void* userData, int, sso_popup_state_e) {
        auto* operation = static_cast<Operation*>(userData);
        Counts& self = *operation->counts;
        ++operation->times;
        self.inside(operation->number);
        const std::lock_guard lock(self.m_mutex);
        self.m_order.push_back(operation->number);
        self.m_changed.notify_all();
        return 0;
    }

    std::vector<Operation> m_operations;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::size_t> m_order;
};

std::vector<std::size_t> upTo(std::size_t count) {
    std::vector<std::size_t> numbers(count);
    for (std::size_t i = 0; i < count; ++i) {
        numbers[i] = i;
    }
    return numbers;
}

constexpr std::size_t kMany = 20000;

/// On the account service's bus an operation takes a hundred times as long.
std::size_t thousands() { return std::getenv("SSO_BUS_ADDRESS") != nullptr ? 2000 : kMany; }

using ThousandsOfOperations = TheClientLibrary;

TEST_F(ThousandsOfOperations, EndInTheOrderOfTheirStartsWhenTheyAreDueAlike) {
    const std::size_t many = thousands();
    useAccount(R"({"popups": {"login": {"delayMs": 1}}})");
    Counts counts(many);
    for (std::size_t i = 0; i < many; ++i) {
        ASSERT_EQ(counts.show(i), 0);
    }
    counts.waitFor(many);
    EXPECT_EQ(counts.order(), upTo(many));
    EXPECT_THAT(counts.times(), Each(1));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(ThousandsOfOperations, EndBeforeOlderOnesThatAreDueLater) {
    const std::size_t many = thousands();
    Counts counts(2 * many);
    useAccount(R"({"popups": {"login": {"delayMs": 600000}}})");
    for (std::size_t i = 0; i < many; ++i) {
        ASSERT_EQ(counts.show(i), 0);
    }
    useAccount(R"({"popups": {"login": {"delayMs": 0}}})");
    std::vector<std::size_t> expected;
    for (std::size_t i = many; i < 2 * many; ++i) {
        ASSERT_EQ(counts.show(i), 0);
        expected.push_back(i);
    }
    counts.waitFor(many);
    EXPECT_EQ(counts.order(), expected);
    EXPECT_EQ(sso_api_control_outstanding(), static_cast<int>(many));
}

TEST_F(ThousandsOfOperations, AreCancelledInTheOrderOfTheirStarts) {
    sso_api_control_set_held(1);
    Counts counts(kMany);
    for (std::size_t i = 0; i < kMany; ++i) {
        ASSERT_EQ(counts.show(i), 0);
    }
    EXPECT_EQ(sso_api_control_outstanding(), static_cast<int>(kMany));
    sso_give_proxy();
    EXPECT_EQ(counts.order(), upTo(kMany));
    EXPECT_THAT(counts.times(), Each(1));
}

TEST_F(ThousandsOfOperations, AreFinishedOneByOne) {
    const std::size_t many = thousands();
    sso_api_control_set_held(1);
    Counts counts(many);
    for (std::size_t i = 0; i < many; ++i) {
        ASSERT_EQ(counts.show(i), 0);
    }
    const SsoApiEnd end{0, 0, nullptr};
    std::vector<std::size_t> expected;
    for (std::size_t i = 0; i < many / 2; ++i) {  // the oldest and the youngest by turns
        const int last = sso_api_control_outstanding() - 1;
        ASSERT_EQ(sso_api_control_finish(last, &end, nullptr), 0);
        ASSERT_EQ(sso_api_control_finish(0, &end, nullptr), 0);
        expected.push_back(many - 1 - i);
        expected.push_back(i);
    }
    EXPECT_EQ(counts.order(), expected);
}

TEST_F(ThousandsOfOperations, StartOneAnotherFromTheirCallbacks) {
    const std::size_t many = thousands();
    useAccount(R"({"popups": {"login": {"delayMs": 0}}})");
    Counts counts(many);
    std::atomic<std::size_t> next = 1;
    counts.inside = [&](std::size_t) {
        for (int i = 0; i < 2; ++i) {
            const std::size_t number = next++;
            if (number < many) {
                EXPECT_EQ(counts.show(number), 0);
            }
        }
    };
    counts.show(0);
    counts.waitFor(many);
    EXPECT_THAT(counts.times(), Each(1));
    EXPECT_EQ(counts.order(), upTo(many));
}

TEST_F(ThousandsOfOperations, AddMappingsThatAreAllListed) {
    constexpr int kMappings = 5000;
    useAccount(R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"}})");
    Callbacks callbacks;
    std::string expected;
    for (int i = 0; i < kMappings; ++i) {
        const std::string user = std::to_string(i);
        ASSERT_EQ(callbacks.addMapping("add", "a", "p", user.c_str()), 0);
        expected += (i == 0 ? "" : ",") + (R"({"appID":"a","cpName":"p","cpUID":")" + user) + "\"}";
    }
    EXPECT_THAT(callbacks.waitFor(kMappings), Each("add: 0"));
    EXPECT_EQ(list("a", ""), "0 [" + expected + "]");
}

using ManyThreads = TheClientLibrary;

TEST_F(ManyThreads, LoseAndRepeatNothingWhileTheProxyIsGivenBack) {
    constexpr std::size_t kCount = 20000;
    useAccount(R"({"popups": {"login": {"delayMs": 1}}})");
    Counts counts(kCount);
    counts.inside = [&](std::size_t number) {
        if (number % 300 == 0) sso_give_proxy();
    };
    std::atomic<std::size_t> next = 0;
    const SsoApiEnd end{0, 0, nullptr};
    support::onThreads(4, [&](int) {
        for (std::size_t number = next++; number < kCount; number = next++) {
            while (counts.show(number) == -1) {
                std::this_thread::yield();  // the proxy is being given back
            }
            if (number % 500 == 0) sso_give_proxy();
            if (number % 7 == 0) sso_api_control_finish(0, &end, nullptr);
        }
    });
    sso_give_proxy();
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_THAT(counts.times(), Each(1));
    EXPECT_EQ(counts.order().size(), kCount);
}

TEST_F(ManyThreads, GetNothingAfterTheProxyIsGivenBack) {
    useAccount(R"({"popups": {"login": {"delayMs": 0}}})");
    for (int round = 0; round < 200; ++round) {
        std::atomic<bool> given = false;
        std::atomic<int> late = 0;
        Counts counts(40);
        counts.inside = [&](std::size_t) { late += given ? 1 : 0; };
        support::onThreads(2, [&](int thread) {
            for (std::size_t i = 0; i < 20; ++i) {
                EXPECT_EQ(counts.show(static_cast<std::size_t>(thread) * 20 + i), 0);
            }
        });
        sso_give_proxy();
        given = true;
        EXPECT_EQ(counts.order().size(), 40U);
        show("page");  // the library's thread has been through its work
        EXPECT_EQ(late, 0);
        EXPECT_THAT(counts.times(), Each(1));
    }
}

TEST_F(ManyThreads, SeeOneAccount) {
    useAccount(R"({"account": {"loginId": "l", "uid": "u", "guid": "guid-1", "authToken": "t"},
                   "popups": {"login": {"delayMs": 0}}})");
    std::atomic<int> added = 0;
    std::atomic<int> duplicates = 0;
    support::onThreads(4, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            const std::string result = add("a", "p", std::to_string(i).c_str());
            added += result == "0" ? 1 : 0;
            duplicates += result == "-6" ? 1 : 0;
            EXPECT_EQ(guid(), "0 guid-1");
            EXPECT_EQ(loginInfo(), "0 l u");
            EXPECT_EQ(termState("none"), "-5 77");
            if (thread == 0) show("page");
        }
    });
    EXPECT_EQ(added, 200);
    EXPECT_EQ(duplicates, 600);
}

TEST_F(ManyThreads, CountWhatIsOutstandingWhileItComesAndGoes) {
    useAccount(R"({"popups": {"login": {"delayMs": 0}}})");
    support::atTheSameTime(
        [] { EXPECT_THAT(sso_api_control_outstanding(), ::testing::AnyOf(0, 1)); }, 200,
        [this] { show("page"); });
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(ManyThreads, MayControlTheLibraryWhileOthersUseIt) {
    std::atomic<bool> done = false;
    std::atomic<int> calls = 0;
    const SsoApiObserver count = [](const SsoApiCall*, void* user) {
        ++*static_cast<std::atomic<int>*>(user);
    };
    std::thread controller([&] {
        const SsoApiAnswer answer{0, nullptr, nullptr, "guid-2"};
        while (!done) {
            sso_api_control_set_observer(count, &calls);
            sso_api_control_set_account(
                R"({"account": {"loginId": "l", "uid": "u", "guid": "guid-1", "authToken": "t"}})");
            sso_api_control_set_answer("sso_get_guid", &answer);
            sso_api_control_set_held(1);
            sso_api_control_set_start_result(7);
            sso_api_control_set_observer(nullptr, nullptr);
            sso_api_control_set_account(nullptr);
            sso_api_control_set_answer("sso_get_guid", nullptr);
            sso_api_control_set_held(0);
            sso_api_control_set_start_result(0);
        }
    });
    Callbacks callbacks;
    int operations = 0;
    for (int i = 0; i < 2000; ++i) {
        const int started = callbacks.requestToken("token", "c", "s");
        EXPECT_TRUE(started == 0 || started == 7) << started;
        ++operations;
        const std::string now = guid();
        EXPECT_TRUE(now == "-2 untouched" || now == "0 guid-1" || now == "0 guid-2") << now;
    }
    done = true;
    controller.join();
    sso_give_proxy();
    EXPECT_EQ(callbacks.now().size(), static_cast<std::size_t>(operations));
}

}  // namespace
