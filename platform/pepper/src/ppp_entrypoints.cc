#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/module_embedder.h"

namespace {
pp::Module* g_module = nullptr;
}

namespace pp {
Module* Module::Get() { return g_module; }
}  // namespace pp

int32_t PPP_InitializeModule(PP_Module module_id, PPB_GetInterface get_browser_interface) {
    pp::Module* module = pp::CreateModule();
    if (module == nullptr) {
        return PP_ERROR_FAILED;
    }
    if (!module->InternalInit(module_id, get_browser_interface)) {
        delete module;
        return PP_ERROR_FAILED;
    }
    // Published last: a module that refused must answer no interface.
    g_module = module;
    return PP_OK;
}

void PPP_ShutdownModule() {
    delete g_module;
    g_module = nullptr;
}

const void* PPP_GetInterface(const char* interface_name) {
    return g_module != nullptr ? g_module->GetPluginInterface(interface_name) : nullptr;
}
