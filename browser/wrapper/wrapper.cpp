// The module that the browser loads in the plug-in's place. It loads the plug-in, forwards the three
// entry points to it, and adds the one interface that this browser lacks: the runtime's vendor
// interface. Before an instance is made, it finds out to which application the instance's document
// belongs: all documents of a browser share the plug-in process.
//
// It tells the browser of each message, and of the end of this process: see events.h.
//
// Nothing happens at load time: the browser loads its modules into the process from which it forks
// all others. The plug-in is loaded when the plug-in process initialises the module.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "embedder/vendor_table.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "wrapper/documents.h"
#include "wrapper/events.h"
#include "wrapper/message_spy.h"
#include "wrapper/variables.h"

namespace {

constexpr std::size_t kLongestAddress = 200;  // of what is told; a data: URL holds a whole page

/// The plug-in's entry points; null until it is initialised. Written once, on the module's main
/// thread, before the browser asks for any interface.
struct Plugin {
    PP_GetInterface_Func getInterface = nullptr;
    PP_ShutdownModule_Func shutdown = nullptr;
};

Plugin plugin;
PPB_GetInterface browserInterface = nullptr;

struct OriginsApplication {
    std::string origin;
    embedder::Application application;
};

// All below: the module's main thread.
std::optional<browser::Documents> documents;
std::vector<OriginsApplication> applications;
std::set<std::string> strangers;                   // addresses of documents that were told of
const PPP_Instance_1_1* pluginInstance = nullptr;  // null until the browser asks for it

/// What the plug-in gets as the browser's get-interface function.
const void* getBrowserInterface(const char* name) {
    if (name != nullptr && std::strcmp(name, PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1) == 0) {
        return embedder::vendorTable();
    }
    if (name != nullptr && std::strcmp(name, PPB_MESSAGING_INTERFACE_1_2) == 0) {
        return browser::spyingMessaging();
    }
    return browserInterface(name);
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set");
    return value;
}

std::vector<OriginsApplication> readApplications() {
    std::vector<OriginsApplication> found;
    try {
        for (const auto& told : nlohmann::json::parse(variable(browser::kApplicationsVariable))) {
            found.push_back({told.at("origin").get<std::string>(),
                             {told.at("name").get<std::string>(),
                              told.at("grants").get<std::set<std::string>>()}});
        }
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error(std::string(browser::kApplicationsVariable) +
                                 R"( must be [{"origin": URL, "name": text, "grants": [texts]}])");
    }
    return found;
}

/// The application that an instance's document belongs to; one without a name and without grants for
/// a document of none, which is told.
embedder::Application applicationOf(PP_Instance instance) {
    bool grantsAnything = false;
    for (const OriginsApplication& candidate : applications) {
        if (documents->isOf(instance, candidate.origin)) return candidate.application;
        grantsAnything = grantsAnything || !candidate.application.grants.empty();
    }
    if (grantsAnything) {
        browser::sendEvent(
            {browser::kEventStranger, documents->addressOf(instance).substr(0, kLongestAddress)});
    }
    return {};
}

PP_Bool didCreate(PP_Instance instance, std::uint32_t count, const char* names[],
                  const char* values[]) {
    // The plug-in asks for its privileges in DidCreate.
    embedder::setApplication(instance, applicationOf(instance));
    browser::sendEvent({browser::kEventCreated, instance});
    return pluginInstance->DidCreate(instance, count, names, values);
}

/// Also of an instance that was refused.
void didDestroy(PP_Instance instance) {
    pluginInstance->DidDestroy(instance);
    embedder::forgetInstance(instance);
    browser::forgetMessages(instance);
}

/// The plug-in's table, with the two functions above in it.
const PPP_Instance_1_1* wrappedInstance() {
    static PPP_Instance_1_1 wrapped;
    wrapped = *pluginInstance;
    wrapped.DidCreate = didCreate;
    wrapped.DidDestroy = didDestroy;
    return &wrapped;
}

template <typename Function>
Function entryPoint(void* library, const char* name) {
    return reinterpret_cast<Function>(dlsym(library, name));
}

int32_t initialize(PP_Module module) {
    browser::openEvents(variable(browser::kEventsVariable));
    browser::startSpying(browserInterface, std::getenv(browser::kMessagesVariable) != nullptr);
    embedder::setBrowser(browserInterface);
    documents.emplace(browserInterface);
    applications = readApplications();
    const std::string path = variable(browser::kModuleVariable);
    // Never closed: the browser may call what it has been given for as long as the process lives.
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    const auto initializePlugin =
        entryPoint<PP_InitializeModule_Func>(library, "PPP_InitializeModule");
    const auto getInterface = entryPoint<PP_GetInterface_Func>(library, "PPP_GetInterface");
    if (initializePlugin == nullptr || getInterface == nullptr) {
        throw std::runtime_error(path + " lacks an entry point of a module");
    }
    const int32_t result = initializePlugin(module, getBrowserInterface);
    if (result != PP_OK) {
        throw std::runtime_error(path + " failed to initialise: " + std::to_string(result));
    }
    plugin = {getInterface, entryPoint<PP_ShutdownModule_Func>(library, "PPP_ShutdownModule")};
    browser::sendEvent({browser::kEventStarted});
    return PP_OK;
}

}  // namespace

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface get_browser_interface) {
    browserInterface = get_browser_interface;
    try {
        return initialize(module);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sso-browser: the plug-in cannot be loaded: %s\n", error.what());
        return PP_ERROR_FAILED;
    }
}

const void* PPP_GetInterface(const char* interface_name) {
    // The browser goes on asking after a failed initialisation.
    if (plugin.getInterface == nullptr) return nullptr;
    const void* table = plugin.getInterface(interface_name);
    if (table == nullptr || std::strcmp(interface_name, PPP_INSTANCE_INTERFACE_1_1) != 0) {
        return table;
    }
    pluginInstance = static_cast<const PPP_Instance_1_1*>(table);
    return wrappedInstance();
}

void PPP_ShutdownModule() {
    if (plugin.shutdown != nullptr) plugin.shutdown();
}
