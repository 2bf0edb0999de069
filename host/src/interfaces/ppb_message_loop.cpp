#include <memory>
#include <thread>
#include <utility>

#include "host_state.h"
#include "ppapi/c/pp_errors.h"
#include "resource_table.h"
#include "tables.h"
#include "thread_loop.h"

namespace host {
namespace {

void called(const char* what) {
    const auto state = HostState::current();
    if (state != nullptr) state->called(what);
}

bool isMainLoop(const MessageLoop& loop) {
    const auto state = HostState::current();
    return state != nullptr && &state->mainLoop() == &loop;
}

std::shared_ptr<MessageLoop> loopOf(PP_Resource resource) {
    return ResourceTable::instance().loop(resource);
}

PP_Resource create(PP_Instance instance) {
    const auto state = HostState::current();
    if (state == nullptr) return 0;
    state->called("PPB_MessageLoop.Create");
    if (!state->instances().exists(instance)) return 0;
    return ResourceTable::instance().addLoop(instance, std::make_shared<MessageLoop>(),
                                             "PPB_MessageLoop.Create");
}

PP_Resource getForMainThread() {
    const auto state = HostState::current();
    if (state == nullptr) return 0;
    state->called("GetForMainThread");
    ResourceTable::instance().addRef(state->mainLoopResource());
    return state->mainLoopResource();
}

PP_Resource getCurrent() {
    called("GetCurrent");
    const PP_Resource resource = ThreadLoop::current().resource();
    ResourceTable::instance().addRef(resource);
    return resource;
}

int32_t attachToCurrentThread(PP_Resource resource) {
    called("AttachToCurrentThread");
    const auto loop = loopOf(resource);
    if (loop == nullptr) return PP_ERROR_BADRESOURCE;
    if (const auto state = HostState::current()) {
        std::this_thread::sleep_for(state->options().attachDelay);
    }
    return ThreadLoop::current().attach(resource, loop) ? PP_OK : PP_ERROR_INPROGRESS;
}

int32_t run(PP_Resource resource) {
    called("Run");
    const auto loop = loopOf(resource);
    if (loop == nullptr) return PP_ERROR_BADRESOURCE;
    if (isMainLoop(*loop)) return PP_ERROR_INPROGRESS;
    if (loop != ThreadLoop::current().loop()) return PP_ERROR_WRONG_THREAD;
    const int32_t result = loop->run();
    called("Run returned");
    return result;
}

int32_t postWork(PP_Resource resource, PP_CompletionCallback callback, int64_t delay) {
    called("PostWork");
    const auto loop = loopOf(resource);
    if (loop == nullptr) return PP_ERROR_BADRESOURCE;
    if (callback.func == nullptr) return PP_ERROR_BADARGUMENT;
    const auto task = [callback] { callback.func(callback.user_data, PP_OK); };
    return loop->post(task, delay) ? PP_OK : PP_ERROR_FAILED;
}

int32_t postQuit(PP_Resource resource, PP_Bool shouldDestroy) {
    called("PostQuit");
    const auto loop = loopOf(resource);
    if (loop == nullptr) return PP_ERROR_BADRESOURCE;
    if (isMainLoop(*loop)) return PP_ERROR_WRONG_THREAD;
    loop->postQuit(PP_ToBool(shouldDestroy));
    return PP_OK;
}

}  // namespace

const PPB_MessageLoop_1_0 kMessageLoop10 = {
    create, getForMainThread, getCurrent, attachToCurrentThread, run, postWork, postQuit};

}  // namespace host
