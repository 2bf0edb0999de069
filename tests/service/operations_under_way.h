#ifndef TESTS_SERVICE_OPERATIONS_UNDER_WAY_H_
#define TESTS_SERVICE_OPERATIONS_UNDER_WAY_H_

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <string>

#include "sso_api.h"

/// Operations of the client library that are under way, with what became of each.
class OperationsUnderWay {
  public:
    ~OperationsUnderWay() { sso_give_proxy(); }

    /// Adds a mapping with this partner's user.
    void addMapping(const std::string& cpUid) {
        One& one = next(cpUid);
        started(one,
                sso_add_cp_account_mapping_info("app", "partner", cpUid.c_str(), &ended, &one));
    }

    /// Shows a login page.
    void showLogin() {
        One& one = next("popup");
        const auto closed = [](void* user, int result, sso_popup_state_e) {
            return ended(user, result);
        };
        started(one, sso_show(nullptr, 0, "login", closed, &one));
    }

    /// Until all have had their callback. @return whether they have, in time.
    bool wait(std::chrono::microseconds bound) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, bound, [&] { return m_ended == m_started; });
    }

    void expectOneCallbackEach() const {
        for (const One& one : m_all) EXPECT_EQ(one.callbacks, 1) << one.name;
    }

    /// The mappings that were acknowledged.
    std::set<std::string> done() const {
        std::set<std::string> names;
        for (const One& one : m_all) {
            if (one.result == SSO_OK) names.insert(one.name);
        }
        return names;
    }

    int countStarted() const { return m_started; }
    int count(int result) const {
        int found = 0;
        for (const One& one : m_all) found += one.result == result ? 1 : 0;
        return found;
    }

  private:
    struct One {
        OperationsUnderWay* owner = nullptr;
        std::string name;
        std::atomic<int> callbacks{0};
        std::atomic<int> result{SSO_ERROR_NOT_STARTED};
    };

    One& next(const std::string& name) {
        One& one = m_all.emplace_back();
        one.owner = this;
        one.name = name;
        return one;
    }

    void started(One& one, int result) {
        if (result != SSO_ERROR_NOT_STARTED) {
            ++m_started;
        } else {
            ++one.callbacks;  // it will have none
            one.result = result;
        }
    }

    static int ended(void* user, int result) {
        One& one = *static_cast<One*>(user);
        ++one.callbacks;
        one.result = result;
        const std::lock_guard lock(one.owner->m_mutex);
        ++one.owner->m_ended;
        one.owner->m_changed.notify_all();
        return 0;
    }

    std::deque<One> m_all;
    int m_started = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_ended = 0;
};

#endif
