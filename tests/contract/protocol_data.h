#ifndef CONTRACT_PROTOCOL_DATA_H_
#define CONTRACT_PROTOCOL_DATA_H_

#include <string>
#include <vector>

/// protocol/protocol.json, read. What its members mean is told in protocol.schema.json.
namespace contract {

/// How a page sends a message, and so how it gets the answer.
enum class Path {
    Async,     ///< postMessage(); the answer is a message event
    Blocking,  ///< postMessageAndAwaitResponse(); the answer is its result
};

/// "async" or "blocking", as the data has it.
const char* nameOf(Path path);

struct Privilege {
    std::string name;
    std::string identifier;
};

/// A failure that a path may answer.
struct Error {
    std::string kind;
    int number = 0;
    bool namesCommand = false;
    std::string name;
    std::string message;  ///< empty when each command has its own
    std::string when;
};

struct PathRules {
    std::string send;
    std::string numberKey;
    int success = 0;
    std::vector<Error> errors;

    bool has(const std::string& errorKind) const;
    /// @throws std::runtime_error  when the path has no error of the kind.
    const Error& error(const std::string& kind) const;
};

/// A member of a request beside "command".
struct Key {
    std::string name;
    bool required = false;
    std::string example;
    std::string ownMessage;  ///< of the error badKey; empty when it is the path's
    std::string message;     ///< of the error badKey; empty when the key is not required
};

enum class OutcomeType { Text, Number };

struct Command {
    std::string name;
    std::string title;
    std::string about;
    Path path = Path::Async;
    std::string privilege;
    std::vector<Key> keys;
    std::string answerKey;
    OutcomeType answerType = OutcomeType::Text;
    std::vector<std::string> holds;  ///< what parts of a text are, joined by a question mark
    std::string notStarted;          ///< of an asynchronous one
};

struct Protocol {
    std::vector<Privilege> privileges;
    PathRules async;
    PathRules blocking;
    std::vector<Command> commands;
    std::string unregistered;

    const PathRules& rules(Path path) const { return path == Path::Async ? async : blocking; }
    /// Null when there is none of that name.
    const Command* find(const std::string& name) const;
    std::vector<Command> commandsOf(Path path) const;
};

class DataNode;

/// The path that a text names, or a complaint.
Path pathAt(const DataNode& node);

/// @throws std::runtime_error  for what is missing, unknown, of another type or contradicts itself,
/// with its place.
Protocol readProtocol(const std::string& path);

/// That of this source tree, read once; throws as readProtocol().
const Protocol& protocol();

/// A file of this source tree, or of the folder that SSO_TEST_DATA in the environment names instead:
/// installed tests have no tree.
std::string treeFile(const std::string& name);

/// That of the folder protocol/.
std::string dataFile(const std::string& name);

}  // namespace contract

#endif
