#include "event_matchers.h"

#include <algorithm>
#include <cctype>
#include <ostream>

namespace support {
namespace {

constexpr const char* kColourEnd = "\033[0;m";

const char* colourOf(Kind kind) {
    switch (kind) {
        case Kind::Flow:
            return "\033[0;32m";
        case Kind::Detail:
            return "\033[0;33m";
        case Kind::Error:
            return "\033[0;31m";
    }
    return "";
}

class LineMatcher {
  public:
    using is_gtest_matcher = void;

    LineMatcher(Kind kind, const Place& place, const std::string& format,
                const std::string& message)
        : m_buffer(kind == Kind::Error ? 2 : 0),
          m_priority(kind == Kind::Detail ? 4 : 5),
          m_line(place.line),
          m_tag(place.tag),
          m_format(std::string("%s: %s(%d) > ") + colourOf(kind) + format + kColourEnd),
          m_before(std::string(place.file) + ": " + place.function + "("),
          m_after(std::string(") > ") + colourOf(kind) + message + kColourEnd) {}

    bool MatchAndExplain(const Event& event, std::ostream*) const {
        return event.supplier == Supplier::Log && event.buffer == m_buffer &&
               event.priority == m_priority && event.tag == m_tag && event.format == m_format &&
               textMatches(event.what);
    }

    void DescribeTo(std::ostream* stream) const {
        *stream << "is log " << m_buffer << '/' << m_priority << '/' << m_tag << " \""
                << visible(m_before) << (m_line == Place::kAnyLine ? "*" : std::to_string(m_line))
                << visible(m_after) << "\" of \"" << visible(m_format) << '"';
    }
    void DescribeNegationTo(std::ostream* stream) const {
        *stream << "not: ";
        DescribeTo(stream);
    }

  private:
    bool textMatches(const std::string& text) const {
        if (text.size() <= m_before.size() + m_after.size()) return false;
        if (text.compare(0, m_before.size(), m_before) != 0) return false;
        if (text.compare(text.size() - m_after.size(), m_after.size(), m_after) != 0) return false;
        const std::string number =
            text.substr(m_before.size(), text.size() - m_before.size() - m_after.size());
        if (m_line != Place::kAnyLine) return number == std::to_string(m_line);
        return number.front() != '0' && std::all_of(number.begin(), number.end(), [](char c) {
                   return std::isdigit(static_cast<unsigned char>(c)) != 0;
               });
    }

    int m_buffer;
    int m_priority;
    int m_line;
    std::string m_tag;
    std::string m_format;
    std::string m_before;
    std::string m_after;
};

class CallMatcher {
  public:
    using is_gtest_matcher = void;

    CallMatcher(Supplier supplier, std::string what)
        : m_supplier(supplier), m_what(std::move(what)) {}

    bool MatchAndExplain(const Event& event, std::ostream*) const {
        return event.supplier == m_supplier && event.what == m_what;
    }
    void DescribeTo(std::ostream* stream) const { *stream << "is the call \"" << m_what << '"'; }
    void DescribeNegationTo(std::ostream* stream) const {
        *stream << "is not the call \"" << m_what << '"';
    }

  private:
    Supplier m_supplier;
    std::string m_what;
};

}  // namespace

EventMatcher logged(Kind kind, const Place& place, const std::string& format,
                    const std::string& message) {
    return LineMatcher(kind, place, format, message);
}

EventMatcher logged(Kind kind, const Place& place, const std::string& message) {
    return LineMatcher(kind, place, message, message);
}

EventMatcher called(Supplier supplier, const std::string& what) {
    return CallMatcher(supplier, what);
}

}  // namespace support
