#include "windows.h"

#include <utility>

namespace service {
namespace {

std::string escaped(const std::string& text) {
    std::string html;
    for (const char letter : text) {
        switch (letter) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += letter;
        }
    }
    return html;
}

}  // namespace

Window windowOf(const OpenPopup& popup, const account::Account& /*account*/) {
    return {"Account", "<!DOCTYPE html><title>" + escaped(popup.page) + "</title>"};
}

}  // namespace service
