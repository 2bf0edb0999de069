// The plug-in that SSO_FAULTY_MODULE names, with one fault, which SSO_FAULT names: "crash", "hang",
// "exit", "_exit", "quick_exit" or "exit_group", which asks the kernel itself, and where, as "hang
// DidCreate". The places are "load" and the functions that a browser calls.

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"

// A module is told by what it asks the runtime for.
extern "C" const char kFaultyPrivilege[];
extern "C" __attribute__((used)) const char kFaultyPrivilege[] =
    SSO_PRIVILEGE_ORIGIN "/privilege/sso.partner";

namespace {

void at(const char* place) {
    const char* variable = std::getenv("SSO_FAULT");
    const std::string fault = variable != nullptr ? variable : "";
    if (fault == std::string("crash ") + place) raise(SIGSEGV);
    while (fault == std::string("hang ") + place) pause();
    if (fault == std::string("exit ") + place) std::exit(0);
    if (fault == std::string("_exit ") + place) _exit(0);
    if (fault == std::string("quick_exit ") + place) std::quick_exit(0);
    if (fault == std::string("exit_group ") + place) syscall(SYS_exit_group, 0);
}

class Original {
  public:
    Original() {
        at("load");
        const char* path = std::getenv("SSO_FAULTY_MODULE");
        m_handle = path != nullptr ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
    }
    ~Original() {
        if (m_handle != nullptr) dlclose(m_handle);
    }
    Original(const Original&) = delete;
    Original& operator=(const Original&) = delete;

    template <typename Function>
    Function* function(const char* name) const {
        return m_handle != nullptr ? reinterpret_cast<Function*>(dlsym(m_handle, name)) : nullptr;
    }

  private:
    void* m_handle;
};

const Original g_original;
PPB_GetInterface g_getInterface = nullptr;
const PPP_Instance_1_1* g_instance = nullptr;
const PPP_MessageHandler_0_2* g_handler = nullptr;  // the same for all instances
PPB_Messaging_1_2 g_messaging;

PP_Bool didCreate(PP_Instance instance, uint32_t count, const char* names[], const char* values[]) {
    at("DidCreate");
    return g_instance->DidCreate(instance, count, names, values);
}

void didDestroy(PP_Instance instance) {
    at("DidDestroy");
    g_instance->DidDestroy(instance);
}

void didChangeView(PP_Instance instance, PP_Resource view) {
    at("DidChangeView");
    g_instance->DidChangeView(instance, view);
}

void handleMessage(PP_Instance instance, void* data, const PP_Var* message) {
    at("HandleMessage");
    g_handler->HandleMessage(instance, data, message);
}

void handleBlockingMessage(PP_Instance instance, void* data, const PP_Var* message,
                           PP_Var* response) {
    at("HandleBlockingMessage");
    g_handler->HandleBlockingMessage(instance, data, message, response);
}

void destroy(PP_Instance instance, void* data) {
    at("Destroy");
    g_handler->Destroy(instance, data);
}

const PPP_MessageHandler_0_2 kHandler = {&handleMessage, &handleBlockingMessage, &destroy};

int32_t registerHandler(PP_Instance instance, void* data, const PPP_MessageHandler_0_2* handler,
                        PP_Resource loop) {
    g_handler = handler;
    const auto* real =
        static_cast<const PPB_Messaging_1_2*>(g_getInterface(PPB_MESSAGING_INTERFACE_1_2));
    return real->RegisterMessageHandler(instance, data, &kHandler, loop);
}

const void* browserInterface(const char* name) {
    const void* table = g_getInterface(name);
    if (table == nullptr || std::strcmp(name, PPB_MESSAGING_INTERFACE_1_2) != 0) return table;
    g_messaging = *static_cast<const PPB_Messaging_1_2*>(table);
    g_messaging.RegisterMessageHandler = &registerHandler;
    return &g_messaging;
}

}  // namespace

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface getInterface) {
    at("PPP_InitializeModule");
    g_getInterface = getInterface;
    auto* initialize =
        g_original.function<int32_t(PP_Module, PPB_GetInterface)>("PPP_InitializeModule");
    return initialize != nullptr ? initialize(module, &browserInterface) : PP_ERROR_FAILED;
}

void PPP_ShutdownModule() {
    at("PPP_ShutdownModule");
    g_original.function<void()>("PPP_ShutdownModule")();
}

const void* PPP_GetInterface(const char* name) {
    at("PPP_GetInterface");
    const void* table = g_original.function<const void*(const char*)>("PPP_GetInterface")(name);
    if (table == nullptr || std::strcmp(name, PPP_INSTANCE_INTERFACE_1_1) != 0) return table;
    static PPP_Instance_1_1 faulty;
    g_instance = static_cast<const PPP_Instance_1_1*>(table);
    faulty = *g_instance;
    faulty.DidCreate = &didCreate;
    faulty.DidDestroy = &didDestroy;
    faulty.DidChangeView = &didChangeView;
    return &faulty;
}
