// The operations that ask the account service for something.

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "sso_api.h"
#include "start.h"
#include "translation.h"

using namespace sso_api;
using account::Account;
using account::Behaviour;
using account::Operation;
using account::Outcome;
using account::Result;

namespace {

CallbackArguments told(Outcome outcome) {
    CallbackArguments arguments;
    arguments.result = resultOf(outcome);
    return arguments;
}

CallbackArguments told(const Result<std::string>& text) {
    CallbackArguments arguments = told(text.outcome);
    if (text.outcome == Outcome::Ok) {
        arguments.text = copyForC(text.value.c_str());
    }
    return arguments;
}

CallbackArguments told(const Result<std::vector<account::Mapping>>& mappings) {
    return told(Result<std::string>{mappings.outcome, toJson(mappings.value)});
}

auto to(sso_text_callback callback, void* userData) noexcept {
    return [=](const CallbackArguments& arguments) {
        return callback(userData, arguments.result, arguments.text.get());
    };
}

auto to(sso_result_callback callback, void* userData) noexcept {
    return [=](const CallbackArguments& arguments) { return callback(userData, arguments.result); };
}

/// @param ask  what is made of the account and the texts when the request ends: an Outcome or a
///             Result.
template <typename Callback, typename Ask>
int request(Operation operation, const char* function, std::initializer_list<const char*> texts,
            Callback callback, void* userData, Ask ask) noexcept {
    SsoApiCall call{function, nullptr, 0, {}, untyped(callback), userData};
    std::copy(texts.begin(), texts.end(), call.texts);
    return start(
        operation, call, texts.size(),
        [=](const Behaviour& behaviour) -> Ending {
            return {behaviour.requestDelay,
                    [=](Account& later, const Texts& copies) { return told(ask(later, copies)); }};
        },
        to(callback, userData));
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return request(Operation::RequestAccessToken, "sso_request_access_token",
                   {client_id, client_secret}, callback, user_data,
                   [](Account& account, const Texts& texts) {
                       // A file has no clock: its tokens stay.
                       return account.accessToken(texts[0], texts[1], 0);
                   });
}

int sso_get_cp_account_mapping_list(const char* app_id, const char* cp_name,
                                    sso_text_callback callback, void* user_data) {
    return request(Operation::ListMappings, "sso_get_cp_account_mapping_list", {app_id, cp_name},
                   callback, user_data, [](const Account& account, const Texts& texts) {
                       return account.mappings(texts[0], texts[1]);
                   });
}

int sso_add_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                    sso_result_callback callback, void* user_data) {
    return request(Operation::AddMapping, "sso_add_cp_account_mapping_info",
                   {app_id, cp_name, cp_uid}, callback, user_data,
                   [](Account& account, const Texts& texts) {
                       return account.addMapping({texts[0], texts[1], texts[2]});
                   });
}

int sso_remove_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                       sso_result_callback callback, void* user_data) {
    return request(Operation::RemoveMapping, "sso_remove_cp_account_mapping_info",
                   {app_id, cp_name, cp_uid}, callback, user_data,
                   [](Account& account, const Texts& texts) {
                       return account.removeMapping({texts[0], texts[1], texts[2]});
                   });
}
