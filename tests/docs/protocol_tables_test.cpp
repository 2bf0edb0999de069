// The tables of the protocol's reference: each line is what the protocol's data says.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>
#include <vector>

#include "document.h"
#include "protocol_data.h"

namespace {

using contract::Command;
using contract::Path;

/// "`a`, `b`"
std::string codeList(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) list += (list.empty() ? "`" : ", `") + text + '`';
    return list;
}

/// A line of a table.
std::string lineOf(const std::vector<std::string>& cells) {
    std::string line = "|";
    for (const std::string& cell : cells) line += cell.empty() ? " |" : ' ' + cell + " |";
    return line;
}

std::string rowOf(const Command& command) {
    const bool async = command.path == Path::Async;
    std::string anchor = command.name;
    for (char& c : anchor) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string keys;
    for (const contract::Key& key : command.keys) {
        keys += std::string(keys.empty() ? "" : ", ") + (key.required ? "`" : "optional `") +
                key.name + '`';
    }
    const bool isText = command.answerType == contract::OutcomeType::Text;
    return lineOf({"[`" + command.name + "`](#" + anchor + ")", async ? "asynchronous" : "blocking",
                   '`' + command.privilege + '`', keys,
                   async    ? '`' + command.answerKey + '`'
                   : isText ? "a text"
                            : "a number"});
}

std::string rowOf(const contract::Privilege& privilege) {
    std::vector<std::string> opened;
    std::vector<std::string> others;
    for (const Command& command : contract::protocol().commands) {
        (command.privilege == privilege.name ? opened : others).push_back(command.name);
    }
    const std::string list = opened.empty()                  ? "none"
                             : opened.size() < others.size() ? codeList(opened)
                             : others.empty()                ? "all commands"
                                              : "all commands but " + codeList(others);
    return lineOf({'`' + privilege.name + '`', list});
}

/// Those of the table of errors of a path.
std::vector<std::string> errorRows(Path path) {
    std::vector<std::string> rows;
    const auto add = [&](const contract::Error& error, const std::string& messages,
                         const std::string& when) {
        std::vector<std::string> cells = {std::to_string(error.number), '`' + error.name + '`',
                                          messages, when};
        const std::string command = error.namesCommand ? "as sent" : "missing";
        if (path == Path::Async) cells.insert(cells.begin() + 1, command);
        rows.push_back(lineOf(cells));
    };
    for (const contract::Error& error : contract::protocol().rules(path).errors) {
        add(error, error.message.empty() ? "see each command" : '`' + error.message + '`',
            error.when);
        if (error.kind != "badKey") continue;
        for (const Command& command : contract::protocol().commandsOf(path)) {
            std::vector<std::string> own;
            for (const contract::Key& key : command.keys) {
                if (!key.ownMessage.empty()) own.push_back(key.ownMessage);
            }
            if (!own.empty()) add(error, codeList(own), "the same, of `" + command.name + '`');
        }
    }
    return rows;
}

/// Among the lines, the one that is most like another; null when there are none.
const std::string* likest(const std::vector<std::string>& lines, const std::string& other) {
    const auto alike = [cells = docs::cellsOf(other)](const std::string& line) {
        const std::vector<std::string> mine = docs::cellsOf(line);
        std::size_t count = 0;
        for (std::size_t i = 0; i < std::min(mine.size(), cells.size()); ++i) {
            if (mine[i] == cells[i]) ++count;
        }
        return count;
    };
    const auto found = std::max_element(
        lines.begin(), lines.end(),
        [&](const auto& one, const auto& another) { return alike(one) < alike(another); });
    return found == lines.end() || alike(*found) == 0 ? nullptr : &*found;
}

void expectTable(const docs::Document& reference, const std::string& head,
                 const std::vector<std::string>& rows) {
    const auto table = std::find_if(reference.tables.begin(), reference.tables.end(),
                                    [&](const docs::Table& one) { return one.head == head; });
    ASSERT_NE(table, reference.tables.end()) << "docs/protocol.md lacks the table\n" << head;
    const auto without = [](const std::vector<std::string>& all,
                            const std::vector<std::string>& some) {
        std::vector<std::string> rest;
        std::copy_if(all.begin(), all.end(), std::back_inserter(rest), [&](const std::string& row) {
            return std::count(some.begin(), some.end(), row) == 0;
        });
        return rest;
    };
    const std::vector<std::string> tooMany = without(table->rows, rows);
    for (const std::string& row : without(rows, table->rows)) {
        std::string columns;
        if (const std::string* actual = likest(tooMany, row)) {
            const std::vector<std::string> titles = docs::cellsOf(head);
            const std::vector<std::string> is = docs::cellsOf(*actual);
            const std::vector<std::string> shall = docs::cellsOf(row);
            for (std::size_t i = 0; i < std::min({titles.size(), is.size(), shall.size()}); ++i) {
                if (is[i] != shall[i]) columns += "; \"" + titles[i] + "\" is " + is[i];
            }
        }
        ADD_FAILURE() << "docs/protocol.md lacks this line" << columns << '\n' << row;
    }
    for (const std::string& row : tooMany) {
        ADD_FAILURE() << "docs/protocol.md says what the protocol does not\n" << row;
    }
    if (::testing::Test::HasFailure()) return;
    EXPECT_EQ(table->rows, rows) << "another order";
}

class TheProtocolTables : public ::testing::Test {
  protected:
    const docs::Document m_reference = docs::readDocument(SSO_SOURCE_DIR "/docs/protocol.md");
};

TEST_F(TheProtocolTables, ListEveryCommand) {
    std::vector<std::string> rows;
    for (const Command& command : contract::protocol().commands) rows.push_back(rowOf(command));
    expectTable(m_reference,
                R"(| Command | Sent | Privilege | Keys beside `"command"` | Answers with |)", rows);
}

TEST_F(TheProtocolTables, TellWhatEachPrivilegeOpens) {
    std::vector<std::string> rows;
    for (const auto& privilege : contract::protocol().privileges) rows.push_back(rowOf(privilege));
    expectTable(m_reference, "| Privilege | Opens |", rows);
}

TEST_F(TheProtocolTables, ListEveryError) {
    expectTable(m_reference, "| `status` | `command` | `errorName` | `errorMessage` | when |",
                errorRows(Path::Async));
    expectTable(m_reference, "| `code` | `errorName` | `errorMessage` | when |",
                errorRows(Path::Blocking));
}

TEST_F(TheProtocolTables, TellHowToSend) {
    for (const Path path : {Path::Async, Path::Blocking}) {
        const std::string call = "`plugin." + contract::protocol().rules(path).send + "(request)`";
        EXPECT_THAT(m_reference.tables.at(0).rows.at(0), ::testing::HasSubstr(call));
    }
}

}  // namespace
