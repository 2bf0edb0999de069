#include <chrono>

#include "host_state.h"
#include "resource_table.h"
#include "tables.h"

namespace host {
namespace {

void addRefResource(PP_Resource resource) { ResourceTable::instance().addRef(resource); }
void releaseResource(PP_Resource resource) { ResourceTable::instance().release(resource); }

template <typename Clock>
double seconds() {
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

PP_Time getTime() { return seconds<std::chrono::system_clock>(); }
PP_TimeTicks getTimeTicks() { return seconds<std::chrono::steady_clock>(); }

void callOnMainThread(int32_t delay, PP_CompletionCallback callback, int32_t result) {
    const auto state = HostState::current();
    if (state == nullptr || callback.func == nullptr) return;
    state->called("CallOnMainThread");
    state->mainLoop().post([callback, result] { callback.func(callback.user_data, result); },
                           delay);
}

PP_Bool isMainThread() {
    const auto state = HostState::current();
    return PP_FromBool(state != nullptr && state->isMainThread());
}

}  // namespace

const PPB_Core_1_0 kCore10 = {addRefResource, releaseResource,  getTime,
                              getTimeTicks,   callOnMainThread, isMainThread};

}  // namespace host
