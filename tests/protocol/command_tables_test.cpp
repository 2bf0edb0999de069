// The tables of these tests have every command of the protocol, and no other.

#include <gmock/gmock.h>

#include <set>
#include <string>

#include "asynchronous_commands.h"
#include "blocking_commands.h"
#include "protocol_data.h"

namespace protocol {
namespace {

using Names = std::set<std::string>;

Names commandsOf(contract::Path path) {
    Names names;
    for (const contract::Command& command : contract::protocol().commandsOf(path)) {
        names.insert(command.name);
    }
    return names;
}

TEST(TheTableOfAsynchronousCommands, HasThoseOfTheProtocol) {
    Names names;
    for (const AsynchronousTraces& traces : kAsynchronousTraces) names.insert(traces.name);
    EXPECT_EQ(names, commandsOf(contract::Path::Async));
}

TEST(TheTableOfBlockingCommands, HasThoseOfTheProtocol) {
    Names names;
    for (const auto& [name, line] : kBlockingLines) names.insert(name);
    EXPECT_EQ(names, commandsOf(contract::Path::Blocking));
}

}  // namespace
}  // namespace protocol
