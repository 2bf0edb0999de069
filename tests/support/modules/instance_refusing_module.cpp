// Starts, and refuses every instance.

#include "c_module.h"

namespace {

bool didCreate(PP_Instance) { return false; }
void didDestroy(PP_Instance) {}

}  // namespace

const module::Behaviour module::kBehaviour = {&didCreate, &didDestroy, nullptr};
