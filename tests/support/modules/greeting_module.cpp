// Posts a message while its instance is made, and has neither a handler nor PPP_Messaging.

#include "c_module.h"

namespace {

bool didCreate(PP_Instance instance) {
    const PP_Var greeting = module::makeText("hello");
    module::messaging().PostMessage(instance, greeting);
    module::vars().Release(greeting);
    return true;
}

void didDestroy(PP_Instance) {}

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, nullptr};
