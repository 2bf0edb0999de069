#ifndef PPAPI_C_PP_STDINT_H_
#define PPAPI_C_PP_STDINT_H_

#include <stddef.h>
#include <stdint.h>

#endif
