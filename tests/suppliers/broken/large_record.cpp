// A login record of 2,000 bytes.

#include <sso_api.h>

#include <cstring>

int sso_get_login_info(sso_login_info* info) {
    std::memset(static_cast<void*>(info), 0, 2000);
    return SSO_OK;
}
