#include "src/environment.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "embedder/environment.h"
#include "embedder/input_error.h"
#include "wrapper/variables.h"

namespace browser {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFlagsVariable = "QTWEBENGINE_CHROMIUM_FLAGS";
constexpr const char* kAgentVariable = "SSO_AGENT";        // of the client library
constexpr unsigned long kEnoughSharedMemory = 64UL << 20;  // bytes
constexpr const char* kMimeType = "application/x-sso-plugin";

void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
void setDefault(const char* name, const std::string& value) { setenv(name, value.c_str(), 0); }

/// Whether a path can stand in the engine's switches, where some characters have a meaning and
/// cannot be quoted, and others do not survive.
bool fitsSwitch(const fs::path& path) {
    const std::string text = path.string();
    return std::all_of(text.begin(), text.end(), [](char letter) {
        return letter > ' ' && letter < 0x7f && std::strchr(",;#\"'\\", letter) == nullptr;
    });
}

/// Whether the engine's processes can share memory as they are used to. Containers often have little.
bool hasSharedMemory() {
    struct statvfs status {};
    return statvfs("/dev/shm", &status) == 0 && access("/dev/shm", W_OK) == 0 &&
           status.f_bavail * status.f_frsize >= kEnoughSharedMemory;
}

fs::path wrapperPath(const base::SweptFolder& folder) {
    fs::path wrapper = fs::weakly_canonical(embedder::programFolder() / SSO_LIBRARY_FOLDER
                                            "/libsso_browser_wrapper.so");
    if (!fs::exists(wrapper)) {
        throw embedder::InputError(wrapper.string() + ", a part of this browser, is missing");
    }
    if (fitsSwitch(wrapper)) return wrapper;
    fs::path link = folder.path() / "wrapper.so";
    if (!fitsSwitch(link)) {
        throw embedder::InputError(
            "the temporary folder " + folder.path().string() +
            " must have a plain name, of ASCII letters without blanks; set TMPDIR");
    }
    fs::create_symlink(wrapper, link);
    return link;
}

/// Lets the browser find the served folders: its requests for their origins go to the server.
std::string resolverRules(const std::vector<Application>& applications, int port) {
    std::string rules;
    for (const Application& application : applications) {
        if (application.folder.empty()) continue;
        if (!rules.empty()) rules += ", ";
        rules += "MAP " + application.origin.host().toStdString() + ":" +
                 std::to_string(application.origin.port(80)) + " 127.0.0.1:" + std::to_string(port);
    }
    return rules.empty() ? "" : " \"--host-resolver-rules=" + rules + "\"";
}

std::string engineSwitches(const base::SweptFolder& folder) {
    // First, so that a level that the user has set wins. The engine's own lines, up to its errors,
    // are about itself; what goes wrong in the page is on the console.
    std::string switches = "--log-level=3 ";
    if (const char* given = getenv(kFlagsVariable)) switches += std::string(given) + " ";
    switches += "--register-pepper-plugins=" + wrapperPath(folder).string() + ";" + kMimeType;
    // The plug-in process has to open the plug-in, the libraries behind it and the device's
    // sockets, which the sandbox forbids. So this browser is for pages that you trust: it is a
    // development tool for an application that you name.
    switches += " --no-sandbox";
    if (!hasSharedMemory()) switches += " --disable-dev-shm-usage";  // files in TMPDIR do as well
    return switches;
}

}  // namespace

fs::path eventPipe(const base::SweptFolder& folder) { return folder.path() / "events"; }

fs::path logFile(const Options& options, const base::SweptFolder& folder) {
    const char* given = getenv("DLOG_FILE");
    if (given != nullptr && *given != '\0') return given;
    return options.common.log || !hasPanel(options) ? fs::path() : folder.path() / "log";
}

void prepareEnvironment(const Options& options, const std::vector<Application>& applications,
                        int serverPort, const base::SweptFolder& folder,
                        const embedder::ServiceHold& service, const std::string& agent) {
    // Before the level is silent, unless somebody has set another.
    if (hasPanel(options) && !options.common.log) setDefault("DLOG_LEVEL", "detail");
    embedder::prepareEnvironment(options.common, service);
    unsetenv(kAgentVariable);
    if (!agent.empty()) set(kAgentVariable, agent);
    set(kFlagsVariable, engineSwitches(folder) + resolverRules(applications, serverPort));
    set(kModuleVariable, fs::absolute(options.common.module).lexically_normal().string());
    nlohmann::json told = nlohmann::json::array();
    for (const Application& application : applications) {
        if (application.origin.isEmpty()) continue;  // nothing can be granted there
        told.push_back({{"origin", application.origin.toEncoded().toStdString()},
                        {"name", application.told.name},
                        {"grants", application.told.grants}});
    }
    using Json = nlohmann::json;
    set(kApplicationsVariable, told.dump(-1, ' ', false, Json::error_handler_t::replace));
    const fs::path events = eventPipe(folder);
    if (mkfifo(events.c_str(), 0600) != 0) {
        throw std::runtime_error("cannot make a pipe in " + folder.path().string());
    }
    set(kEventsVariable, events.string());
    unsetenv(kMessagesVariable);
    if (!options.common.messages.empty() || hasPanel(options)) set(kMessagesVariable, "1");
    const fs::path log = logFile(options, folder);
    if (!log.empty()) set("DLOG_FILE", log.string());
    setDefault("MESA_SHADER_CACHE_DISABLE", "true");  // nothing is kept on disk
    setDefault("XDG_RUNTIME_DIR", folder.path().string());
    // Otherwise the engine's libraries start a bus of their own, which stays as long as the display.
    setDefault("DBUS_SESSION_BUS_ADDRESS", "disabled:");
}

}  // namespace browser
