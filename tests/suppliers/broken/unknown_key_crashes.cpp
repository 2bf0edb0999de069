// The store crashes for a key that nobody subscribed.

#include <vconf.h>

#include <cstdlib>

int vconf_ignore_key_changed(const char*, vconf_callback) { std::abort(); }
