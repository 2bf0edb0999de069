#include "child.h"

#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>

#include "host/plugin_host.h"
#include "host/value.h"
#include "recorder.h"
#include "recording_extension.h"
#include "runtime/ppb_extension_system_korvane.h"

namespace qualification {
namespace {

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

int become(const std::vector<std::string>& command) {
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    std::cerr << command[0] << " cannot be started: " << std::strerror(errno) << "\n";
    return 1;
}

}  // namespace

std::vector<std::string> childCommand(const std::vector<std::string>& words) {
    std::vector<std::string> command = {"/proc/self/exe", kChildOption, std::to_string(getpid())};
    command.insert(command.end(), words.begin(), words.end());
    return command;
}

int runChild(const std::vector<std::string>& words) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // stays when it becomes another program
    // The parent may have ended before.
    if (words.size() < 2 || std::to_string(getppid()) != words[0]) return 1;
    const std::string& what = words[1];
    const std::vector<std::string> rest(words.begin() + 2, words.end());
    if (what == kLoad) return load(rest[0]);
    if (what == kVersion) return tellVersion(rest[0]);
    if (what == kProgram) return become(rest);
    return tellMissing(rest);
}

}  // namespace qualification
