#include <nlohmann/json.hpp>

#include "account/account_file.h"
#include "account/operation_names.h"

namespace account {
namespace {

using Json = nlohmann::ordered_json;

Json profile(const Profile& profile) {
    Json json = {{"loginId", profile.identity.loginId},
                 {"uid", profile.identity.uid},
                 {"guid", profile.identity.guid},
                 {"authToken", profile.identity.authToken}};
    if (!profile.displayName.empty()) json["displayName"] = profile.displayName;
    if (!profile.password.empty()) json["password"] = profile.password;
    return json;
}

Json mappings(const Mappings& mappings) {
    Json list = Json::array();
    for (const Mapping& mapping : mappings.all()) {
        list.push_back(
            {{"appID", mapping.appId}, {"cpName", mapping.cpName}, {"cpUID", mapping.cpUid}});
    }
    return list;
}

Json popup(const Popup& popup) {
    const char* state = popup.state == PopupState::Closed   ? "closed"
                        : popup.state == PopupState::Failed ? "failed"
                                                            : "completed";
    return {{"state", state}, {"delayMs", popup.delay.count()}};
}

Json terms(const Description& description) {
    Json all = Json::object();
    for (const auto& [id, document] : description.terms) {
        Json& json = all[id] = {{"version", document.version}};
        if (!document.title.empty()) json["title"] = document.title;
        if (!document.text.empty()) json["text"] = document.text;
        if (description.profiles.empty()) continue;
        const auto& agreements = description.profiles.front().agreements;
        const auto agreed = agreements.find(id);
        if (agreed != agreements.end()) json["agreedVersion"] = agreed->second;
    }
    return all;
}

Json clients(const Description& description) {
    Json list = Json::array();
    for (const auto& [id, client] : description.clients) {
        Json json = {{"id", id}, {"secret", client.secret}, {"token", client.token}};
        if (client.lifetime) json["lifetimeSeconds"] = *client.lifetime / 1000;
        list.push_back(std::move(json));
    }
    return list;
}

Json tokens(const Description& description) {
    Json list = Json::array();
    for (const Profile& profile : description.profiles) {
        for (const auto& [client, token] : profile.tokens) {
            Json json = {{"loginId", profile.identity.loginId},
                         {"client", client},
                         {"token", token.text},
                         {"number", token.number}};
            if (token.expiry) json["expiry"] = *token.expiry;
            list.push_back(std::move(json));
        }
    }
    return list;
}

Json behaviourOf(const Behaviour& behaviour, Json json) {
    Json popups = Json::object();
    if (behaviour.login) popups["login"] = popup(*behaviour.login);
    if (behaviour.createAccount) popups["createAccount"] = popup(*behaviour.createAccount);
    if (behaviour.terms) popups["terms"] = popup(*behaviour.terms);
    if (!popups.empty()) json["popups"] = popups;
    if (behaviour.requestDelay.count() != 0) {
        json["requestDelayMs"] = behaviour.requestDelay.count();
    }
    if (!behaviour.unavailable.empty()) {
        Json& list = json["unavailable"] = Json::array();
        for (const Operation operation : behaviour.unavailable) list.push_back(nameOf(operation));
    }
    return json;
}

}  // namespace

std::string toJson(const Description& description) {
    Json json = Json::object();
    if (!description.profiles.empty()) {
        json["account"] = profile(description.profiles.front());
        for (std::size_t i = 1; i < description.profiles.size(); ++i) {
            Json further = profile(description.profiles[i]);
            further["mappings"] = mappings(description.profiles[i].mappings);
            further["agreements"] = description.profiles[i].agreements;
            json["accounts"].push_back(std::move(further));
        }
    }
    json["signedIn"] = description.signedIn.has_value();
    if (description.signedIn) json["signedInAs"] = *description.signedIn;
    json["clients"] = clients(description);
    if (!description.profiles.empty()) {
        json["mappings"] = mappings(description.profiles.front().mappings);
    }
    json["terms"] = terms(description);
    json["tokens"] = tokens(description);
    return behaviourOf(description.behaviour, std::move(json))
        .dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace account
