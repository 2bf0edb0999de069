// The tables of these tests have every command of the protocol, and no other.

#include <gtest/gtest.h>

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
    expectEveryCommand(names, protocol().commandsOf(Path::Async), "asynchronous_commands.h");
}

TEST(TheTableOfBlockingCommands, HasThoseOfTheProtocol) {
    Names names;
    for (const auto& [name, line] : kBlockingLines) names.insert(name);
    expectEveryCommand(names, protocol().commandsOf(Path::Blocking), "blocking_commands.h");
}

}  // namespace
}  // namespace protocol
