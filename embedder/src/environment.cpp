#include "embedder/environment.h"

#include <stdlib.h>

namespace embedder {

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void prepareEnvironment(const Options& options) {
    // Without --log, a level that the user has set counts.
    setenv("DLOG_LEVEL", options.log ? "detail" : "silent", options.log ? 1 : 0);
    if (!options.account.empty()) setenv("SSO_ACCOUNT_FILE", options.account.c_str(), 1);
}

}  // namespace embedder
