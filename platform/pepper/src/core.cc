#include "ppapi/cpp/core.h"

#include "ppapi/cpp/completion_callback.h"

namespace pp {

void Core::AddRefResource(PP_Resource resource) { interface_->AddRefResource(resource); }

void Core::ReleaseResource(PP_Resource resource) { interface_->ReleaseResource(resource); }

PP_Time Core::GetTime() { return interface_->GetTime(); }

PP_TimeTicks Core::GetTimeTicks() { return interface_->GetTimeTicks(); }

void Core::CallOnMainThread(int32_t delay_in_milliseconds, const CompletionCallback& callback,
                            int32_t result) {
    interface_->CallOnMainThread(delay_in_milliseconds, callback.pp_completion_callback(), result);
}

bool Core::IsMainThread() { return PP_ToBool(interface_->IsMainThread()); }

}  // namespace pp
