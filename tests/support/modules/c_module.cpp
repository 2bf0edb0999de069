#include "c_module.h"

#include <cstring>

#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"

namespace {

PPB_GetInterface g_getInterface = nullptr;
std::vector<std::pair<std::string, std::string>> g_attributes;

PP_Bool didCreate(PP_Instance instance, uint32_t count, const char* names[], const char* values[]) {
    g_attributes.clear();
    for (uint32_t i = 0; i < count; ++i) g_attributes.emplace_back(names[i], values[i]);
    return PP_FromBool(module::kBehaviour.didCreate(instance));
}

void didDestroy(PP_Instance instance) { module::kBehaviour.didDestroy(instance); }

void didChangeView(PP_Instance, PP_Resource) {}

void didChangeFocus(PP_Instance, PP_Bool) {}

PP_Bool handleDocumentLoad(PP_Instance, PP_Resource) { return PP_FALSE; }

void handleMessage(PP_Instance instance, PP_Var message) {
    module::kBehaviour.handleMessage(instance, message);
}

const PPP_Instance_1_1 kInstance = {&didCreate, &didDestroy, &didChangeView, &didChangeFocus,
                                    &handleDocumentLoad};
const PPP_Messaging_1_0 kMessaging = {&handleMessage};

}  // namespace

namespace module {

const std::vector<std::pair<std::string, std::string>>& attributesOfTheNewest() {
    return g_attributes;
}

const void* browserInterface(const char* name) { return g_getInterface(name); }

}  // namespace module

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface getInterface) {
    g_getInterface = getInterface;
    return PP_OK;
}

void PPP_ShutdownModule() {}

const void* PPP_GetInterface(const char* name) {
    if (std::strcmp(name, PPP_INSTANCE_INTERFACE_1_1) == 0) return &kInstance;
    if (std::strcmp(name, PPP_MESSAGING_INTERFACE_1_0) == 0 &&
        module::kBehaviour.handleMessage != nullptr) {
        return &kMessaging;
    }
    return nullptr;
}
