#include "document.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "host/value_json.h"

namespace docs {
namespace {

/// The address that a heading gets from the usual viewers.
std::string anchorOf(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        const auto code = static_cast<unsigned char>(c);
        if (std::isalnum(code) != 0 || c == '_' || c == '-') {
            anchor += static_cast<char>(std::tolower(code));
        } else if (c == ' ') {
            anchor += '-';
        }
    }
    return anchor;
}

class Reader {
  public:
    explicit Reader(std::istream& stream) : m_stream(stream) {}

    Document read() {
        while (next()) {
            static const std::regex heading("#+ (.*)");
            std::smatch match;
            if (std::regex_match(m_line, match, heading)) {
                m_document.anchors.push_back(anchorOf(match[1]));
            } else if (m_line.rfind("```json", 0) == 0) {
                readExample();
            } else if (m_line.rfind("```", 0) == 0) {
                const std::string language = m_line.substr(3);
                m_document.blocks.push_back({language, readBlock()});
            } else {
                readText();
            }
        }
        return std::move(m_document);
    }

  private:
    bool next() {
        ++m_number;
        return static_cast<bool>(std::getline(m_stream, m_line));
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("line " + std::to_string(m_number) + ": " + what);
    }

    /// The lines up to the end of the block that has begun.
    std::string readBlock() {
        std::string text;
        while (next()) {
            if (m_line == "```") return text;
            text += m_line + '\n';
        }
        fail("the block has no end");
    }

    void readExample() {
        Example example;
        example.line = m_number;
        std::istringstream words(m_line);
        std::string fence;
        std::string kind;
        std::string path;
        words >> fence >> kind >> path;
        if (kind != "request" || (path != "async" && path != "blocking")) {
            fail("not a request: " + m_line);
        }
        example.path = path == "async" ? contract::Path::Async : contract::Path::Blocking;
        for (std::string word; words >> word;) {
            if (word.rfind("account=", 0) == 0) {
                example.account = word.substr(8);
            } else if (word.rfind("privileges=", 0) == 0) {
                example.privileges = word.substr(11);
            } else {
                fail("what is \"" + word + "\"?");
            }
        }
        example.request = host::parseJson(readBlock());
        const char* const answer =
            example.path == contract::Path::Async ? "```json answer" : "```json reply";
        if (!next() || m_line != answer) fail(std::string("expected ") + answer);
        example.answer = host::parseJson(readBlock());
        m_document.examples.push_back(std::move(example));
    }

    void readText() {
        static const std::regex link(R"(\]\(#([^)]*)\))");
        for (std::sregex_iterator match(m_line.begin(), m_line.end(), link), end; match != end;
             ++match) {
            m_document.links.push_back((*match)[1]);
        }
        const bool isTable = m_line.rfind("|", 0) == 0;
        if (isTable && !m_inTable) {
            m_document.tables.push_back({m_line, {}});
        } else if (isTable && m_line.rfind("|--", 0) != 0) {
            m_document.tables.back().rows.push_back(m_line);
        }
        m_inTable = isTable;
    }

    std::istream& m_stream;
    std::string m_line;
    int m_number = 0;
    bool m_inTable = false;
    Document m_document;
};

}  // namespace

std::string codeOf(const std::string& cell) {
    const std::size_t first = cell.find('`');
    if (first == std::string::npos) return {};
    return cell.substr(first + 1, cell.find('`', first + 1) - first - 1);
}

std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells;
    for (std::size_t at = 1; at < line.size();) {
        const std::size_t end = std::min(line.find('|', at), line.size());
        const std::string cell = line.substr(at, end - at);
        const std::size_t first = std::min(cell.find_first_not_of(' '), cell.size());
        cells.push_back(cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
        at = end + 1;
    }
    return cells;
}

const Table& tableOf(const Document& document, const std::string& head) {
    for (const Table& table : document.tables) {
        if (table.head.rfind(head, 0) == 0) return table;
    }
    throw std::runtime_error("there is no table " + head);
}

std::vector<std::pair<std::string, std::string>> commandsOf(const Block& block) {
    std::vector<std::pair<std::string, std::string>> commands;
    std::istringstream lines(block.text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("$ ", 0) == 0) {
            commands.emplace_back(line.substr(2), "");
        } else {
            commands.at(commands.size() - 1).second += line + "\n";
        }
    }
    return commands;
}

Document readDocument(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + " cannot be read");
    return Reader(file).read();
}

}  // namespace docs
