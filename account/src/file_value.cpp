#include "file_value.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "account/account_file.h"

namespace account {
namespace {

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

void FileValue::fail(std::size_t line, const std::string& path, const std::string& what) const {
    throw AccountFileError(m_file + ":" + std::to_string(line) + ": " +
                           (path.empty() ? "" : path + ": ") + what);
}

void FileValue::fail(const std::string& what) const { fail(m_node.line, m_path, what); }

std::string FileValue::pathOf(const std::string& member) const {
    if (!isPlainName(member)) {
        return m_path + "[" + quoted(member) + "]";
    }
    return m_path.empty() ? member : m_path + "." + member;
}

bool FileValue::boolean() const {
    const auto* value = std::get_if<bool>(&m_node.value);
    if (value == nullptr) {
        fail("must be true or false");
    }
    return *value;
}

int FileValue::wholeNumber(int largest) const {
    const auto* value = std::get_if<double>(&m_node.value);
    if (value == nullptr || *value < 0 || *value > largest || std::trunc(*value) != *value) {
        fail("must be a whole number from 0 to " + std::to_string(largest));
    }
    return static_cast<int>(*value);
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

const JsonNode::Object& FileValue::members() const {
    const auto* members = std::get_if<JsonNode::Object>(&m_node.value);
    if (members == nullptr) {
        fail("must be an object");
    }
    std::set<std::string_view> names;
    for (const JsonMember& member : *members) {
        if (!names.insert(member.name).second) {
            fail(member.line, pathOf(member.name), "is there twice");
        }
    }
    return *members;
}

void FileValue::object(const std::vector<Member>& known) const {
    std::set<std::string_view> seen;
    for (const JsonMember& member : members()) {
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
        found->read(FileValue(m_file, pathOf(member.name), member.node));
        seen.insert(found->name);
    }
    for (const Member& member : known) {
        if (member.need == Member::Required && seen.count(member.name) == 0) {
            fail(m_node.line, pathOf(member.name), "is missing");
        }
    }
}

void FileValue::dictionary(
    const std::function<void(const std::string&, const FileValue&)>& read) const {
    for (const JsonMember& member : members()) {
        const FileValue value(m_file, pathOf(member.name), member.node);
        if (member.name.find('\0') != std::string::npos) {
            value.fail("must have a name without \\u0000");
        }
        read(member.name, value);
    }
}

void FileValue::array(const Read& read) const {
    const auto* elements = std::get_if<JsonNode::Array>(&m_node.value);
    if (elements == nullptr) {
        fail("must be an array");
    }
    std::size_t index = 0;
    for (const JsonNode& element : *elements) {
        read(FileValue(m_file, m_path + "[" + std::to_string(index++) + "]", element));
    }
}

}  // namespace account
