#include "orders.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include "account/operation_names.h"
#include "sso_api.h"

namespace service {

using account::Operation;

namespace {

/// @return nothing for what is no whole number, or beyond the bounds.
std::optional<std::int64_t> numberIn(const nlohmann::json& object, const char* name,
                                     std::int64_t least, std::int64_t most) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_integer()) return std::nullopt;
    // One that is larger than any number with a sign.
    const bool isHuge = found->is_number_unsigned() && found->get<std::int64_t>() < 0;
    const auto number = found->get<std::int64_t>();
    if (isHuge || number < least || number > most) return std::nullopt;
    return number;
}

}  // namespace

Orders Orders::parse(const std::string& text) {
    Orders orders;
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) return orders;
    for (const auto& [name, value] : json.items()) {
        const auto operation = account::operationNamed(name);
        if (!operation || !value.is_object()) continue;
        Order& order = orders.m_orders[*operation];
        using Int = std::numeric_limits<int>;
        if (const auto failure = numberIn(value, "failure", Int::min(), Int::max())) {
            order.failure = static_cast<int>(*failure);
        }
        order.times = static_cast<int>(numberIn(value, "times", 0, Int::max()).value_or(0));
        order.delay = std::chrono::milliseconds(
            numberIn(value, "delayMs", 0, kLongestDelay.count()).value_or(0));
        order.hangs = value.contains("hangs") && value["hangs"] == true;
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
