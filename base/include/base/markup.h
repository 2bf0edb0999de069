#ifndef BASE_MARKUP_H_
#define BASE_MARKUP_H_

#include <string>
#include <string_view>

namespace base {

/// Plain text as HTML or XML that shows it, in an element or a quoted attribute.
inline std::string escapedForMarkup(std::string_view text) {
    std::string markup;
    for (const char letter : text) {
        switch (letter) {
            case '&':
                markup += "&amp;";
                break;
            case '<':
                markup += "&lt;";
                break;
            case '>':
                markup += "&gt;";
                break;
            case '"':
                markup += "&quot;";
                break;
            case '\'':
                markup += "&#39;";
                break;
            default:
                markup += letter;
        }
    }
    return markup;
}

}  // namespace base

#endif
