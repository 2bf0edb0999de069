#ifndef QUALIFICATION_PROBE_H_
#define QUALIFICATION_PROBE_H_

#include <string>
#include <vector>

#include "module_file.h"

/// One load of the module, in a process that may crash and hang.
namespace qualification {

/// Where the module's suppliers are looked for.
struct Suppliers {
    std::string standIns;  ///< the folder with the stand-ins
    std::string versions;  ///< an empty folder, which gets their names with a version
};

/// Gives the stand-ins the names with a version that the module needs them by, "libdlog.so.0".
///
/// @return what LD_LIBRARY_PATH has to be for the module.
std::string libraryPath(const ModuleFile& file, const Suppliers& suppliers);

/// Loads the module once, in a child process.
///
/// @param environment  "NAME=value", for the child.
/// @throws Refusal  when it crashes, hangs or cannot be loaded.
void checkLoading(const std::string& module, const std::vector<std::string>& needed,
                  const std::vector<std::string>& environment);

/// Asks the module for its version, in a child process: "" when it does not answer.
std::string askVersion(const std::string& module, const std::vector<std::string>& environment);

}  // namespace qualification

#endif
