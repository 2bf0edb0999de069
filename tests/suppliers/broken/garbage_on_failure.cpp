// A query that fails leaves a pointer that is nobody's to free.

#include <sso_api.h>

int sso_get_guid(char** guid) {
    static char text[] = "no memory of the heap";
    *guid = text;
    return SSO_ERROR_UNAVAILABLE;
}
