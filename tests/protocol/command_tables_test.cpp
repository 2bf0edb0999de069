// The tables of these tests have every command of the protocol, and no other.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "asynchronous_commands.h"
#include "blocking_commands.h"
#include "every_command.h"
#include "protocol_data.h"

namespace protocol {
namespace {

using contract::expectEveryCommand;
using contract::Names;
using contract::Path;
using contract::protocol;

TEST(TheTableOfAsynchronousCommands, HasThoseOfTheProtocol) {
    Names names;
    for (const AsynchronousTraces& traces : kAsynchronousTraces) names.insert(traces.name);
    expectEveryCommand(names, protocol().commandsOf(Path::Async), "asynchronous_traces.h");
}

TEST(TheTableOfBlockingCommands, HasThoseOfTheProtocol) {
    Names names;
    for (const auto& [name, line] : kBlockingLines) names.insert(name);
    expectEveryCommand(names, protocol().commandsOf(Path::Blocking), "blocking_commands.h");
}

// A line of the log is found by its number.
TEST(TheLinesOfTheLog, HaveNumbersOfTheirOwn) {
    std::map<int, std::string> owners;
    const auto take = [&](int line, const std::string& owner) {
        if (line == 0) return;
        const auto [place, isFree] = owners.emplace(line, owner);
        EXPECT_TRUE(isFree) << owner << " has line " << line << ", and so has " << place->second;
    };
    for (const AsynchronousTraces& traces : kAsynchronousTraces) {
        for (const int line : {traces.line, traces.callbackLine, traces.nullLine, traces.scopeLine,
                               traces.notStartedLine, traces.startedLine}) {
            take(line, traces.name);
        }
        take(traces.scopeLine + 2, traces.name);  // where its scope is open
    }
    for (const auto& [name, line] : kBlockingLines) take(line, name);
}

}  // namespace
}  // namespace protocol
