// The store keeps its lock when a key is unknown: the second call waits for ever.

#include <vconf.h>

#include <mutex>

int vconf_ignore_key_changed(const char*, vconf_callback) {
    static std::mutex mutex;
    mutex.lock();
    return -1;
}
