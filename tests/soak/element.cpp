#include "element.h"

#include <sstream>

namespace soak {
namespace {

using host::Value;

constexpr std::size_t kClients = 10;

std::string clientOf(std::size_t number) { return "client-" + std::to_string(number % kClients); }

std::string tokenOf(std::size_t number) { return "token-" + std::to_string(number % kClients); }

bool takeOne(std::size_t& awaited) {
    if (awaited == 0) return false;
    --awaited;
    return true;
}

std::string shown(const Value& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

}  // namespace

Value Element::next() {
    const std::lock_guard lock(m_mutex);
    const std::size_t number = m_count++;
    if (number % 8 == 3) {
        ++m_complaints;
        return Value("no request");
    }
    if (number % 8 == 6) {
        ++m_refusals;
        return Value::Dictionary{{"command", "sso_plugin_getNothing"}};
    }
    m_tokens.push_back(tokenOf(number));
    return Value::Dictionary{{"command", "sso_plugin_getZEVAccessToken"},
                             {"id", clientOf(number)},
                             {"secret", "secret of " + clientOf(number)}};
}

std::string Element::take(const Value& answer, bool inOrder) {
    const std::lock_guard lock(m_mutex);
    if (answer == Value(Value::Dictionary{{"command", "sso_plugin_getNothing"},
                                          {"status", 18},
                                          {"errorName", "PrivilegeInvalid"},
                                          {"errorMessage", "You do not have the privilege"}})) {
        return takeOne(m_refusals) ? "" : "a refusal too much";
    }
    if (answer == Value(Value::Dictionary{{"status", -1},
                                          {"errorName", "paramInvaild"},
                                          {"errorMessage", "Incoming message is invalid"}})) {
        return takeOne(m_complaints) ? "" : "a complaint too much";
    }
    if (answer["token"].isString() &&
        answer == Value(Value::Dictionary{{"command", "sso_plugin_getZEVAccessToken"},
                                          {"status", 0},
                                          {"token", answer["token"]}})) {
        return takeToken(answer["token"].asString(), inOrder);
    }
    return "an answer to nothing: " + shown(answer);
}

std::string Element::takeToken(const std::string& token, bool inOrder) {
    if (m_tokens.empty()) return "a token too much: " + token;
    const std::string wanted = m_tokens.front();
    m_tokens.pop_front();
    return token == (inOrder ? wanted : kAnyToken) ? "" : token + " in the place of " + wanted;
}

std::size_t Element::outstanding() const {
    const std::lock_guard lock(m_mutex);
    return m_tokens.size() + m_refusals + m_complaints;
}

std::string accountOfElements() {
    std::string clients;
    for (std::size_t i = 0; i < kClients; ++i) {
        clients += std::string(i > 0 ? ", " : "") + R"({"id": ")" + clientOf(i) +
                   R"(", "secret": "secret of )" + clientOf(i) + R"(", "token": ")" + tokenOf(i) +
                   "\"}";
    }
    return R"({"account": {"loginId": "soak", "uid": "uid-soak", "guid": "guid-soak", "authToken": "auth"},
               "clients": [)" +
           clients + "]}";
}

}  // namespace soak
