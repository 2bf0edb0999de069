#ifndef CONTRACT_EVERY_COMMAND_H_
#define CONTRACT_EVERY_COMMAND_H_

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "protocol_data.h"

namespace contract {

using Names = std::set<std::string>;

/// Expects that `where` names these commands and no other, and says by name what is amiss.
inline void expectEveryCommand(const Names& found, const std::vector<Command>& commands,
                               const std::string& where) {
    Names others = found;
    for (const Command& command : commands) {
        EXPECT_EQ(others.erase(command.name), 1U) << where << " lacks " << command.name;
    }
    for (const std::string& name : others) {
        ADD_FAILURE() << where << " has " << name << ", which protocol/protocol.json lacks there";
    }
}

}  // namespace contract

#endif
