#include "host_state.h"

#include <mutex>
#include <utility>

#include "base/never_destroyed.h"
#include "host/browser_interfaces.h"
#include "resource_table.h"
#include "thread_loop.h"

namespace host {
namespace {

struct Current {
    std::mutex mutex;
    std::shared_ptr<HostState> state;
};

Current& currentSlot() {
    // Never destroyed: a module's thread may still ask while the process ends.
    static base::NeverDestroyed<Current> slot;
    return *slot;
}

}  // namespace

HostState::HostState(HostOptions options)
    : m_options(std::move(options)),
      m_mainLoop(std::make_shared<MessageLoop>()),
      m_mainLoopResource(ResourceTable::instance().addMainLoop(m_mainLoop)),
      m_page(m_options.onMessage, m_options.onConsole) {}

std::shared_ptr<HostState> HostState::current() {
    const std::lock_guard lock(currentSlot().mutex);
    return currentSlot().state;
}

bool HostState::install(const std::shared_ptr<HostState>& state) {
    const std::lock_guard lock(currentSlot().mutex);
    if (currentSlot().state != nullptr) return false;
    currentSlot().state = state;
    return true;
}

void HostState::uninstall() {
    std::shared_ptr<HostState> last;  // dies after the lock is released
    const std::lock_guard lock(currentSlot().mutex);
    last.swap(currentSlot().state);
}

void HostState::called(const std::string& what) const {
    if (m_options.onCall) m_options.onCall(what);
}

const void* HostState::getInterface(const char* name) const {
    called(std::string("GetInterface ") + (name != nullptr ? name : "(null)"));
    if (name == nullptr) return nullptr;
    const auto it = m_options.interfaces.find(name);
    return it != m_options.interfaces.end() ? it->second : browserInterface(name);
}

void HostState::enterMainThread() {
    m_mainThread = std::this_thread::get_id();
    ThreadLoop::current().attach(m_mainLoopResource, m_mainLoop);
}

}  // namespace host
