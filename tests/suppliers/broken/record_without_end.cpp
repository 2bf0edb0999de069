// A login record whose second text has no end.

#include <cstring>

#include <sso_api.h>

int sso_get_login_info(sso_login_info* info) {
    std::memset(static_cast<void*>(info), 'x', 1408);
    info->login_id[0] = '\0';
    return SSO_OK;
}
