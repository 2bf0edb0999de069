// The login state is written as if it were twice as wide.

#include <sso_api.h>

int sso_get_login_state(int* state) {
    state[0] = SSO_LOGIN_STATE_SIGNED_IN;
    state[1] = 0;
    return SSO_OK;
}
