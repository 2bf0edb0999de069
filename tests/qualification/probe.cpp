#include "probe.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "host/plugin_host.h"
#include "host/value.h"
#include "process.h"
#include "recorder.h"
#include "recording_extension.h"
#include "runtime/ppb_extension_system_korvane.h"
#include "verdict.h"

namespace qualification {
namespace {

constexpr std::chrono::seconds kLimit{5};
constexpr const char* kLoad = "--load";
constexpr const char* kMissing = "--missing";
constexpr const char* kVersion = "--version-of";

support::ProcessResult child(const std::vector<std::string>& words,
                             const std::vector<std::string>& environment) {
    std::vector<std::string> command = {"/proc/self/exe", "--child"};
    command.insert(command.end(), words.begin(), words.end());
    support::ProcessOptions options;
    options.environment = environment;
    options.timeout = kLimit;
    return support::runProcess(command, options);
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

int load(const std::string& module) {
    void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::cout << dlerror() << std::flush;
        return 1;
    }
    std::cout << "loaded" << std::flush;
    dlclose(handle);
    return 0;
}

int tellMissing(const std::vector<std::string>& sonames) {
    const char* separator = "";
    for (const std::string& soname : sonames) {
        if (dlopen(soname.c_str(), RTLD_LAZY) != nullptr) continue;
        std::cout << separator << soname;
        separator = ", ";
    }
    return 0;
}

int tellVersion(const std::string& module) {
    support::Recorder recorder;
    support::RecordingExtension extension(recorder);
    extension.grant(support::kAll);
    host::PluginHost::Options options;
    options.modulePath = module;
    options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] =
        support::RecordingExtension::table();
    host::PluginHost host(std::move(options));
    const host::CallResult result =
        host.call(host.embed(), host::Value::Dictionary{{"command", "sso_plugin_getVersion"}});
    if (result.value.isDictionary()) {
        const auto& reply = result.value.asDictionary();
        const auto version = reply.find("value");
        if (version != reply.end() && version->second.isString()) {
            std::cout << version->second.asString() << std::flush;
        }
    }
    _exit(0);  // what comes after the answer is the tests' matter
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

int runChild(const std::vector<std::string>& words) {
    if (words[0] == kLoad) return load(words[1]);
    if (words[0] == kVersion) return tellVersion(words[1]);
    return tellMissing({words.begin() + 1, words.end()});
}

}  // namespace qualification
