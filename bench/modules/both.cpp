// The plug-in and the echo module as one module, so that they can stand in one page: the attribute
// data-module of an element says which of them it is, "plugin", or "echo" or "answer". Messages go straight to the
// handler that either has registered.

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"

namespace {

/// All on the module's main thread.
struct Module {
    PP_GetInterface_Func getInterface = nullptr;
    const PPP_Instance_1_1* instances = nullptr;
};

Module g_plugin;
Module g_echo;
std::map<PP_Instance, const PPP_Instance_1_1*> g_instances;

/// @param name  of a module that lies beside this one.
bool load(const char* name, PP_Module module, PPB_GetInterface getInterface, Module* loaded) {
    Dl_info self{};
    dladdr(reinterpret_cast<const void*>(&PPP_InitializeModule), &self);
    std::string path = self.dli_fname;
    path.replace(path.rfind('/') + 1, std::string::npos, name);
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "bench: %s\n", dlerror());
        return false;
    }
    const auto initialize =
        reinterpret_cast<PP_InitializeModule_Func>(dlsym(library, "PPP_InitializeModule"));
    if (initialize(module, getInterface) != PP_OK) return false;
    loaded->getInterface =
        reinterpret_cast<PP_GetInterface_Func>(dlsym(library, "PPP_GetInterface"));
    loaded->instances =
        static_cast<const PPP_Instance_1_1*>(loaded->getInterface(PPP_INSTANCE_INTERFACE_1_1));
    return true;
}

PP_Bool didCreate(PP_Instance instance, uint32_t count, const char* names[], const char* values[]) {
    const Module* chosen = &g_plugin;
    for (uint32_t i = 0; i < count; ++i) {
        if (std::strcmp(names[i], "data-module") == 0 && std::strcmp(values[i], "plugin") != 0) {
            chosen = &g_echo;
        }
    }
    g_instances[instance] = chosen->instances;
    return chosen->instances->DidCreate(instance, count, names, values);
}

void didDestroy(PP_Instance instance) {
    const auto found = g_instances.find(instance);
    if (found == g_instances.end()) return;
    found->second->DidDestroy(instance);
    g_instances.erase(found);
}

void didChangeView(PP_Instance instance, PP_Resource view) {
    g_instances.at(instance)->DidChangeView(instance, view);
}

void didChangeFocus(PP_Instance instance, PP_Bool hasFocus) {
    g_instances.at(instance)->DidChangeFocus(instance, hasFocus);
}

PP_Bool handleDocumentLoad(PP_Instance, PP_Resource) { return PP_FALSE; }

const PPP_Instance_1_1 kInstance = {&didCreate, &didDestroy, &didChangeView, &didChangeFocus,
                                    &handleDocumentLoad};

}  // namespace

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface getInterface) {
    const bool loaded = load("libsso.so", module, getInterface, &g_plugin) &&
                        load("libbench_echo.so", module, getInterface, &g_echo);
    return loaded ? PP_OK : PP_ERROR_FAILED;
}

void PPP_ShutdownModule() {}

const void* PPP_GetInterface(const char* name) {
    return std::strcmp(name, PPP_INSTANCE_INTERFACE_1_1) == 0 ? &kInstance
                                                              : g_plugin.getInterface(name);
}
