#ifndef SUPPLIERS_BROKEN_FAITHFUL_H_
#define SUPPLIERS_BROKEN_FAITHFUL_H_

#include <dlfcn.h>

/// The function that a broken one stands in front of: a library here is a stand-in but for one thing.
#define FAITHFUL(function) (reinterpret_cast<decltype(&(function))>(dlsym(RTLD_NEXT, #function)))

#endif
