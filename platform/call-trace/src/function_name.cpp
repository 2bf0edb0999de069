#include "function_name.h"

#include <cstddef>

namespace call_trace {
namespace {

constexpr std::string_view kAnonymous = "(anonymous namespace)";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// What follows a list of arguments, which `text` begins with; all of it when the list has no end.
std::string_view behindArguments(std::string_view text) {
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '(') {
            ++depth;
        } else if (text[i] == ')' && --depth == 0) {
            return text.substr(i + 1);
        }
    }
    return text;
}

/// Whether the text may follow the arguments of a function that is no part of another's name.
bool endsSignature(std::string_view text) {
    return text.empty() || startsWith(text, " const") || startsWith(text, " volatile") ||
           startsWith(text, " &") || startsWith(text, " [");
}

}  // namespace

std::string_view functionName(std::string_view signature) {
    if (signature.find("operator") != std::string_view::npos) {
        return signature;
    }
    std::size_t start = 0;
    int depth = 0;  // of template arguments, and of what compilers put in braces
    for (std::size_t i = 0; i < signature.size(); ++i) {
        const char letter = signature[i];
        if (letter == '(' && startsWith(signature.substr(i), kAnonymous)) {
            i += kAnonymous.size() - 1;
        } else if (letter == '<' || letter == '{') {
            ++depth;
        } else if (letter == '>' || letter == '}') {
            --depth;
        } else if (depth == 0 && (letter == ' ' || letter == '*' || letter == '&')) {
            start = i + 1;
        } else if (depth == 0 && letter == '(') {
            const bool isName = i > start && endsSignature(behindArguments(signature.substr(i)));
            return isName ? signature.substr(start, i - start) : signature;
        }
    }
    return signature;
}

}  // namespace call_trace
