#include "probe.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "child.h"
#include "process.h"
#include "verdict.h"

namespace qualification {
namespace {

constexpr std::chrono::seconds kLimit{5};

support::ProcessResult child(const std::vector<std::string>& words,
                             const std::vector<std::string>& environment) {
    support::ProcessOptions options;
    options.environment = environment;
    options.timeout = kLimit;
    return support::runProcess(childCommand(words), options);
}

void refuseToHangOrCrash(const support::ProcessResult& result, const std::string& when) {
    if (result.timedOut) {
        throw Refusal(Verdict::HangsAtLoad, "hangs while it is " + when + ": not done after " +
                                                std::to_string(kLimit.count()) + " seconds");
    }
    if (result.signal != 0) {
        throw Refusal(Verdict::CrashesAtLoad,
                      "crashes while it is " + when + ": " + strsignal(result.signal));
    }
}

}  // namespace

std::string libraryPath(const ModuleFile& file, const Suppliers& suppliers) {
    for (const std::string& soname : file.needed) {
        const std::size_t end = soname.find(".so.");
        if (end == std::string::npos) continue;
        const std::filesystem::path standIn =
            std::filesystem::path(suppliers.standIns) / soname.substr(0, end + 3);
        if (!std::filesystem::exists(standIn)) continue;
        std::filesystem::create_symlink(standIn,
                                        std::filesystem::path(suppliers.versions) / soname);
    }
    const char* others = std::getenv("LD_LIBRARY_PATH");
    return suppliers.standIns + ":" + suppliers.versions +
           (others != nullptr && *others != '\0' ? std::string(":") + others : "");
}

void checkLoading(const std::string& module, const std::vector<std::string>& needed,
                  const std::vector<std::string>& environment) {
    const support::ProcessResult result = child({kLoad, module}, environment);
    refuseToHangOrCrash(result, result.output == "loaded" ? "unloaded" : "loaded");
    if (result.exitCode == 0) return;
    std::vector<std::string> words = {kMissing};
    words.insert(words.end(), needed.begin(), needed.end());
    const support::ProcessResult missing = child(words, environment);
    refuseToHangOrCrash(missing, "loaded");
    throw Refusal(Verdict::LibrariesMissing,
                  missing.output.empty() ? "cannot be loaded: " + result.output
                                         : "needs libraries that are missing: " + missing.output);
}

std::string askVersion(const std::string& module, const std::vector<std::string>& environment) {
    const support::ProcessResult result = child({kVersion, module}, environment);
    return result.exitCode == 0 ? result.output : "";
}

}  // namespace qualification
