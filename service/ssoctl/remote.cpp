#include "remote.h"

#include <algorithm>
#include <cstdint>

#include "bus_interfaces.h"
#include "command_line.h"
#include "service/bus_client.h"

namespace ssoctl {
namespace {

struct UnrefMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, UnrefMessage>;

void check(int result) {
    if (result < 0) {
        throw Failure(kUnreachable,
                      "the account service's bus: " + std::generic_category().message(-result) +
                          "; ssoctl doctor tells more");
    }
}

/// Whatever the service has to say about a call that it did not answer.
Failure failureOf(const sd_bus_error& error) {
    return {kUnreachable, std::string("the account service does not answer: ") +
                              (error.message != nullptr ? error.message : "no reason") +
                              "; ssoctl doctor tells more"};
}

}  // namespace

Remote::Remote(const std::string& address, const std::string& state)
    : m_path(service::pathOf(state)) {
    sd_bus* bus = nullptr;
    check(sd_bus_new(&bus));
    m_bus.reset(bus);
    check(sd_bus_set_address(bus, address.c_str()));
    check(sd_bus_set_bus_client(bus, 1));
    check(sd_bus_start(bus));
}

Remote::Result Remote::run(const std::vector<std::string>& words, const std::string& input) {
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_method_call(m_bus.get(), &made, service::kBusName, m_path.c_str(),
                                         bus::control::kName, bus::control::kRun.name));
    const Message call(made);
    check(sd_bus_message_open_container(made, 'a', "s"));
    for (const std::string& word : words) check(sd_bus_message_append(made, "s", word.c_str()));
    check(sd_bus_message_close_container(made));
    check(sd_bus_message_append(made, "s", input.c_str()));
    sd_bus_error error{};
    sd_bus_message* answered = nullptr;
    const int called = sd_bus_call(m_bus.get(), made, 0, &error, &answered);
    const Message answer(answered);
    if (called < 0) {
        const Failure failure = failureOf(error);
        sd_bus_error_free(&error);
        throw failure;
    }
    Result result;
    const char* output = "";
    const char* text = "";
    check(sd_bus_message_read(answered, bus::control::kRun.out, &result.exitCode, &output, &text));
    result.output = output;
    result.error = text;
    return result;
}

int Remote::onEvent(sd_bus_message* signal, void* remote, sd_bus_error* /*error*/) {
    const char* json = nullptr;
    if (sd_bus_message_read(signal, "s", &json) > 0) {
        static_cast<Remote*>(remote)->m_events.emplace_back(json);
    }
    return 0;
}

void Remote::listen() {
    if (m_isListening) return;
    check(sd_bus_match_signal(m_bus.get(), nullptr, service::kBusName, m_path.c_str(),
                              bus::control::kName, bus::control::kEvent, &Remote::onEvent, this));
    m_isListening = true;
    // The service is there, and stays as long as it knows this caller.
    run({"status"}, "");
}

std::optional<Json> Remote::nextEvent(Deadline deadline) {
    using std::chrono::microseconds;
    for (;;) {
        if (!m_events.empty()) {
            Json event = Json::parse(m_events.front(), nullptr, false);
            m_events.pop_front();
            if (event.is_object()) return event;
            continue;
        }
        const int processed = sd_bus_process(m_bus.get(), nullptr);
        check(processed);
        if (processed > 0) continue;
        std::uint64_t wait = UINT64_MAX;
        if (deadline) {
            const auto left = std::chrono::duration_cast<microseconds>(
                *deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) return std::nullopt;
            wait = static_cast<std::uint64_t>(left.count());
        }
        const int waited = sd_bus_wait(m_bus.get(), wait);
        if (waited != -EINTR) check(waited);
    }
}

}  // namespace ssoctl
