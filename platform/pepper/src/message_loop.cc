#include "ppapi/cpp/message_loop.h"

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/module_impl.h"

namespace pp {
namespace {

template <>
const char* interface_name<PPB_MessageLoop_1_0>() {
    return PPB_MESSAGELOOP_INTERFACE_1_0;
}

const PPB_MessageLoop_1_0* loops() { return get_interface<PPB_MessageLoop_1_0>(); }

}  // namespace

MessageLoop::MessageLoop(const InstanceHandle& instance) {
    if (loops() != nullptr) {
        PassRefFromConstructor(loops()->Create(instance.pp_instance()));
    }
}

MessageLoop::MessageLoop(PP_Resource pp_message_loop) : Resource(pp_message_loop) {}

MessageLoop MessageLoop::GetForMainThread() {
    MessageLoop result;
    if (loops() != nullptr) {
        result.PassRefFromConstructor(loops()->GetForMainThread());
    }
    return result;
}

MessageLoop MessageLoop::GetCurrent() {
    MessageLoop result;
    if (loops() != nullptr) {
        result.PassRefFromConstructor(loops()->GetCurrent());
    }
    return result;
}

int32_t MessageLoop::AttachToCurrentThread() {
    return loops() != nullptr ? loops()->AttachToCurrentThread(pp_resource())
                              : PP_ERROR_NOINTERFACE;
}

int32_t MessageLoop::Run() {
    return loops() != nullptr ? loops()->Run(pp_resource()) : PP_ERROR_NOINTERFACE;
}

int32_t MessageLoop::PostWork(const CompletionCallback& callback, int64_t delay_ms) {
    return loops() != nullptr
               ? loops()->PostWork(pp_resource(), callback.pp_completion_callback(), delay_ms)
               : PP_ERROR_NOINTERFACE;
}

int32_t MessageLoop::PostQuit(bool should_destroy) {
    return loops() != nullptr ? loops()->PostQuit(pp_resource(), PP_FromBool(should_destroy))
                              : PP_ERROR_NOINTERFACE;
}

}  // namespace pp
