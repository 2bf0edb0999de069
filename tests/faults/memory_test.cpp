// The plug-in when there is no memory, at each place at which it asks for some: it does what it should, or its process
// ends by the exception. It never answers otherwise, and it never hangs.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "failing_allocation.h"
#include "in_a_child.h"
#include "page.h"
#include "plugin_test.h"
#include "thread_tools.h"

namespace {

/// How many allocations are still made until one fails; 0 while none is to.
std::atomic<int> g_left = 0;
std::atomic<bool> g_hasFailed = false;
pid_t g_testsThread = 0;

bool isToFail() {
    // The test's own thread plays the page.
    if (g_left.load() == 0 || support::thisThreadId() == g_testsThread) return false;
    if (--g_left > 0) return false;
    g_left = 0;
    g_hasFailed = true;
    return true;
}

using host::Value;
using support::json;

/// What a page does, and sees.
struct Deed {
    const char* title;
    std::function<std::string(host::PluginHost&, PP_Instance)> act;
    const char* wanted;
    /// What it may see instead: the client library has no memory either, and says that it failed.
    std::vector<std::string> failures = {};
};

void PrintTo(const Deed& deed, std::ostream* out) { *out << deed.title; }

std::string shown(const Value& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// Of a posted request, the answer.
std::function<std::string(host::PluginHost&, PP_Instance)> posted(const char* request) {
    return [request](host::PluginHost& host, PP_Instance instance) -> std::string {
        host.post(instance, json(request));
        if (!host.waitForMessages(1, std::chrono::seconds(10))) return "nothing";
        return shown(host.takeMessages().front().value);
    };
}

std::function<std::string(host::PluginHost&, PP_Instance)> called(const char* request) {
    return [request](host::PluginHost& host, PP_Instance instance) {
        return shown(host.call(instance, json(request)).value);
    };
}

constexpr const char* kAccount = R"({
    "account": {"loginId": "a sign-in name", "uid": "a uid of some length", "guid": "a guid of some length",
                "authToken": "an auth token of some length"},
    "clients": [{"id": "a client of some length", "secret": "a secret of some length",
                 "token": "an access token of some length"}]})";

class WithoutMemory : public ::testing::TestWithParam<Deed> {
  protected:
    void SetUp() override {
        SSO_NEEDS_FAILING_ALLOCATION();
        support::failAllocationsWhen(isToFail);
    }

    /// What becomes of a process in which one allocation fails.
    ///
    /// @param place  of that allocation, from 1.
    static faults::Outcome outcomeAt(int place) {
        return faults::inAChild([place] { return act(place); });
    }

    static constexpr int kAsItShould = 0;
    static constexpr int kOtherwise = 1;
    static constexpr int kNoMore = 2;

  private:
    /// An exception ends the process here, as it does in a browser. On its way further out it would destroy the page, and
    /// so unload the module, beneath the thread of a half-made instance.
    static std::string seenBy(faults::Page& page) noexcept {
        return GetParam().act(page.host(), page.instance());
    }

    static int act(int place) {
        faults::Page page(kAccount);
        page.host().drain(page.instance());
        g_testsThread = support::thisThreadId();
        g_hasFailed = false;
        g_left = place;
        const std::string seen = seenBy(page);
        g_left = 0;
        if (!g_hasFailed) return kNoMore;
        std::fputs(seen.c_str(), stderr);
        const std::vector<std::string>& failures = GetParam().failures;
        const bool isFailure = std::find(failures.begin(), failures.end(), seen) != failures.end();
        return seen == GetParam().wanted || isFailure ? kAsItShould : kOtherwise;
    }
};

TEST_P(WithoutMemory, DoesWhatItShouldOrEnds) {
    int ended = 0;
    for (int place = 1;; ++place) {
        ASSERT_LT(place, 2000);
        const faults::Outcome outcome = outcomeAt(place);
        if (WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == kNoMore) {
            EXPECT_GT(place, 1) << "it asks for no memory: this shows nothing";
            std::printf("%d places, of which %d end the process\n", place - 1, ended);
            return;
        }
        SCOPED_TRACE("allocation " + std::to_string(place));
        if (WIFSIGNALED(outcome.status)) {
            ++ended;
            EXPECT_EQ(WTERMSIG(outcome.status), SIGABRT) << outcome.said;
            EXPECT_NE(outcome.said.find("bad_alloc"), std::string::npos) << outcome.said;
        } else {
            EXPECT_EQ(WEXITSTATUS(outcome.status), kAsItShould) << outcome.said;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, WithoutMemory,
    ::testing::Values(
        Deed{"ABlockingRequest",
             called(R"({"command": "sso_plugin_getSSOState"})"),
             "{\"code\": 0, \"errorMessage\": \"\", \"errorName\": \"\", \"value\": "
             "\"a sign-in name?an auth token of some length?a uid of some length?a guid of some "
             "length\"}",
             {"{\"code\": 0, \"errorMessage\": \"\", \"errorName\": \"\", \"value\": \"\"}"}},
        Deed{"ARefusedRequest", posted(R"({"command": "sso_plugin_getNothingWhatever"})"),
             "{\"command\": \"sso_plugin_getNothingWhatever\", \"errorMessage\": "
             "\"You do not have the privilege\", \"errorName\": \"PrivilegeInvalid\", "
             "\"status\": 18}"},
        Deed{"AToken",
             posted(R"({"command": "sso_plugin_getZEVAccessToken", "id": "a client of some length",
                        "secret": "a secret of some length"})"),
             "{\"command\": \"sso_plugin_getZEVAccessToken\", \"status\": 0, \"token\": "
             "\"an access token of some length\"}",
             {"{\"command\": \"sso_plugin_getZEVAccessToken\", \"status\": 0, \"token\": \"\"}",
              "{\"command\": \"sso_plugin_getZEVAccessToken\", \"errorMessage\": "
              "\"request access token failed\", \"errorName\": \"error\", \"status\": -1}"}},
        Deed{"AnEmbed",
             [](host::PluginHost& host, PP_Instance) -> std::string {
                 const PP_Instance instance = host.embed();
                 host.drain(instance);
                 return shown(
                     host.call(instance, json(R"({"command": "sso_plugin_getVersion"})")).value);
             },
             "{\"code\": 0, \"errorMessage\": \"\", \"errorName\": \"\", \"value\": \"1.1\"}"},
        Deed{"ARemoval",
             [](host::PluginHost& host, PP_Instance instance) -> std::string {
                 return host.destroy(instance) ? "gone" : "there";
             },
             "gone"}),
    [](const auto& info) { return std::string(info.param.title); });

}  // namespace
