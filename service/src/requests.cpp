#include "requests.h"

#include <cstdio>
#include <utility>

#include "account/operation_names.h"
#include "sso_api.h"

namespace service {
namespace {

using std::chrono::milliseconds;

/// After which an operation that was ordered to hang is given up.
constexpr milliseconds kLongestHang{60000};

Requests::Work failing(int result) {
    return [result] { return Answer{result, {}}; };
}

std::string ownerOf(sd_bus_message* call) {
    const char* owner = sd_bus_message_get_sender(call);
    return owner != nullptr ? owner : "";
}

void append(sd_bus_message* message, const std::variant<int, std::string>& value) {
    if (const int* number = std::get_if<int>(&value)) {
        sd_bus_message_append(message, "i", *number);
    } else {
        sd_bus_message_append(message, "s", std::get<std::string>(value).c_str());
    }
}

}  // namespace

void reply(sd_bus_message* call, const bus::Method& method, const Answer& answer) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_return(call, &made) < 0) return;
    const Message message(made);
    sd_bus_message_append(made, "i", answer.result);
    std::size_t next = 0;
    for (const char* type = method.out + 1; *type != '\0'; ++type, ++next) {
        if (next < answer.values.size()) {
            append(made, answer.values[next]);
        } else if (*type == 's') {
            append(made, std::string());
        } else {
            append(made, 0);
        }
    }
    sd_bus_send(nullptr, made, nullptr);
}

void Requests::start(sd_bus_message* call, const bus::Method& method, account::Operation operation,
                     milliseconds delay, Work work) {
    const auto failure = m_state.takeFailure(operation, false);
    if (failure) work = failing(*failure);
    delay += m_state.orders().delayOf(operation);
    if (m_state.orders().hangs(operation)) {
        delay = kLongestHang;
        work = failing(SSO_ERROR_UNAVAILABLE);
    }
    Request request{Message(sd_bus_message_ref(call)),
                    method,
                    operation,
                    m_state.now(),
                    std::move(work),
                    Timer()};
    if (delay.count() == 0) {
        finish(request, request.work);
        return;
    }
    m_requests.push_back(std::move(request));
    const auto self = std::prev(m_requests.end());
    self->timer = m_state.world().loop().after(delay, [this, self] { end(self, self->work); });
}

void Requests::end(List::iterator request, const Work& work) {
    List done;
    done.splice(done.begin(), m_requests, request);
    finish(done.front(), work);
}

void Requests::finish(const Request& request, const Work& work) {
    Answer answer{SSO_ERROR_UNAVAILABLE, {}};
    try {
        answer = work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ssod: %s\n", error.what());
    }
    reply(request.call.get(), request.method, answer);
    m_state.tell({{"event", "operation"},
                  {"operation", account::nameOf(request.operation)},
                  {"result", answer.result},
                  {"ms", m_state.now() - request.begin}});
}

void Requests::cancel(const std::string& owner) {
    for (auto request = m_requests.begin(); request != m_requests.end();) {
        const auto current = request++;
        if (ownerOf(current->call.get()) == owner) end(current, failing(SSO_ERROR_CANCELLED));
    }
}

void Requests::cancelAll() {
    while (!m_requests.empty()) end(m_requests.begin(), failing(SSO_ERROR_CANCELLED));
}

void Requests::forget(const std::string& owner) {
    m_requests.remove_if(
        [&](const Request& request) { return ownerOf(request.call.get()) == owner; });
}

}  // namespace service
