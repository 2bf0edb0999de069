// The operations that ask the account service for something.

#include <string>

#include "sso_api.h"
#include "start.h"

using namespace sso_api;

namespace {

auto to(sso_text_callback callback, void* userData) noexcept {
    return [=](const Outcome& outcome) {
        return callback(userData, outcome.result, outcome.text.get());
    };
}

auto to(sso_result_callback callback, void* userData) noexcept {
    return [=](const Outcome& outcome) { return callback(userData, outcome.result); };
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return start(
        {"sso_request_access_token",
         nullptr,
         0,
         {client_id, client_secret},
         untyped(callback),
         user_data},
        2,
        [&](const Account& account) -> Ending {
            return {account.requestDelay(),
                    [id = std::string(client_id), secret = std::string(client_secret)](
                        Account& later) { return later.accessToken(id, secret); }};
        },
        to(callback, user_data));
}

int sso_get_cp_account_mapping_list(const char* app_id, const char* cp_name,
                                    sso_text_callback callback, void* user_data) {
    return start(
        {"sso_get_cp_account_mapping_list",
         nullptr,
         0,
         {app_id, cp_name},
         untyped(callback),
         user_data},
        2,
        [&](const Account& account) -> Ending {
            return {account.requestDelay(),
                    [app = std::string(app_id), cp = std::string(cp_name)](Account& later) {
                        return later.listMappings(app, cp);
                    }};
        },
        to(callback, user_data));
}

int sso_add_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                    sso_result_callback callback, void* user_data) {
    return start(
        {"sso_add_cp_account_mapping_info",
         nullptr,
         0,
         {app_id, cp_name, cp_uid},
         untyped(callback),
         user_data},
        3,
        [&](const Account& account) -> Ending {
            return {account.requestDelay(),
                    [mapping = Mapping{app_id, cp_name, cp_uid}](Account& later) {
                        return later.addMapping(mapping);
                    }};
        },
        to(callback, user_data));
}

int sso_remove_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                       sso_result_callback callback, void* user_data) {
    return start(
        {"sso_remove_cp_account_mapping_info",
         nullptr,
         0,
         {app_id, cp_name, cp_uid},
         untyped(callback),
         user_data},
        3,
        [&](const Account& account) -> Ending {
            return {account.requestDelay(),
                    [mapping = Mapping{app_id, cp_name, cp_uid}](Account& later) {
                        return later.removeMapping(mapping);
                    }};
        },
        to(callback, user_data));
}
