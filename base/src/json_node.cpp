#include "base/json_node.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/json_mistake.h"

namespace base {
namespace {

using nlohmann::json;

// Nothing that a person writes needs more than 3. Without a limit a text of brackets would exhaust the stack when its nodes
// are destroyed.
constexpr std::size_t kDeepest = 16;

/// Goes through a text and keeps the line of the character that was read last. The parser looks
/// one character ahead at most, and then behind a number: a line end there is not counted yet.
class LineCounter {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCounter(const char* at, std::size_t& line) : m_at(at), m_line(&line) {}

    reference operator*() const { return *m_at; }
    LineCounter& operator++() {
        *m_line += m_afterLineEnd ? 1 : 0;
        m_afterLineEnd = *m_at == '\n';
        ++m_at;
        return *this;
    }
    friend bool operator==(const LineCounter& one, const LineCounter& other) {
        return one.m_at == other.m_at;
    }
    friend bool operator!=(const LineCounter& one, const LineCounter& other) {
        return !(one == other);
    }

  private:
    const char* m_at;
    std::size_t* m_line;
    bool m_afterLineEnd = false;
};

/// Builds the nodes while the parser reads.
class TreeBuilder : public json::json_sax_t {
  public:
    explicit TreeBuilder(const std::size_t& line) : m_line(line) {}

    JsonNode takeRoot() { return std::move(m_root); }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override {
        return add(static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }  // JSON texts have none
    bool start_object(std::size_t) override { return open(JsonNode::Object()); }
    bool start_array(std::size_t) override { return open(JsonNode::Array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool key(string_t& name) override {
        std::get<JsonNode::Object>(m_open.back()->value).push_back({std::move(name), m_line, {}});
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override {
        return false;  // told in better words than the library's, which quote a text that may be secret
    }

  private:
    using Value = decltype(JsonNode::value);

    bool add(Value value) {
        place({m_line, std::move(value)});
        return true;
    }

    bool open(Value value) {
        if (m_open.size() == kDeepest) {
            throw JsonError(std::to_string(m_line) + ": is nested too deeply");
        }
        m_open.push_back(&place({m_line, std::move(value)}));
        return true;
    }

    bool close() {
        m_open.pop_back();
        return true;
    }

    JsonNode& place(JsonNode node) {
        if (m_open.empty()) {
            return m_root = std::move(node);
        }
        if (auto* array = std::get_if<JsonNode::Array>(&m_open.back()->value)) {
            return array->emplace_back(std::move(node));
        }
        return std::get<JsonNode::Object>(m_open.back()->value).back().node = std::move(node);
    }

    const std::size_t& m_line;
    JsonNode m_root;
    // The arrays and objects that are not at their ends yet. Each is the last of the one before,
    // which does not grow meanwhile: they stay where they are.
    std::vector<JsonNode*> m_open;
};

}  // namespace

JsonNode parseJson(std::string_view text) {
    std::size_t line = 1;
    TreeBuilder builder(line);
    const bool parsed = json::sax_parse(LineCounter(text.data(), line),
                                        LineCounter(text.data() + text.size(), line), &builder);
    // The parser takes a NUL for the end, whatever follows.
    if (parsed && text.find('\0') == std::string_view::npos) {
        return builder.takeRoot();
    }
    const auto mistake = findJsonMistake(text);
    if (!mistake) throw JsonError("1: is not JSON");
    throw JsonError(std::to_string(mistake->line) + ":" + std::to_string(mistake->column) + ": " +
                    mistake->cause);
}

}  // namespace base
