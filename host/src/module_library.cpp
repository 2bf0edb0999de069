#include "module_library.h"

#include <dlfcn.h>

#include <filesystem>

#include "ppapi/c/pp_errors.h"

namespace host {
namespace {

constexpr PP_Module kModule = 1;

template <typename Function>
void assign(Function& function, void* symbol) {
    function = reinterpret_cast<Function>(symbol);
}

}  // namespace

void ModuleLibrary::fail(const std::string& reason) const {
    throw LoadError("cannot load the module " + m_name + ": " + reason);
}

void* ModuleLibrary::symbol(const char* name) const { return dlsym(m_handle, name); }

void ModuleLibrary::open(const HostOptions& options) {
    if (options.entryPoints) {
        m_name = "in this program";
        m_entry = *options.entryPoints;
    } else {
        // Without a slash, dlopen would search the system's folders.
        const bool bare = options.modulePath.find('/') == std::string::npos;
        m_name = (bare ? "./" : "") + options.modulePath;
        // A pipe would block.
        std::error_code error;
        const auto type = std::filesystem::status(m_name, error).type();
        if (type == std::filesystem::file_type::not_found) fail("no such file");
        if (type != std::filesystem::file_type::regular) fail("it is not a file");
        m_handle = dlopen(m_name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (m_handle == nullptr) {
            const char* reason = dlerror();
            fail(reason == nullptr ? "unknown reason" : reason);
        }
        assign(m_entry.getInterface, symbol("PPP_GetInterface"));
        assign(m_entry.initializeModule, symbol("PPP_InitializeModule"));
        assign(m_entry.shutdownModule, symbol("PPP_ShutdownModule"));
    }
    if (m_entry.getInterface == nullptr) fail("it has no PPP_GetInterface");
    if (m_entry.initializeModule == nullptr) fail("it has no PPP_InitializeModule");
}

void ModuleLibrary::initialize(PPB_GetInterface getInterface) {
    const std::int32_t result = m_entry.initializeModule(kModule, getInterface);
    if (result != PP_OK) fail("PPP_InitializeModule returned " + std::to_string(result));
}

void ModuleLibrary::shutdown() {
    if (m_entry.shutdownModule != nullptr) m_entry.shutdownModule();
}

const PPP_Instance_1_1* ModuleLibrary::instanceInterface() {
    if (m_instance == nullptr) {
        m_entry.getInterface(PPP_INSTANCE_INTERFACE_1_1);
        m_instance =
            static_cast<const PPP_Instance_1_1*>(m_entry.getInterface(PPP_INSTANCE_INTERFACE_1_1));
    }
    return m_instance;
}

const PPP_Messaging_1_0* ModuleLibrary::messagingInterface() {
    if (!m_askedForMessaging) {
        m_askedForMessaging = true;
        m_messaging = static_cast<const PPP_Messaging_1_0*>(
            m_entry.getInterface(PPP_MESSAGING_INTERFACE_1_0));
        if (m_messaging != nullptr && m_messaging->HandleMessage == nullptr) m_messaging = nullptr;
    }
    return m_messaging;
}

void ModuleLibrary::close() {
    if (m_handle != nullptr) dlclose(m_handle);
    m_handle = nullptr;
}

bool ModuleLibrary::isMapped() const {
    if (m_entry.getInterface == nullptr || m_name.find('/') == std::string::npos) return false;
    void* handle = dlopen(m_name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle == nullptr) return false;
    dlclose(handle);
    return true;
}

}  // namespace host
