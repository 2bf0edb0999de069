// Its handler's loop is attached and never run: messages wait there for ever.

#include <memory>

#include "handler_thread.h"

namespace {

std::unique_ptr<module::HandlerThread> g_thread;  // main thread only

void handleMessage(PP_Instance, void*, const PP_Var*) {}
void handleBlockingMessage(PP_Instance, void*, const PP_Var*, PP_Var*) {}
void destroy(PP_Instance, void*) {}

const PPP_MessageHandler_0_2 kHandler = {&handleMessage, &handleBlockingMessage, &destroy};

bool didCreate(PP_Instance instance) {
    g_thread = std::make_unique<module::HandlerThread>(instance, &kHandler, false);
    return true;
}

void didDestroy(PP_Instance) { g_thread.reset(); }

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, nullptr};
