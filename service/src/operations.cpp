#include "operations.h"

#include "account/operation_names.h"
#include "verb_tree.h"

namespace service {

using account::Operation;

const std::vector<CommandOperations>& commandOperations() {
    static const std::vector<CommandOperations> all = {
        {"sso_plugin_show_login_page", "showLoginPage", {Operation::ShowLogin}},
        {"sso_plugin_createAccount", "createAccount", {Operation::ShowLogin}},
        {"sso_plugin_getZEVAccessToken", "getAccessToken", {Operation::RequestAccessToken}},
        {"sso_plugin_showTermsPage", "showTermsPage", {Operation::ShowTerms}},
        {"sso_plugin_getPartnerAccountMappingList",
         "listPartnerAccounts",
         {Operation::ListMappings}},
        {"sso_plugin_addPartnerAccountMappingInfo", "addPartnerAccount", {Operation::AddMapping}},
        {"sso_plugin_removePartnerAccountMappingInfo",
         "removePartnerAccount",
         {Operation::RemoveMapping}},
        {"sso_plugin_getVersion", "getVersion", {}},
        {"sso_plugin_getSSOState",
         "getSSOState",
         {Operation::GetLoginInfo, Operation::GetAuthToken, Operation::GetGuid}},
        {"sso_plugin_getGuid", "getGuid", {Operation::GetGuid}},
        {"sso_plugin_getLoginStatus", "getLoginStatus", {Operation::GetLoginState}},
        {"sso_plugin_getLoginUid", "getLoginUid", {Operation::GetLoginInfo}},
        {"sso_plugin_getTermsAgreementState", "getTermsAgreement", {Operation::GetTermState}},
    };
    return all;
}

std::vector<Operation> operationsFrom(const std::string& word) {
    if (const auto operation = account::operationNamed(word)) return {*operation};
    if (word == "all") {
        std::vector<Operation> all;
        for (const auto& [name, operation] : account::operationNames()) all.push_back(operation);
        return all;
    }
    for (const CommandOperations& one : commandOperations()) {
        if (word != one.shortName && word != one.command && "sso_plugin_" + word != one.command) {
            continue;
        }
        if (one.operations.empty()) {
            throw Refused(word + " asks nothing of the account service: it cannot fail");
        }
        return one.operations;
    }
    std::string known;
    for (const CommandOperations& one : commandOperations()) {
        if (!one.operations.empty()) known += std::string(one.shortName) + ", ";
    }
    throw Refused("no such operation; there are " + known + "all, and the functions of sso_api.h");
}

}  // namespace service
