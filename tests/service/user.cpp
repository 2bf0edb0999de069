// Adds mappings until it is ended.

#include <string>

#include "sso_api.h"

int main() {
    for (int i = 0;; ++i) {
        const std::string user = "user-" + std::to_string(i);
        sso_add_cp_account_mapping_info(
            "app", "partner", user.c_str(), [](void*, int) { return 0; }, nullptr);
    }
}
