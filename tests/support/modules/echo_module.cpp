// Sends every message back: a blocking call gets its argument, a posted message is posted. The text
// "count" gets the number of messages since the module was loaded instead. Without its handler it
// posts the text "main thread".

#include <atomic>
#include <map>
#include <memory>

#include "handler_thread.h"

namespace {

std::atomic<int32_t> g_count{0};
std::map<PP_Instance, std::unique_ptr<module::HandlerThread>> g_threads;  // main thread only

/// One reference for the caller.
PP_Var answerTo(const PP_Var& message) {
    const int32_t count = ++g_count;
    if (module::textOf(message) == "count") return PP_MakeInt32(count);
    module::vars().AddRef(message);
    return message;
}

void handleMessage(PP_Instance instance, void*, const PP_Var* message) {
    const PP_Var answer = answerTo(*message);
    module::messaging().PostMessage(instance, answer);
    module::vars().Release(answer);
}

void handleBlockingMessage(PP_Instance, void*, const PP_Var* message, PP_Var* response) {
    *response = answerTo(*message);
}

void destroy(PP_Instance, void*) {}

const PPP_MessageHandler_0_2 kHandler = {&handleMessage, &handleBlockingMessage, &destroy};

bool didCreate(PP_Instance instance) {
    g_threads[instance] = std::make_unique<module::HandlerThread>(instance, &kHandler);
    return true;
}

void didDestroy(PP_Instance instance) { g_threads.erase(instance); }

void handleUnhandled(PP_Instance instance, PP_Var message) {
    const PP_Var answer = module::makeText("main thread");
    module::messaging().PostMessage(instance, answer);
    module::vars().Release(answer);
    module::vars().Release(message);
}

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, &handleUnhandled};
