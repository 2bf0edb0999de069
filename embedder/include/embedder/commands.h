#ifndef EMBEDDER_COMMANDS_H_
#define EMBEDDER_COMMANDS_H_

#include <optional>
#include <string>
#include <vector>

/// The plug-in's commands as protocol/protocol.json has them, for what the programs say of messages.
/// Nothing that a page is answered depends on it. Any thread.
namespace embedder {

/// The "status" or "code" of an answer that says that the privilege is missing.
inline constexpr int kRefused = 18;

struct Command {
    std::string name;
    bool blocking;
    std::string privilege;  ///< short: "sso.partner"
};

const std::vector<Command>& commands();

/// @return null for a name that is none.
const Command* findCommand(const std::string& name);

/// Why the plug-in refuses a command for lack of a privilege, which it also says of names that it does
/// not know: one line for a person, with what helps.
std::string explainRefusal(const std::string& command);

}  // namespace embedder

#endif
