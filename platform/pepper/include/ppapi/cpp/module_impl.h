#ifndef PPAPI_CPP_MODULE_IMPL_H_
#define PPAPI_CPP_MODULE_IMPL_H_

#include "ppapi/cpp/module.h"

// Everything here is private to the file that includes it: each one specialises interface_name for
// the tables that it uses, and remembers what the browser answered.
namespace pp {
namespace {

template <typename T>
inline const char* interface_name() {
    return nullptr;
}

/// The browser's table, asked for once; a null answer is remembered too. Any thread.
template <typename T>
inline T const* get_interface() {
    static T const* funcs =
        static_cast<T const*>(Module::Get()->GetBrowserInterface(interface_name<T>()));
    return funcs;
}

template <typename T>
inline bool has_interface() {
    return get_interface<T>() != nullptr;
}

}  // namespace
}  // namespace pp

#endif
