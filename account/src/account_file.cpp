#include "account/account_file.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace account {
namespace {

constexpr int kLongestDelayMs = 600000;
/// A file names the operations that fail by the functions of the client library, sso_api.h.
constexpr std::pair<const char*, Operation> kOperations[] = {
    {"sso_show", Operation::ShowLogin},
    {"sso_show_term_page", Operation::ShowTerms},
    {"sso_request_access_token", Operation::RequestAccessToken},
    {"sso_get_cp_account_mapping_list", Operation::ListMappings},
    {"sso_add_cp_account_mapping_info", Operation::AddMapping},
    {"sso_remove_cp_account_mapping_info", Operation::RemoveMapping},
    {"sso_get_login_state", Operation::GetLoginState},
    {"sso_get_term_state", Operation::GetTermState},
    {"sso_get_login_info", Operation::GetLoginInfo},
    {"sso_get_guid", Operation::GetGuid},
    {"sso_get_auth_token", Operation::GetAuthToken},
};

using Value = base::FileValue;
constexpr auto kOptional = Value::Member::Optional;
constexpr auto kRequired = Value::Member::Required;

Identity identity(const Value& value) {
    Identity identity;
    value.object({
        {"loginId", kRequired,
         [&](const Value& text) { identity.loginId = text.text(kLongestId); }},
        {"uid", kRequired, [&](const Value& text) { identity.uid = text.text(kLongestId); }},
        {"guid", kRequired, [&](const Value& text) { identity.guid = text.text(); }},
        {"authToken", kRequired, [&](const Value& text) { identity.authToken = text.text(); }},
    });
    return identity;
}

std::chrono::milliseconds delay(const Value& value) {
    return std::chrono::milliseconds(value.wholeNumber(kLongestDelayMs));
}

PopupState popupState(const Value& value) {
    const std::string& name = value.text();
    if (name == "completed") {
        return PopupState::Completed;
    }
    if (name == "closed") {
        return PopupState::Closed;
    }
    if (name == "failed") {
        return PopupState::Failed;
    }
    value.fail(R"(must be "completed", "closed" or "failed")");
}

Popup popup(const Value& value) {
    Popup popup;
    value.object({
        {"state", kOptional, [&](const Value& state) { popup.state = popupState(state); }},
        {"delayMs", kOptional, [&](const Value& number) { popup.delay = delay(number); }},
    });
    return popup;
}

void addClient(const Value& value, std::map<std::string, Client>& clients) {
    std::string id;
    Client client;
    value.object({
        {"id", kRequired,
         [&](const Value& text) {
             id = text.text();
             if (clients.count(id) != 0) {
                 text.fail("is the id of another client, too");
             }
         }},
        {"secret", kRequired, [&](const Value& text) { client.secret = text.text(); }},
        {"token", kRequired, [&](const Value& text) { client.token = text.text(); }},
    });
    clients.emplace(std::move(id), std::move(client));
}

Mapping mapping(const Value& value) {
    Mapping mapping;
    value.object({
        {"appID", kRequired, [&](const Value& text) { mapping.appId = text.filledText(); }},
        {"cpName", kRequired, [&](const Value& text) { mapping.cpName = text.filledText(); }},
        {"cpUID", kRequired, [&](const Value& text) { mapping.cpUid = text.filledText(); }},
    });
    return mapping;
}

bool isAgreed(const Value& value) {
    const std::string& name = value.text();
    if (name != "agreed" && name != "notAgreed") {
        value.fail(R"(must be "agreed" or "notAgreed")");
    }
    return name == "agreed";
}

Operation operation(const Value& value) {
    const std::string& name = value.text();
    const auto* found = std::find_if(std::begin(kOperations), std::end(kOperations),
                                     [&](const auto& known) { return known.first == name; });
    if (found == std::end(kOperations)) {
        value.fail("must be the name of a function of sso_api.h that can fail");
    }
    return found->second;
}

void readPopups(const Value& value, Behaviour& behaviour) {
    value.object({
        {"login", kOptional, [&](const Value& one) { behaviour.login = popup(one); }},
        {"createAccount", kOptional,
         [&](const Value& one) { behaviour.createAccount = popup(one); }},
        {"terms", kOptional, [&](const Value& one) { behaviour.terms = popup(one); }},
    });
}

Description description(const Value& whole) {
    Description read;
    std::optional<Value> signedIn;
    whole.object({
        {"$schema", kOptional, [](const Value& value) { value.text(); }},
        {"account", kOptional, [&](const Value& value) { read.identity = identity(value); }},
        {"signedIn", kOptional, [&](const Value& value) { signedIn.emplace(value); }},
        {"popups", kOptional, [&](const Value& value) { readPopups(value, read.behaviour); }},
        {"requestDelayMs", kOptional,
         [&](const Value& value) { read.behaviour.requestDelay = delay(value); }},
        {"clients", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) { addClient(one, read.clients); });
         }},
        {"mappings", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) {
                 if (!read.mappings.add(mapping(one))) {
                     one.fail("is there twice");
                 }
             });
         }},
        {"terms", kOptional,
         [&](const Value& value) {
             value.dictionary([&](const std::string& id, const Value& one) {
                 read.agreements[id] = isAgreed(one);
             });
         }},
        {"unavailable", kOptional,
         [&](const Value& value) {
             value.array(
                 [&](const Value& one) { read.behaviour.unavailable.insert(operation(one)); });
         }},
    });
    read.signedIn = signedIn ? signedIn->boolean() : read.identity.has_value();
    if (read.signedIn && !read.identity) {
        signedIn->fail("must not be true without an account");
    }
    return read;
}

}  // namespace

Description readAccountFile(const std::string& path) {
    return parseAccountFile(base::readFile(path), path);
}

Description parseAccountFile(std::string_view json, const std::string& name) {
    Description read;
    Value::readAll(name, json, [&](const Value& whole) { read = description(whole); });
    return read;
}

}  // namespace account
