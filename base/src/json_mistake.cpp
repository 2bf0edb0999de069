#include "base/json_mistake.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

namespace base {
namespace {

using nlohmann::json;

constexpr const char* kBlanks = " \t\r\n";

bool isWordLetter(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_' ||
           letter == '-' || letter == '+' || letter == '.';
}

/// Where the word or text begins whose last character is there.
std::size_t beginOf(std::string_view text, std::size_t last) {
    std::size_t begin = last;
    if (text[last] == '"' && last > 0) {
        do {
            begin = text.rfind('"', begin - 1);
        } while (begin != std::string_view::npos && begin > 0 && text[begin - 1] == '\\');
        return begin == std::string_view::npos ? last : begin;
    }
    while (begin > 0 && isWordLetter(text[begin]) && isWordLetter(text[begin - 1])) --begin;
    return begin;
}

/// What is wrong at a place where something else was expected. May move the place.
std::string outOfPlace(std::string_view text, std::size_t& at, const std::string& library) {
    const auto says = [&](const char* words) { return library.find(words) != std::string::npos; };
    const bool isBrokenWord = says("invalid literal") || says("invalid number");
    if (isBrokenWord && text[at] != '/' && !isWordLetter(text[at]) && at > 0 &&
        isWordLetter(text[at - 1])) {
        --at;
    }
    at = beginOf(text, at);
    const char found = text[at];
    const std::size_t before = at == 0 ? at : text.find_last_not_of(kBlanks, at - 1);
    const bool hasBefore = at != 0 && before != std::string_view::npos;
    const char previous = hasBefore ? text[before] : '\0';
    if (found == '/' || found == '#') return "it has no comments";
    if (previous == ',' && (found == '}' || found == ']' || found == ',')) {
        at = before;
        return "a comma is too many";
    }
    if (says("expected end of input")) return "more follows behind its end";
    if (found == '\'' || found == '`') return "texts are in double quotes";
    if (says("object separator")) return "a colon is missing";
    const bool begins = found == '"' || found == '{' || found == '[' || isWordLetter(found);
    const bool ended =
        previous == '"' || previous == '}' || previous == ']' || isWordLetter(previous);
    if (begins && ended) return "a comma is missing";
    if (says("object key")) return "a member's name is a text in double quotes";
    if (says("invalid number")) return "a number is not complete";
    if (isWordLetter(found)) return "its only words are true, false and null";
    return "this does not belong here";
}

/// @param at       of the character at which the parser stopped; becomes the mistake's place.
/// @param library  the parser's own words.
std::string causeOf(std::string_view text, std::size_t& at, const std::string& library) {
    const auto says = [&](const char* words) { return library.find(words) != std::string::npos; };
    if (says("number overflow")) return "holds a number out of range";
    if (says("UTF-8")) return "is not in UTF-8";
    if (at >= text.size()) {
        const std::size_t last = text.find_last_not_of(kBlanks);
        at = last == std::string_view::npos ? 0 : last + 1;
        return at == 0 ? "is empty" : "is not JSON: it ends too early";
    }
    std::string cause;
    if (text[at] == '\0') {
        cause = "it has a NUL character";
    } else if (says("control character")) {
        cause = text[at] == '\n' || text[at] == '\r'
                    ? "a text does not go beyond its line"
                    : "a control character in a text has to be written as \\uXXXX";
    } else if (says("backslash") || says("'\\u'") || says("surrogate")) {
        cause = "a \\ in a text begins nothing that it knows";
    } else {
        cause = outOfPlace(text, at, library);
    }
    return "is not JSON: " + cause;
}

/// Listens to the parser for the mistake alone.
class MistakeFinder : public json::json_sax_t {
  public:
    explicit MistakeFinder(std::string_view text) : m_text(text) {}

    const std::optional<JsonMistake>& found() const { return m_found; }

    void note(std::size_t at, const std::string& library) {
        const std::string cause = causeOf(m_text, at, library);
        const std::string_view before = m_text.substr(0, at);
        const auto lines = std::count(before.begin(), before.end(), '\n');
        const std::size_t end = before.rfind('\n');
        const std::string_view inLine =
            end == std::string_view::npos ? before : before.substr(end + 1);
        const auto characters = std::count_if(inLine.begin(), inLine.end(), [](char byte) {
            return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;  // continues none
        });
        m_found = {static_cast<std::size_t>(lines) + 1, static_cast<std::size_t>(characters) + 1,
                   cause};
    }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t position, const std::string&,
                     const json::exception& error) override {
        note(position == 0 ? 0 : position - 1, error.what());
        return false;
    }

  private:
    const std::string_view m_text;
    std::optional<JsonMistake> m_found;
};

}  // namespace

std::optional<JsonMistake> findJsonMistake(std::string_view text) {
    MistakeFinder finder(text);
    json::sax_parse(text.begin(), text.end(), &finder);
    // The parser takes a NUL for the end, whatever follows.
    const std::size_t nul = text.find('\0');
    if (!finder.found() && nul != std::string_view::npos) finder.note(nul, "");
    return finder.found();
}

}  // namespace base
