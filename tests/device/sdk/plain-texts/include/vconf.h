/* Texts are char* everywhere. */
#ifndef VCONF_H_
#define VCONF_H_

#ifdef __cplusplus
extern "C" {
#endif

typedef struct keynode keynode_t;
typedef void (*vconf_callback_fn)(keynode_t* node, void* user_data);
int vconf_ignore_key_changed(char* key, vconf_callback_fn callback);

#ifdef __cplusplus
}
#endif

#endif
