// Breaks one rule for references per message, which names it.

#include <memory>

#include "handler_thread.h"

namespace {

std::unique_ptr<module::HandlerThread> g_thread;  // main thread only

void handleMessage(PP_Instance, void*, const PP_Var* message) {
    const std::string fault = module::textOf(*message);
    if (fault == "leak") module::makeText("kept for ever");
    if (fault == "release twice") {
        const PP_Var var = module::makeText("released twice");
        module::vars().Release(var);
        module::vars().Release(var);
    }
    if (fault == "release what is borrowed") module::vars().Release(*message);
    if (fault == "release a foreign resource") module::core().ReleaseResource(4711);
}

// Gives the message back without a reference of its own.
void handleBlockingMessage(PP_Instance, void*, const PP_Var* message, PP_Var* response) {
    *response = *message;
}

void destroy(PP_Instance, void*) {}

const PPP_MessageHandler_0_2 kHandler = {&handleMessage, &handleBlockingMessage, &destroy};

bool didCreate(PP_Instance instance) {
    g_thread = std::make_unique<module::HandlerThread>(instance, &kHandler);
    return true;
}

void didDestroy(PP_Instance) { g_thread.reset(); }

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, nullptr};
