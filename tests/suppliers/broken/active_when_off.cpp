// A scope's item is active, whatever the cell says.

#include <ht.h>

#include <dlfcn.h>

TCScopeHandler TCScopeHandler::Instance(TCScopeContainer& container) {
    thread_local ht::TSCallItemHelper item{};
    item.active = true;
    const auto faithful = reinterpret_cast<decltype(&TCScopeHandler::Instance)>(
        dlsym(RTLD_NEXT, "_ZN14TCScopeHandler8InstanceER16TCScopeContainer"));
    ht::TSCallItemHelper* const own = faithful(container).item();
    return {own->active ? own : &item, container.m_location};
}
