#include "readable.h"

#include <algorithm>
#include <ctime>
#include <vector>

namespace ssoctl {
namespace {

using Json = nlohmann::ordered_json;

std::string plain(std::string text) {
    for (char& letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code < 0x20 || code == 0x7f) letter = '?';
    }
    return text;
}

std::string valueOf(const Json& value) {
    if (value.is_null()) return "-";
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_string()) return plain(value.get<std::string>());
    return plain(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

/// How many columns a text takes, near enough: the letters of UTF-8.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) & 0xc0U) != 0x80U;
    }));
}

std::string tableOf(const Json& list) {
    std::vector<std::vector<std::string>> rows(1);
    for (const auto& [name, value] : list.front().items()) rows[0].push_back(plain(name));
    for (const Json& one : list) {
        std::vector<std::string> row;
        for (const std::string& name : rows[0]) row.push_back(valueOf(one.value(name, Json())));
        rows.push_back(std::move(row));
    }
    std::vector<std::size_t> widths(rows[0].size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string linesOf(const Json& object, const std::string& indent) {
    std::string text;
    for (const auto& [name, value] : object.items()) {
        if (value.is_object() && !value.empty()) {
            text += indent + plain(name) + ":\n" + linesOf(value, indent + "  ");
        } else if (value.is_object()) {
            text += indent + plain(name) + ": none\n";
        } else {
            text += indent + plain(name) + ": " + valueOf(value) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string readable(const Json& json) {
    if (json.is_object()) return linesOf(json, "");
    if (!json.is_array()) return valueOf(json) + "\n";
    if (json.empty()) return "none\n";
    if (json.front().is_object()) return tableOf(json);
    std::string text;
    for (const Json& one : json) text += valueOf(one) + "\n";
    return text;
}

std::string readableEvent(const Json& event) {
    const auto ms = event.value("time", std::int64_t{0});
    const std::time_t seconds = ms / 1000;
    std::tm time{};
    char clock[32] = "";
    char line[48] = "";
    if (gmtime_r(&seconds, &time) != nullptr) std::strftime(clock, sizeof clock, "%FT%T", &time);
    std::snprintf(line, sizeof line, "%s.%03dZ", clock, static_cast<int>(ms % 1000));
    std::string text = line;
    for (const auto& [name, value] : event.items()) {
        if (name == "time") continue;
        text += name == "event" ? " " + valueOf(value) : " " + plain(name) + "=" + valueOf(value);
    }
    return text;
}

}  // namespace ssoctl
