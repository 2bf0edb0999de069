#include "thread_loop.h"

#include "resource_table.h"

namespace host {

ThreadLoop& ThreadLoop::current() {
    static thread_local ThreadLoop threadLoop;
    return threadLoop;
}

bool ThreadLoop::attach(PP_Resource resource, std::shared_ptr<MessageLoop> loop) {
    if (m_loop != nullptr || !loop->attach()) return false;
    ResourceTable::instance().addHostReference(resource);
    m_resource = resource;
    m_loop = std::move(loop);
    return true;
}

ThreadLoop::~ThreadLoop() {
    if (m_loop == nullptr) return;
    m_loop->abandon();
    ResourceTable::instance().dropHostReference(m_resource);
}

}  // namespace host
