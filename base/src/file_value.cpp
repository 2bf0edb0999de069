#include "base/file_value.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

namespace base {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1024} * 1024;
/// Longer names are cut in messages.
constexpr std::size_t kLongestName = 64;

bool isPlainName(const std::string& name) {
    constexpr const char* kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$-";
    return !name.empty() && name.size() <= kLongestName &&
           name.find_first_not_of(kPlain) == std::string::npos;
}

/// A name of any length and content as a short piece of one line.
std::string quoted(const std::string& name) {
    using nlohmann::json;
    const std::string shown =
        name.size() <= kLongestName ? name : name.substr(0, kLongestName) + "...";
    return json(shown).dump(-1, ' ', true, json::error_handler_t::replace);
}

}  // namespace

std::string readFile(const std::string& path) {
    namespace fs = std::filesystem;
    const auto fail = [&](const std::string& what) { throw FileError(path + ": " + what); };
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        fail("no such file");
    }
    // A folder opens like a file and only then fails to read; a pipe would block.
    if (!error && !fs::is_regular_file(status)) {
        fail("is not a file");
    }
    std::ifstream file(path, std::ios::binary);
    std::string content(kLargestFile + 1, '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.is_open() || file.bad()) {
        fail("cannot be read");
    }
    content.resize(static_cast<std::size_t>(file.gcount()));
    if (content.size() > kLargestFile) {
        fail("is larger than 1 MiB");
    }
    return content;
}

/// Goes on behind a mistake, to find the others.
class FileValue::Mistakes {
  public:
    template <typename Step>
    void in(Step step) {
        try {
            step();
        } catch (const FileError& error) {
            m_lines += (m_lines.empty() ? "" : "\n") + std::string(error.what());
        }
    }

    void tell() const {
        if (!m_lines.empty()) {
            throw FileError(m_lines);
        }
    }

  private:
    std::string m_lines;
};

void FileValue::readAll(const std::string& file, std::string_view text, const Read& read) {
    JsonNode node;
    try {
        node = parseJson(text);
    } catch (const JsonError& error) {
        throw FileError(file + ":" + error.what());
    }
    read(FileValue(file, "", node));
}

void FileValue::fail(std::size_t line, const std::string& path, const std::string& what) const {
    throw FileError(m_file + ":" + std::to_string(line) + ": " + (path.empty() ? "" : path + ": ") +
                    what);
}

void FileValue::fail(const std::string& what) const { fail(m_node.line, m_path, what); }

std::string FileValue::pathOf(const std::string& member) const {
    if (!isPlainName(member)) {
        return m_path + "[" + quoted(member) + "]";
    }
    return m_path.empty() ? member : m_path + "." + member;
}

bool FileValue::isObject() const { return std::holds_alternative<JsonNode::Object>(m_node.value); }

bool FileValue::boolean() const {
    const auto* value = std::get_if<bool>(&m_node.value);
    if (value == nullptr) {
        fail("must be true or false");
    }
    return *value;
}

std::int64_t FileValue::wholeNumber(std::int64_t largest) const {
    const auto* value = std::get_if<double>(&m_node.value);
    if (value == nullptr || *value < 0 || *value > static_cast<double>(largest) ||
        std::trunc(*value) != *value) {
        fail("must be a whole number from 0 to " + std::to_string(largest));
    }
    return static_cast<std::int64_t>(*value);
}

const std::string& FileValue::text() const {
    const auto* value = std::get_if<std::string>(&m_node.value);
    if (value == nullptr) {
        fail("must be a text");
    }
    if (value->find('\0') != std::string::npos) {
        fail("must be a text without \\u0000");
    }
    return *value;
}

const std::string& FileValue::text(std::size_t mostBytes) const {
    const std::string& value = text();
    if (value.size() > mostBytes) {
        fail("must be a text of at most " + std::to_string(mostBytes) + " bytes");
    }
    return value;
}

const std::string& FileValue::filledText() const {
    const std::string& value = text();
    if (value.empty()) {
        fail("must be a text that is not empty");
    }
    return value;
}

const std::string& FileValue::filledText(std::size_t mostBytes) const {
    text(mostBytes);
    return filledText();
}

const JsonNode::Object& FileValue::members(Mistakes& mistakes) const {
    const auto* members = std::get_if<JsonNode::Object>(&m_node.value);
    if (members == nullptr) {
        fail("must be an object");
    }
    std::set<std::string_view> names;
    for (const JsonMember& member : *members) {
        mistakes.in([&] {
            if (!names.insert(member.name).second) {
                fail(member.line, pathOf(member.name), "is there twice");
            }
        });
    }
    return *members;
}

void FileValue::object(const std::vector<Member>& known) const {
    Mistakes mistakes;
    std::set<std::string_view> seen;
    const auto readMember = [&](const JsonMember& member) {
        const auto found = std::find_if(known.begin(), known.end(), [&](const Member& candidate) {
            return candidate.name == member.name;
        });
        if (found == known.end()) {
            std::string names;
            for (const Member& candidate : known) {
                names += (names.empty() ? "" : ", ") + std::string(candidate.name);
            }
            fail(member.line, pathOf(member.name), "is not known here; known are " + names);
        }
        seen.insert(found->name);
        found->read(FileValue(m_file, pathOf(member.name), member.node));
    };
    for (const JsonMember& member : members(mistakes)) {
        mistakes.in([&] { readMember(member); });
    }
    for (const Member& member : known) {
        mistakes.in([&] {
            if (member.need == Member::Required && seen.count(member.name) == 0) {
                fail(m_node.line, pathOf(member.name), "is missing");
            }
        });
    }
    mistakes.tell();
}

void FileValue::dictionary(
    const std::function<void(const std::string&, const FileValue&)>& read) const {
    Mistakes mistakes;
    for (const JsonMember& member : members(mistakes)) {
        mistakes.in([&] {
            const FileValue value(m_file, pathOf(member.name), member.node);
            if (member.name.find('\0') != std::string::npos) {
                value.fail("must have a name without \\u0000");
            }
            read(member.name, value);
        });
    }
    mistakes.tell();
}

void FileValue::array(const Read& read) const {
    const auto* elements = std::get_if<JsonNode::Array>(&m_node.value);
    if (elements == nullptr) {
        fail("must be an array");
    }
    Mistakes mistakes;
    std::size_t index = 0;
    for (const JsonNode& element : *elements) {
        const std::string path = m_path + "[" + std::to_string(index++) + "]";
        mistakes.in([&] { read(FileValue(m_file, path, element)); });
    }
    mistakes.tell();
}

}  // namespace base
