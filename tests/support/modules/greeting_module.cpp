// Posts a message with its attributes while its instance is made, and has neither a handler nor PPP_Messaging.

#include "c_module.h"

namespace {

bool didCreate(PP_Instance instance) {
    std::string text = "hello";
    for (const auto& [name, value] : module::attributesOfTheNewest()) {
        text.append(", ").append(name).append("=").append(value);
    }
    const PP_Var greeting = module::makeText(text);
    module::messaging().PostMessage(instance, greeting);
    module::vars().Release(greeting);
    return true;
}

void didDestroy(PP_Instance) {}

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, nullptr};
