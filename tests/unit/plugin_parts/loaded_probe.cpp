#include "loaded_probe.h"

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

#include "module_path.h"
#include "runtime/ppb_extension_system_korvane.h"

namespace {

std::string pathOf(const std::string& library) { return support::builtPath("lib/" + library); }

host::PluginHost::Options with(const std::string& library, const void* extension,
                               host::PluginHost::Options options) {
    options.modulePath = pathOf(library);
    options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] = extension;
    return options;
}

}  // namespace

LoadedModule::LoadedModule(const std::string& library, const char* exported, const void* extension,
                           host::PluginHost::Options options)
    : m_host(with(library, extension, std::move(options))),
      m_library(dlopen(pathOf(library).c_str(), RTLD_NOW | RTLD_NOLOAD)),
      m_exported(dlsym(m_library, exported)) {
    if (m_exported == nullptr) {
        throw std::runtime_error(library + " does not export " + exported);
    }
}

LoadedModule::~LoadedModule() { dlclose(m_library); }
