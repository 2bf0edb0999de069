#ifndef EMBEDDER_TESTS_PRIVILEGES_H_
#define EMBEDDER_TESTS_PRIVILEGES_H_

#include <string>

inline const std::string kPartner = SSO_PRIVILEGE_ORIGIN "/privilege/sso.partner";
inline const std::string kPlatform = SSO_PRIVILEGE_ORIGIN "/privilege/sso.platform";
inline const std::string kPublic = SSO_PRIVILEGE_ORIGIN "/privilege/sso.public";

#endif
