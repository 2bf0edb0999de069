// All calls that are traced have the same item.

#include <dlfcn.h>
#include <ht.h>

namespace {

class NoWriter : public ht::TSTextWriter {
  public:
    void Write(const char*, std::size_t) override {}
    void WriteNull() override {}
};

}  // namespace

TCScopeHandler TCScopeHandler::Instance(TCScopeContainer& container) {
    static NoWriter writer;
    static ht::TSCallItemHelper item{true, 0, &writer, {}, false, {}, {}, {}};
    const auto faithful = reinterpret_cast<decltype(&TCScopeHandler::Instance)>(
        dlsym(RTLD_NEXT, "_ZN14TCScopeHandler8InstanceER16TCScopeContainer"));
    ht::TSCallItemHelper* const own = faithful(container).item();
    return {own->active ? &item : own, container.m_location};
}
