#include "account/operation_names.h"

#include <algorithm>

namespace account {

const std::vector<std::pair<const char*, Operation>>& operationNames() {
    static const std::vector<std::pair<const char*, Operation>> names = {
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
    return names;
}

std::optional<Operation> operationNamed(std::string_view name) {
    for (const auto& [known, operation] : operationNames()) {
        if (known == name) return operation;
    }
    return std::nullopt;
}

const char* nameOf(Operation operation) {
    const auto& names = operationNames();
    return std::find_if(names.begin(), names.end(),
                        [&](const auto& known) { return known.second == operation; })
        ->first;
}

}  // namespace account
