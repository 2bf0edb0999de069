/* The store wants to know the type of the key. */
#ifndef VCONF_H_
#define VCONF_H_

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*vconf_callback_fn)(void* node, void* user_data);
int vconf_ignore_key_changed(const char* key, int type, vconf_callback_fn callback);

#ifdef __cplusplus
}
#endif

#endif
