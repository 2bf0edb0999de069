#ifndef VCONF_H_
#define VCONF_H_

#ifdef __cplusplus
extern "C" {
#endif

/** A key of the configuration store with its value; opaque. */
typedef struct vconf_node vconf_node;

/** Told of a change of a key, on a thread of the store's. */
typedef void (*vconf_callback)(vconf_node* node, void* user_data);

/**
 * Subscribes to changes of a key. Any thread.
 *
 * @param key        copied; not null.
 * @param callback   not null.
 * @param user_data  handed to the callback.
 * @return 0, or -1 for a null argument.
 */
int vconf_watch_key_changed(const char* key, vconf_callback callback, void* user_data);

/**
 * Withdraws a subscription. Any thread.
 *
 * @param key       not null.
 * @param callback  the one that was subscribed; null withdraws every one of the key.
 * @return 0, or -1 when there was none or `key` is null.
 */
int vconf_ignore_key_changed(const char* key, vconf_callback callback);

#ifdef __cplusplus
}
#endif

#endif
