// The store crashes when it is loaded.

#include <vconf.h>

#include <cstdlib>

namespace {

const int g_never = (std::abort(), 0);

}  // namespace

int vconf_ignore_key_changed(const char*, vconf_callback) { return g_never; }
