#ifndef ACCOUNT_OPERATION_NAMES_H_
#define ACCOUNT_OPERATION_NAMES_H_

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "account/behaviour.h"

namespace account {

/// All operations, with the functions of the client library, sso_api.h, that start them: so files
/// and people call them.
const std::vector<std::pair<const char*, Operation>>& operationNames();

/// @return nothing when none has that name.
std::optional<Operation> operationNamed(std::string_view name);
const char* nameOf(Operation operation);

}  // namespace account

#endif
