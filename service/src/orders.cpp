#include "orders.h"

#include <nlohmann/json.hpp>

#include "account/operation_names.h"
#include "sso_api.h"

namespace service {

using account::Operation;

Orders Orders::parse(const std::string& text) {
    Orders orders;
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) return orders;
    for (const auto& [name, value] : json.items()) {
        const auto operation = account::operationNamed(name);
        if (!operation || !value.is_object()) continue;
        Order& order = orders.m_orders[*operation];
        if (value.contains("failure")) {
            order.failure = value.value("failure", SSO_ERROR_UNAVAILABLE);
        }
        order.times = value.value("times", 0);
        order.delay = std::chrono::milliseconds(value.value("delayMs", 0));
        order.hangs = value.value("hangs", false);
    }
    return orders;
}

std::string Orders::asJson() const {
    nlohmann::json json = nlohmann::json::object();
    for (const auto& [operation, order] : m_orders) {
        nlohmann::json& one = json[account::nameOf(operation)] = nlohmann::json::object();
        if (order.failure) {
            one["failure"] = *order.failure;
            one["times"] = order.times;
        }
        if (order.delay.count() != 0) one["delayMs"] = order.delay.count();
        if (order.hangs) one["hangs"] = true;
    }
    return json.dump();
}

void Orders::fail(Operation operation, int code, int times) {
    Order& order = m_orders[operation];
    order.failure = code;
    order.times = times;
}

void Orders::delay(Operation operation, std::chrono::milliseconds time) {
    m_orders[operation].delay = time;
}

void Orders::hang(Operation operation) { m_orders[operation].hangs = true; }

std::optional<int> Orders::takeFailure(Operation operation, bool start) {
    const auto found = m_orders.find(operation);
    if (found == m_orders.end()) return std::nullopt;
    Order& order = found->second;
    if (!order.failure || (*order.failure == SSO_ERROR_NOT_STARTED) != start) return std::nullopt;
    const int failure = *order.failure;
    if (order.times > 0 && --order.times == 0) order.failure.reset();
    return failure;
}

std::chrono::milliseconds Orders::delayOf(Operation operation) const {
    const auto found = m_orders.find(operation);
    return found != m_orders.end() ? found->second.delay : std::chrono::milliseconds(0);
}

bool Orders::hangs(Operation operation) const {
    const auto found = m_orders.find(operation);
    return found != m_orders.end() && found->second.hangs;
}

}  // namespace service
