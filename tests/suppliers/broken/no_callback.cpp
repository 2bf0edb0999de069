// An operation starts and never calls back.

#include <sso_api.h>

int sso_request_access_token(const char*, const char*, sso_text_callback, void*) { return SSO_OK; }
