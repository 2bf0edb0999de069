// A traced library that comes and goes.

#include "library.h"

namespace {

int g_enabled;
call_trace_test::Place g_place("void Module::traced()", &g_enabled);

[[gnu::constructor]] void atLoad() { ht_register_library(&g_enabled); }
[[gnu::destructor]] void atUnload() { ht_deregister_library(&g_enabled); }

}  // namespace

extern "C" [[gnu::visibility("default")]] int traced();

/// @return whether its library is traced.
int traced() {
    const call_trace_test::Scope scope(g_place, "kept for later");
    return g_enabled;
}
