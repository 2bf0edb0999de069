// In a build without the account service: the account is that of a file.

#include "service_backend.h"

namespace sso_api {

ServiceBackend* ServiceBackend::instance() { return nullptr; }

}  // namespace sso_api
