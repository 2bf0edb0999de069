#include "ppapi/cpp/module.h"

#include <cstring>

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppp_input_event.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/cpp/core.h"
#include "ppapi/cpp/input_event.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/url_loader.h"
#include "ppapi/cpp/var.h"
#include "ppapi/cpp/view.h"

namespace pp {

PP_Bool Instance_DidCreate(PP_Instance pp_instance, uint32_t argc, const char* argn[],
                           const char* argv[]) {
    Module* module = Module::Get();
    if (module == nullptr) {
        return PP_FALSE;
    }
    Instance* instance = module->CreateInstance(pp_instance);
    if (instance == nullptr) {
        return PP_FALSE;
    }
    // Known before Init runs; when Init refuses, the browser's DidDestroy deletes it.
    module->current_instances_[pp_instance] = instance;
    return PP_FromBool(instance->Init(argc, argn, argv));
}

void Instance_DidDestroy(PP_Instance pp_instance) {
    Module* module = Module::Get();
    if (module == nullptr) {
        return;
    }
    const auto found = module->current_instances_.find(pp_instance);
    if (found == module->current_instances_.end()) {
        return;
    }
    // Out of the map first: nobody must find an instance that is going.
    Instance* instance = found->second;
    module->current_instances_.erase(found);
    delete instance;
}

namespace {

Instance* instanceFor(PP_Instance pp_instance) {
    Module* module = Module::Get();
    return module != nullptr ? module->InstanceForPPInstance(pp_instance) : nullptr;
}

void didChangeView(PP_Instance pp_instance, PP_Resource view) {
    if (Instance* instance = instanceFor(pp_instance)) {
        instance->DidChangeView(View(view));
    }
}

void didChangeFocus(PP_Instance pp_instance, PP_Bool has_focus) {
    if (Instance* instance = instanceFor(pp_instance)) {
        instance->DidChangeFocus(PP_ToBool(has_focus));
    }
}

PP_Bool handleDocumentLoad(PP_Instance pp_instance, PP_Resource url_loader) {
    Instance* instance = instanceFor(pp_instance);
    return PP_FromBool(instance != nullptr && instance->HandleDocumentLoad(URLLoader(url_loader)));
}

PP_Bool handleInputEvent(PP_Instance pp_instance, PP_Resource input_event) {
    Instance* instance = instanceFor(pp_instance);
    return PP_FromBool(instance != nullptr && instance->HandleInputEvent(InputEvent(input_event)));
}

void handleMessage(PP_Instance pp_instance, PP_Var message) {
    // The browser's reference is ours here, with or without an instance that wants the message.
    const Var adopted(PASS_REF, message);
    if (Instance* instance = instanceFor(pp_instance)) {
        instance->HandleMessage(adopted);
    }
}

const PPP_Instance_1_1 kInstanceTable = {&Instance_DidCreate, &Instance_DidDestroy, &didChangeView,
                                         &didChangeFocus, &handleDocumentLoad};
const PPP_InputEvent_0_1 kInputEventTable = {&handleInputEvent};
const PPP_Messaging_1_0 kMessagingTable = {&handleMessage};

struct OfferedInterface {
    const char* name;
    const void* table;
};
const OfferedInterface kOffered[] = {
    {PPP_INSTANCE_INTERFACE_1_1, &kInstanceTable},
    {PPP_MESSAGING_INTERFACE_1_0, &kMessagingTable},
    {PPP_INPUT_EVENT_INTERFACE_0_1, &kInputEventTable},
};

}  // namespace

Module::Module() : pp_module_(0), get_browser_interface_(nullptr), core_(nullptr) {}

Module::~Module() { delete core_; }

bool Module::Init() { return true; }

const void* Module::GetPluginInterface(const char* interface_name) {
    for (const OfferedInterface& offered : kOffered) {
        if (std::strcmp(offered.name, interface_name) == 0) {
            return offered.table;
        }
    }
    return nullptr;
}

const void* Module::GetBrowserInterface(const char* interface_name) {
    return get_browser_interface_(interface_name);
}

Instance* Module::InstanceForPPInstance(PP_Instance instance) {
    const auto found = current_instances_.find(instance);
    return found != current_instances_.end() ? found->second : nullptr;
}

bool Module::InternalInit(PP_Module mod, PPB_GetInterface get_browser_interface) {
    pp_module_ = mod;
    get_browser_interface_ = get_browser_interface;
    const auto* core = static_cast<const PPB_Core*>(GetBrowserInterface(PPB_CORE_INTERFACE_1_0));
    if (core == nullptr) {
        return false;
    }
    core_ = new Core(core);
    return Init();
}

}  // namespace pp
