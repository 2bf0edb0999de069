#ifndef EMBEDDER_COMMANDS_H_
#define EMBEDDER_COMMANDS_H_

#include <optional>
#include <set>
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
    std::string answerKey;  ///< of the outcome in an answer
    /// Names of the parts of an outcome that is a text, joined by "?": none when it tells nothing of a
    /// user. Nothing for a number, and for a text that is JSON.
    std::optional<std::vector<std::string>> holds;
};

const std::vector<Command>& commands();

/// @return null for a name that is none.
const Command* findCommand(const std::string& name);

/// The words that are the same for all users.
struct Words {
    std::set<std::string> keys;    ///< of requests and answers
    std::set<std::string> errors;  ///< names and messages
    std::string unregistered;      ///< the message of an instance that has lost its handler
};

const Words& words();

/// Why the plug-in refuses a command for lack of a privilege, which it also says of names that it does
/// not know: one line for a person, with what helps.
std::string explainRefusal(const std::string& command);

}  // namespace embedder

#endif
