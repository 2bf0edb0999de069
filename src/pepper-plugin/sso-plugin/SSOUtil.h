#ifndef SSO_UTIL_H_
#define SSO_UTIL_H_

#include <string>

/// What the client library knows of the signed-in account, as text. Each call asks it afresh; any
/// thread. The empty text means that the value is not available: there is no other sign of failure.
namespace SSOUtil {

/// Login text, authentication token, account UID and GUID, with "?" between them. A field may be
/// empty, and one that holds a "?" is not escaped.
std::string GetSSOState();

/// The account's GUID.
std::string GetSSOGuid();

/// The account's UID.
std::string GetSSOUid();

}  // namespace SSOUtil

#endif
