#ifndef SSOCTL_DOCTOR_H_
#define SSOCTL_DOCTOR_H_

#include <filesystem>
#include <string>

namespace ssoctl {

/// Prints what runs, where, and what is wrong with its cure.
///
/// @param ssod  the service's program.
/// @return whether all is well.
bool examine(const std::filesystem::path& ssod, const std::string& state, bool json);

}  // namespace ssoctl

#endif
