// A store without the function that the plug-in calls.

#include <vconf.h>

int vconf_watch_key_changed(const char*, vconf_callback, void*) { return 0; }
