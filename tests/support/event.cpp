#include "event.h"

#include <pthread.h>

#include <array>
#include <cstdio>
#include <ostream>

namespace support {
namespace {

const char* nameOf(Supplier supplier) {
    switch (supplier) {
        case Supplier::Log:
            return "log";
        case Supplier::Browser:
            return "browser";
        case Supplier::Extension:
            return "extension";
        case Supplier::Configuration:
            return "configuration";
        case Supplier::Library:
            return "library";
        case Supplier::Memory:
            return "memory";
    }
    return "?";
}

}  // namespace

std::string visible(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= 0x20 && code != 0x7f) {
            result += c;
            continue;
        }
        std::array<char, 8> octal{};
        std::snprintf(octal.data(), octal.size(), "\\%03o", static_cast<unsigned>(code));
        result += octal.data();
    }
    return result;
}

void PrintTo(const Event& event, std::ostream* stream) {
    *stream << nameOf(event.supplier);
    if (event.supplier == Supplier::Log) {
        *stream << ' ' << event.buffer << '/' << event.priority << '/' << event.tag;
    }
    *stream << " \"" << visible(event.what.substr(0, 400)) << '"';
    if (event.supplier == Supplier::Log) *stream << " of \"" << visible(event.format) << '"';
    *stream << " on " << event.thread << ' ' << event.threadId;
}

std::string thisThreadName() {
    std::array<char, 16> name{};
    return pthread_getname_np(pthread_self(), name.data(), name.size()) == 0 ? name.data() : "";
}

}  // namespace support
