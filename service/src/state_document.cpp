#include "state_document.h"

#include "account/account_file.h"
#include "verb_tree.h"

namespace service {

StateDocument parseState(const std::string& text, const std::string& name) {
    const Json json = Json::parse(text, nullptr, false);
    // An account file tells its mistakes itself, with their lines.
    if (!json.is_object() || !json.contains("device")) {
        return {account::parseAccountFile(text, name), Orders(), {}};
    }
    StateDocument document;
    for (const auto& [member, value] : json.items()) {
        if (member == "device") {
            document.device = account::parseAccountFile(value.dump(2), name + ": device");
        } else if (member == "orders" && value.is_object()) {
            document.orders = Orders::parse(value.dump());
            if (Json::parse(document.orders.asJson()).size() != value.size()) {
                throw Refused(name + ": orders has a member that is no function of sso_api.h");
            }
        } else if (member == "clockAdvancedMs" && value.is_number_unsigned()) {
            if (value.get<std::uint64_t>() > static_cast<std::uint64_t>(kLatestClock.count())) {
                throw Refused(name + ": clockAdvancedMs is more than a hundred years");
            }
            document.clock = std::chrono::milliseconds(value.get<std::int64_t>());
        } else if (member != "about") {
            throw Refused(std::string(name).append(": ").append(member).append(
                " is none of its members, or of another type"));
        }
    }
    return document;
}

StateDocument documentOf(State& state) {
    return {state.account().description(), state.orders(), state.clockOffset()};
}

Json asJson(const StateDocument& document) {
    return {{"device", Json::parse(account::toJson(document.device))},
            {"orders", Json::parse(document.orders.asJson())},
            {"clockAdvancedMs", document.clock.count()}};
}

}  // namespace service
