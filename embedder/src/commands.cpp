#include "embedder/commands.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/never_destroyed.h"
#include "protocol_text.h"

namespace embedder {
namespace {

using nlohmann::json;

std::vector<Command> readCommands() {
    std::vector<Command> found;
    const json protocol = json::parse(kProtocolText);
    for (const json& command : protocol.at("commands")) {
        const json& answer = command.at("answer");
        found.push_back({command.at("name"), command.at("path") == "blocking",
                         command.at("privilege"), answer.at("key"), std::nullopt});
        if (answer.contains("holds")) {
            found.back().holds = answer.at("holds").get<std::vector<std::string>>();
        }
    }
    return found;
}

Words readWords() {
    const json protocol = json::parse(kProtocolText);
    Words found;
    found.unregistered = protocol.at("unregistered");
    found.keys = {"command", "errorName", "errorMessage"};
    for (const json& path : protocol.at("paths")) {
        found.keys.insert(path.at("number"));
        for (const json& error : path.at("errors")) {
            found.errors.insert(error.at("errorName"));
            found.errors.insert(error.value("errorMessage", ""));
        }
    }
    for (const json& command : protocol.at("commands")) {
        found.keys.insert(command.at("answer").at("key"));
        found.errors.insert(command.value("notStarted", ""));
        for (const json& key : command.at("keys")) {
            found.keys.insert(key.at("name"));
            found.errors.insert(key.value("errorMessage", ""));
        }
    }
    return found;
}

/// How many letters have to be put in, left out or changed to make one of the other.
std::size_t distance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = i;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const std::size_t above = row[j];
            const std::size_t changed = diagonal + (one[i - 1] == other[j - 1] ? 0 : 1);
            row[j] = std::min({above + 1, row[j - 1] + 1, changed});
            diagonal = above;
        }
    }
    return row.back();
}

constexpr std::size_t kLongestName = 100;  // of what is quoted and compared
constexpr std::size_t kLikely = 6;         // letters that a slip may change

std::string suggestion(const std::string& name) {
    const auto nearest = std::min_element(
        commands().begin(), commands().end(), [&](const Command& one, const Command& other) {
            return distance(name, one.name) < distance(name, other.name);
        });
    if (distance(name, nearest->name) > kLikely) return "";
    return "; did you mean \"" + nearest->name + "\"?";
}

}  // namespace

const std::vector<Command>& commands() {
    static base::NeverDestroyed<std::vector<Command>> all(readCommands());
    return *all;
}

const Command* findCommand(const std::string& name) {
    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const Command& command) { return command.name == name; });
    return found == commands().end() ? nullptr : &*found;
}

const Words& words() {
    static base::NeverDestroyed<Words> all(readWords());
    return *all;
}

std::string explainRefusal(const std::string& command) {
    if (const Command* known = findCommand(command)) {
        return command + " was refused: the application lacks the privilege " + known->privilege +
               "; its manifest grants it by \"privileges\": [\"" + known->privilege +
               "\"], the command line by --grant " + known->privilege;
    }
    const std::string shown = command.substr(0, kLongestName);
    return json(shown).dump(-1, ' ', true, json::error_handler_t::replace) +
           " was refused: the plug-in has no such command" + suggestion(shown);
}

}  // namespace embedder
