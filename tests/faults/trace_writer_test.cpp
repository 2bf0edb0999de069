// The plug-in when the tracing service takes no text, at each of its scopes and trace points: the process ends by the
// exception, or nothing is missing but in the trace. It never answers otherwise, and it never hangs.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>

#include "ht_control.h"
#include "in_a_child.h"
#include "page.h"
#include "plugin_test.h"
#include "protocol_data.h"

namespace {

using host::Value;

constexpr const char* kAccountAtOnce = R"({
    "account": {"loginId": "robin", "uid": "u", "guid": "g", "authToken": "a"},
    "popups": {"login": {"delayMs": 0}, "createAccount": {"delayMs": 0}, "terms": {"delayMs": 0}}})";

std::atomic<int> g_writes = 0;

Value exampleOf(const contract::Command& command) {
    Value::Dictionary request{{"command", command.name}};
    for (const contract::Key& key : command.keys) request[key.name] = key.example;
    return request;
}

/// What a page is told; one line of it on standard error, at once, since the process may end.
void tell(const std::string& what, const Value& value) {
    std::ostringstream line;
    line << what << ": " << value << '\n';
    std::fputs(line.str().c_str(), stderr);
}

/// A page's visit, from the embed to the removal, that reaches every scope and trace point.
///
/// @param failing  the write of a text that fails, from 1; 0 for none.
/// @return 0.
int visit(unsigned flags, int failing) {
    const HtItemOrders orders{flags, 0};
    ht_control_set_item_orders(&orders);
    ht_control_set_call_observer(
        [](const HtCall* call, void*) { g_writes += static_cast<int>(call->textCount); }, nullptr);
    ht_control_set_enabled(1);
    ht_control_set_failing_write(failing);
    faults::Page page(kAccountAtOnce);
    host::PluginHost& host = page.host();
    const PP_Instance instance = page.instance();
    for (const contract::Command& command : contract::protocol().commands) {
        if (command.path == contract::Path::Blocking) {
            tell(command.name, host.call(instance, exampleOf(command)).value);
            continue;
        }
        host.post(instance, exampleOf(command));
        if (!host.waitForMessages(1, std::chrono::seconds(10))) return 1;
        tell(command.name, host.takeMessages().front().value);
    }
    host.unregister(instance);
    if (!host.waitForMessages(1, std::chrono::seconds(10))) return 1;
    tell("the end of the handler", host.takeMessages().front().value);
    const bool isGone = host.destroy(instance);
    host.unload();
    tell("removed", isGone);
    return 0;
}

/// Takes a line out of a text.
///
/// @return whether it was there.
bool takeLine(const std::string& line, std::string* text) {
    const std::size_t place = text->find(line);
    if (place == std::string::npos) return false;
    text->erase(place, line.size());
    return true;
}

/// The flag words with which the service begins its items.
enum Flags : unsigned { kAtOnce = 1, kLater = 2 };

class WithoutATrace : public ::testing::TestWithParam<Flags> {};

TEST_P(WithoutATrace, DoesWhatItShouldOrEnds) {
    const Flags flags = GetParam();
    const faults::Outcome whole = faults::inAChild([flags] {
        const int result = visit(flags, 0);
        std::fprintf(stderr, "%d", g_writes.load());
        return result;
    });
    ASSERT_TRUE(WIFEXITED(whole.status) && WEXITSTATUS(whole.status) == 0) << whole.said;
    const std::size_t end = whole.said.rfind('\n') + 1;
    const std::string told = whole.said.substr(0, end);
    const int writes = std::stoi(whole.said.substr(end));
    // Each command has a scope of its handler, of the gate and of its callback or its answer.
    EXPECT_GT(writes, 3 * static_cast<int>(contract::protocol().commands.size()));

    int ended = 0;
    for (int write = 1; write <= writes; ++write) {
        SCOPED_TRACE("write " + std::to_string(write));
        const faults::Outcome outcome = faults::inAChild([=] { return visit(flags, write); });
        if (WIFEXITED(outcome.status)) {
            EXPECT_EQ(WEXITSTATUS(outcome.status), 0);
            EXPECT_EQ(outcome.said, told);
            continue;
        }
        ++ended;
        EXPECT_EQ(WTERMSIG(outcome.status), SIGABRT);
        // The page may be told more while the process ends, but nothing wrong.
        std::string said = outcome.said;
        EXPECT_TRUE(takeLine(faults::kEndedBy + std::string("no room for the text\n"), &said))
            << outcome.said;
        EXPECT_EQ(told.compare(0, said.size(), said), 0) << outcome.said;
    }
    std::printf("%d writes, of which %d end the process\n", writes, ended);
}

INSTANTIATE_TEST_SUITE_P(OfTextsWritten, WithoutATrace, ::testing::Values(kAtOnce, kLater),
                         [](const auto& info) {
                             return info.param == kAtOnce ? "AtOnce" : "Later";
                         });

}  // namespace
