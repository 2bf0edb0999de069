#include "scripted_module.h"

#include <cstring>
#include <stdexcept>

#include "browser_tables.h"
#include "host/value_json.h"

namespace {

ScriptedModule* g_module = nullptr;

PP_Bool didCreate(PP_Instance instance, uint32_t argc, const char* argn[], const char* argv[]) {
    g_module->calls.add("DidCreate");
    if (!g_module->didCreate) return PP_TRUE;
    host::Attributes attributes;
    for (uint32_t i = 0; i < argc; ++i) attributes.emplace_back(argn[i], argv[i]);
    return PP_FromBool(g_module->didCreate(instance, attributes));
}

void didDestroy(PP_Instance instance) {
    g_module->calls.add("DidDestroy");
    if (g_module->didDestroy) g_module->didDestroy(instance);
}

void didChangeView(PP_Instance instance, PP_Resource view) {
    g_module->calls.add("DidChangeView");
    if (g_module->didChangeView) g_module->didChangeView(instance, view);
}

void didChangeFocus(PP_Instance, PP_Bool) {}

PP_Bool handleDocumentLoad(PP_Instance, PP_Resource) { return PP_FALSE; }

void handleMessage(PP_Instance instance, PP_Var message) {
    g_module->calls.add("HandleMessage");
    if (g_module->handleMessage) {
        g_module->handleMessage(instance, message);
    } else {
        support::vars().Release(message);
    }
}

const PPP_Instance_1_1 kInstance = {&didCreate, &didDestroy, &didChangeView, &didChangeFocus,
                                    &handleDocumentLoad};
const PPP_Messaging_1_0 kMessaging = {&handleMessage};

int32_t initializeModule(PP_Module, PPB_GetInterface getInterface) {
    g_module->calls.add("PPP_InitializeModule");
    g_module->getInterface = getInterface;
    return g_module->initResult;
}

void shutdownModule() { g_module->calls.add("PPP_ShutdownModule"); }

const void* getModuleInterface(const char* name) {
    g_module->calls.add(std::string("PPP_GetInterface ") + name);
    if (std::strcmp(name, "PPP_Instance;1.1") == 0 && g_module->hasInstances)
        return &g_module->instances;
    if (std::strcmp(name, "PPP_Messaging;1.0") == 0 && g_module->hasMessaging)
        return &g_module->messaging;
    return nullptr;
}

ScriptedHandler& handlerOf(void* userData) { return *static_cast<ScriptedHandler*>(userData); }

std::string shown(const PP_Var& message) { return host::writeJson(support::valueOf(message)); }

void onMessage(PP_Instance instance, void* userData, const PP_Var* message) {
    ScriptedHandler& handler = handlerOf(userData);
    handler.log.add("message " + shown(*message));
    if (handler.handleMessage) handler.handleMessage(instance, *message);
}

void onBlockingMessage(PP_Instance instance, void* userData, const PP_Var* message,
                       PP_Var* response) {
    ScriptedHandler& handler = handlerOf(userData);
    handler.log.add("call " + shown(*message));
    if (handler.handleBlockingMessage) {
        *response = handler.handleBlockingMessage(instance, *message);
    }
}

void onDestroy(PP_Instance instance, void* userData) {
    ScriptedHandler& handler = handlerOf(userData);
    if (handler.destroy) handler.destroy(instance);
    handler.log.add("destroy");
}

}  // namespace

ScriptedModule::ScriptedModule() : instances(kInstance), messaging(kMessaging) {
    if (g_module != nullptr) throw std::logic_error("there is a scripted module already");
    g_module = this;
}

ScriptedModule::~ScriptedModule() { g_module = nullptr; }

host::EntryPoints ScriptedModule::entryPoints() {
    return {&initializeModule, &getModuleInterface, &shutdownModule};
}

std::int32_t ScriptedHandler::registerOn(PP_Instance instance, PP_Resource loop) {
    return support::messaging().RegisterMessageHandler(instance, this, &kTable, loop);
}

const PPP_MessageHandler_0_2 ScriptedHandler::kTable = {&onMessage, &onBlockingMessage, &onDestroy};
