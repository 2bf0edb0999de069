#include "sso_account_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "account_value.h"

namespace sso_api {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1024} * 1024;
constexpr int kLongestDelayMs = 600000;
/// Of sso_api.h. sso_give_proxy cannot fail.
constexpr const char* kFunctions[] = {
    "sso_show",
    "sso_show_term_page",
    "sso_request_access_token",
    "sso_get_cp_account_mapping_list",
    "sso_add_cp_account_mapping_info",
    "sso_remove_cp_account_mapping_info",
    "sso_get_login_state",
    "sso_get_term_state",
    "sso_get_login_info",
    "sso_get_guid",
    "sso_get_auth_token",
};

using Value = AccountValue;
constexpr auto kOptional = Value::Member::Optional;
constexpr auto kRequired = Value::Member::Required;

Identity identity(const Value& value) {
    // Both have to fit into sso_login_info, with their NUL.
    constexpr std::size_t kLongestLoginId = sizeof(sso_login_info::login_id) - 1;
    constexpr std::size_t kLongestUid = sizeof(sso_login_info::uid) - 1;
    Identity identity;
    value.object({
        {"loginId", kRequired,
         [&](const Value& text) { identity.loginId = text.text(kLongestLoginId); }},
        {"uid", kRequired, [&](const Value& text) { identity.uid = text.text(kLongestUid); }},
        {"guid", kRequired, [&](const Value& text) { identity.guid = text.text(); }},
        {"authToken", kRequired, [&](const Value& text) { identity.authToken = text.text(); }},
    });
    return identity;
}

std::chrono::milliseconds delay(const Value& value) {
    return std::chrono::milliseconds(value.wholeNumber(kLongestDelayMs));
}

sso_popup_state_e popupState(const Value& value) {
    const std::string& name = value.text();
    if (name == "completed") {
        return SSO_POPUP_COMPLETED;
    }
    if (name == "closed") {
        return SSO_POPUP_CLOSED;
    }
    if (name == "failed") {
        return SSO_POPUP_FAILED;
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

const std::string& function(const Value& value) {
    const std::string& name = value.text();
    if (std::find(std::begin(kFunctions), std::end(kFunctions), name) == std::end(kFunctions)) {
        value.fail("must be the name of a function of sso_api.h that can fail");
    }
    return name;
}

AccountFile accountFile(const Value& whole) {
    AccountFile file;
    std::optional<Value> signedIn;
    std::set<Mapping> mappings;
    whole.object({
        {"$schema", kOptional, [](const Value& value) { value.text(); }},
        {"account", kOptional, [&](const Value& value) { file.identity = identity(value); }},
        {"signedIn", kOptional, [&](const Value& value) { signedIn.emplace(value); }},
        {"popups", kOptional,
         [&](const Value& value) {
             value.object({
                 {"login", kOptional, [&](const Value& one) { file.login = popup(one); }},
                 {"createAccount", kOptional,
                  [&](const Value& one) { file.createAccount = popup(one); }},
                 {"terms", kOptional, [&](const Value& one) { file.terms = popup(one); }},
             });
         }},
        {"requestDelayMs", kOptional,
         [&](const Value& value) { file.requestDelay = delay(value); }},
        {"clients", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) { addClient(one, file.clients); });
         }},
        {"mappings", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) {
                 file.mappings.push_back(mapping(one));
                 if (!mappings.insert(file.mappings.back()).second) {
                     one.fail("is there twice");
                 }
             });
         }},
        {"terms", kOptional,
         [&](const Value& value) {
             value.dictionary([&](const std::string& id, const Value& one) {
                 file.agreements[id] = isAgreed(one);
             });
         }},
        {"unavailable", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) { file.unavailable.insert(function(one)); });
         }},
    });
    file.signedIn = signedIn ? signedIn->boolean() : file.identity.has_value();
    if (file.signedIn && !file.identity) {
        signedIn->fail("must not be true without an account");
    }
    return file;
}

std::string contentOf(const std::string& path) {
    namespace fs = std::filesystem;
    const auto fail = [&](const std::string& what) { throw AccountFileError(path + ": " + what); };
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        fail("no such file");
    }
    // A folder opens like a file and only then fails to read; a pipe would block.
    if (!error && !fs::is_regular_file(status)) {
        fail("is not a file");
    }
    std::ifstream file(path, std::ios::binary);
    std::string content(kLargestFile + 1, '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.is_open() || file.bad()) {
        fail("cannot be read");
    }
    content.resize(static_cast<std::size_t>(file.gcount()));
    if (content.size() > kLargestFile) {
        fail("is larger than 1 MiB");
    }
    return content;
}

}  // namespace

AccountFile readAccountFile(const std::string& path) {
    return parseAccountFile(contentOf(path), path);
}

AccountFile parseAccountFile(std::string_view json, const std::string& name) {
    try {
        return accountFile({name, parseJson(json)});
    } catch (const JsonError& error) {
        throw AccountFileError(name + ":" + std::to_string(error.line) + ": " + error.what());
    }
}

}  // namespace sso_api
