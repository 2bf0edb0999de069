// Verbs about what happens.

#include <chrono>
#include <cstdio>

#include "command_line.h"
#include "readable.h"
#include "verb.h"

namespace ssoctl {
namespace {

Remote::Deadline deadlineOf(const Json& ms) {
    if (ms.is_null()) return std::nullopt;
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(ms.get<std::int64_t>());
}

bool matches(const Json& event, const Json& members) {
    for (const auto& [name, wanted] : members.items()) {
        const Json value = event.value(name, Json());
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        if (text != wanted.get<std::string>()) return false;
    }
    return true;
}

void print(const Session& session, const Json& event) {
    std::printf("%s\n", (session.json ? event.dump() : readableEvent(event)).c_str());
    std::fflush(stdout);
}

}  // namespace

void watch(Session& session, const Json& arguments) {
    const int most = arguments.at("count").get<int>();
    const Remote::Deadline deadline = deadlineOf(arguments.at("forMs"));
    session.remote.listen();
    std::fputs("watching\n", stderr);
    for (int count = 0; most == 0 || count < most; ++count) {
        const auto event = session.remote.nextEvent(deadline);
        if (!event) return;
        print(session, *event);
    }
}

void waitFor(Session& session, const Json& arguments) {
    const Remote::Deadline deadline = deadlineOf(arguments.at("withinMs"));
    session.remote.listen();
    while (const auto event = session.remote.nextEvent(deadline)) {
        if (!matches(*event, arguments.at("members"))) continue;
        print(session, *event);
        return;
    }
    throw Failure(kInVain, "what was waited for has not come");
}

}  // namespace ssoctl
