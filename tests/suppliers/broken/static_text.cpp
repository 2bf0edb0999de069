// A query's text is the library's own.

#include <sso_api.h>

int sso_get_guid(char** guid) {
    static char text[] = "guid-robin";
    *guid = text;
    return SSO_OK;
}
