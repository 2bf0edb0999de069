#ifndef PPAPI_C_PPB_H_
#define PPAPI_C_PPB_H_

/* Looks up a browser interface by its exact name, "Name;major.minor". Null when it is not offered.
 * The table stays valid for the life of the process. Any thread. */
typedef const void* (*PPB_GetInterface)(const char* interface_name);

#endif
