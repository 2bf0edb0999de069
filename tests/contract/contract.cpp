#include "contract.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <utility>

#include "data_node.h"

namespace contract {
namespace {

using nlohmann::json;
using Privileges = std::vector<std::string>;

std::string changed(std::string text, int (*change)(int)) {
    for (char& c : text) c = static_cast<char>(change(static_cast<unsigned char>(c)));
    return text;
}

json exampleOf(const Command& command) {
    json request = {{"command", command.name}};
    for (const Key& key : command.keys) request[key.name] = key.example;
    return request;
}

class Maker {
  public:
    Maker(const std::string& path, const Protocol& protocol)
        : m_protocol(protocol), m_data(DataNode::ofFile(path)) {}

    std::vector<Visit> make() {
        m_data.withNoMembersBut({"$schema", "nobody", "rows", "visits", "failing"});
        makeNames();
        makeBadKeys();
        makeExamples();
        for (const DataNode& row : m_data["rows"].elements()) makeRows(row);
        for (const auto& [account, visit] : m_data["visits"].members()) {
            for (const DataNode& exchange : visit.elements()) makeExchange(account, exchange);
        }
        makeFailures();
        return std::move(m_visits);
    }

  private:
    // --- answers ---

    json errorAnswer(Path path, const std::string& kind, const std::string& command,
                     const std::string& message = "") const {
        const PathRules& rules = m_protocol.rules(path);
        const Error& error = rules.error(kind);
        json answer = {{rules.numberKey, error.number},
                       {"errorName", error.name},
                       {"errorMessage", message.empty() ? error.message : message}};
        if (error.namesCommand && !command.empty()) answer["command"] = command;
        return answer;
    }

    /// @param node  the outcome, for a complaint about it.
    json doneAnswer(const Command& command, const DataNode& node) const {
        const bool isText = command.answerType == OutcomeType::Text;
        if (isText ? !node.value().is_string() : !node.value().is_number_integer()) {
            node.fail(command.name + " answers with a " + (isText ? "text" : "number") +
                      ", not with " + node.value().dump());
        }
        const PathRules& rules = m_protocol.rules(command.path);
        json answer = {{rules.numberKey, rules.success}, {command.answerKey, node.value()}};
        if (command.path == Path::Async) {
            answer["command"] = command.name;
        } else {
            answer["errorName"] = answer["errorMessage"] = "";
        }
        return answer;
    }

    json answerForNobody(const Command& command) const {
        return doneAnswer(command, m_data["nobody"][command.name]);
    }

    const Command& commandAt(const DataNode& node) const {
        const Command* command = m_protocol.find(node.text());
        if (command == nullptr) node.fail("there is no " + node.text());
        return *command;
    }

    // --- rows ---

    void add(const Privileges& privileges, const std::string& account, Row row) {
        Setting setting;
        for (const Privilege& known : m_protocol.privileges) {
            if (std::count(privileges.begin(), privileges.end(), known.name) != 0) {
                setting.privileges.push_back(known.name);
            }
        }
        if (!account.empty()) setting.account = treeFile("account/examples/" + account);
        auto visit = std::find_if(m_visits.begin(), m_visits.end(),
                                  [&](const Visit& known) { return known.setting == setting; });
        if (visit == m_visits.end()) visit = m_visits.insert(m_visits.end(), {setting, {}});
        visit->rows.push_back(std::move(row));
    }

    Privileges allPrivileges() const {
        Privileges all;
        for (const Privilege& privilege : m_protocol.privileges) all.push_back(privilege.name);
        return all;
    }

    /// Names of commands, and names that look like one and are none.
    std::vector<std::string> names() const {
        std::vector<std::string> names = {"", " ", "sso_plugin_noSuchCommand", "constructor"};
        for (const Command& command : m_protocol.commands) {
            const std::string& name = command.name;
            for (const std::string& variant :
                 {name, changed(name, &std::toupper), changed(name, &std::tolower), name + " ",
                  " " + name}) {
                if (std::count(names.begin(), names.end(), variant) == 0) names.push_back(variant);
            }
        }
        return names;
    }

    /// Each name alone, sent both ways by applications with each set of privileges.
    void makeNames() {
        const Privileges all = allPrivileges();
        for (unsigned set = 0; set < 1U << all.size(); ++set) {
            Privileges held;
            for (unsigned bit = 0; bit < all.size(); ++bit) {
                if ((set >> bit & 1U) != 0) held.push_back(all[bit]);
            }
            for (const std::string& name : names()) {
                for (const Path path : {Path::Async, Path::Blocking}) {
                    const auto [kind, answer] = answerToName(name, path, held);
                    add(held, "",
                        {kind + " for \"" + name + '"',
                         path,
                         {{"command", name}},
                         "",
                         answer,
                         kind != "an answer"});
                }
            }
        }
    }

    /// The answer to a name alone, and what it is.
    std::pair<std::string, json> answerToName(const std::string& name, Path path,
                                              const Privileges& held) const {
        const Command* command = m_protocol.find(name);
        if (command == nullptr || std::count(held.begin(), held.end(), command->privilege) == 0) {
            return {"no privilege", errorAnswer(path, "noPrivilege", name)};
        }
        if (path != command->path) return {"the other path", errorAnswer(path, "otherPath", name)};
        for (const Key& key : command->keys) {
            if (key.required) {
                return {"no " + key.name, errorAnswer(path, "badKey", name, key.message)};
            }
        }
        return {"an answer", answerForNobody(*command)};
    }

    /// Each required key missing and of each other type, while the others are texts.
    void makeBadKeys() {
        for (const Command& command : m_protocol.commands) {
            json good = {{"command", command.name}};
            for (const Key& key : command.keys) {
                if (key.required) good[key.name] = "x";
            }
            for (const Key& key : command.keys) {
                if (!key.required) continue;
                const auto addBad = [&](const std::string& what, const json& request) {
                    add({command.privilege}, "",
                        {command.name + what, command.path, request, "",
                         errorAnswer(command.path, "badKey", command.name, key.message), true});
                };
                json request = good;
                request.erase(key.name);
                addBad(" without " + key.name, request);
                for (const json& value : {json(nullptr), json(true), json(7), json(1.5),
                                          json::array({"x"}), json{{key.name, "x"}}}) {
                    request[key.name] = value;
                    addBad(" with the " + key.name + " " + value.dump(), request);
                }
            }
        }
    }

    /// Each command with its example keys, also without one that is not required, where nobody is
    /// signed in.
    void makeExamples() {
        for (const auto& [name, outcome] : m_data["nobody"].members()) {
            if (m_protocol.find(name) == nullptr) outcome.fail("there is no such command");
        }
        for (const Command& command : m_protocol.commands) {
            const auto addExample = [&](const std::string& what, const json& request) {
                add({command.privilege}, "",
                    {command.name + what + " where nobody is signed in", command.path, request, "",
                     answerForNobody(command), false});
            };
            addExample("", exampleOf(command));
            for (const Key& key : command.keys) {
                if (key.required) continue;
                json request = exampleOf(command);
                request.erase(key.name);
                addExample(" without " + key.name, request);
            }
        }
    }

    void makeRows(const DataNode& node) {
        node.withNoMembersBut({"title", "path", "privileges", "account", "javaScript", "request",
                               "error", "outcome", "asksNothing"});
        if (node.has("error") == node.has("outcome")) node.fail("needs an error or an outcome");
        Privileges privileges = allPrivileges();
        if (node.has("privileges")) {
            const Privileges all = std::exchange(privileges, {});
            for (const DataNode& name : node["privileges"].elements()) {
                privileges.push_back(name.text());
                if (std::count(all.begin(), all.end(), privileges.back()) == 0) {
                    name.fail("there is no " + privileges.back());
                }
            }
        }
        std::vector<Path> paths = {Path::Async, Path::Blocking};
        if (node.has("path")) paths = {pathAt(node["path"])};
        const json request = node["request"].value();
        for (const Path path : paths) {
            Row row{node["title"].text(), path, request, "", {}, true};
            if (node.has("javaScript")) row.javaScript = node["javaScript"].text();
            if (node.has("outcome")) {
                row.answer = doneAnswer(commandAt(node["request"]["command"]), node["outcome"]);
                row.asksNothing = node.has("asksNothing") && node["asksNothing"].flag();
            } else {
                if (!m_protocol.rules(path).has(node["error"].text())) {
                    node["error"].fail("there is no such error of " + std::string(nameOf(path)));
                }
                row = withError(std::move(row), node["error"].text());
            }
            add(privileges, node.has("account") ? node["account"].text() : "", std::move(row));
        }
    }

    Row withError(Row row, const std::string& kind) const {
        std::string name;
        std::string message;
        const bool isRequest = row.request.is_object() && row.request.contains("command");
        if (isRequest && row.request["command"].is_string()) {
            name = row.request["command"].get<std::string>();
        }
        const Command* command = m_protocol.find(name);
        if (kind == "notStarted" && command != nullptr) {
            message = command->notStarted;
            row.asksNothing = false;
        }
        row.answer = errorAnswer(row.path, kind, name, message);
        return row;
    }

    void makeExchange(const std::string& account, const DataNode& node) {
        node.withNoMembersBut({"command", "request", "outcome"});
        const DataNode& name = node.has("command") ? node["command"] : node["request"]["command"];
        const Command& command = commandAt(name);
        add(allPrivileges(), account,
            {command.name, command.path,
             node.has("request") ? node["request"].value() : exampleOf(command), "",
             doneAnswer(command, node["outcome"]), false});
    }

    /// Each command where no operation can be started.
    void makeFailures() {
        for (const Command& command : m_protocol.commands) {
            Row row{command.name + " when everything fails",
                    command.path,
                    exampleOf(command),
                    "",
                    {},
                    false};
            if (command.path == Path::Blocking) {
                row.answer = answerForNobody(command);
            } else {
                row = withError(std::move(row), "notStarted");
            }
            add(allPrivileges(), m_data["failing"].text(), std::move(row));
        }
    }

    const Protocol& m_protocol;
    const DataNode m_data;
    std::vector<Visit> m_visits;
};

/// "signed-in" as "SignedIn".
std::string camelCase(const std::string& text) {
    std::string result;
    bool begins = true;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (std::isalnum(code) != 0) result += begins ? static_cast<char>(std::toupper(code)) : c;
        begins = std::isalnum(code) == 0;
    }
    return result;
}

}  // namespace

std::string nameOf(const Setting& setting) {
    std::string name = camelCase(std::filesystem::path(setting.account).stem());
    if (setting.privileges.empty()) return name + "WithoutPrivileges";
    name += "With";
    for (const std::string& privilege : setting.privileges) {
        name += camelCase(privilege.substr(privilege.find('.') + 1));
    }
    return name;
}

std::vector<Visit> readContract(const std::string& path, const Protocol& protocol) {
    return Maker(path, protocol).make();
}

std::vector<Visit> contractOrNothing() {
    try {
        return readContract();
    } catch (const std::runtime_error&) {
        return {};
    }
}

}  // namespace contract
