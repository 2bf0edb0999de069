#include "instances.h"

#include <atomic>
#include <utility>

#include "ppapi/c/pp_errors.h"

namespace host {
namespace {

// Like a browser's: large, of either sign, and no two near each other mean anything.
PP_Instance nextId() {
    static std::atomic<std::int32_t> count{0};
    const std::int32_t number = count++;
    const PP_Instance id = 1103515245 + 7 * number;
    return number % 2 == 0 ? id : -id;
}

}  // namespace

PP_Instance Instances::add() {
    const std::lock_guard lock(m_mutex);
    const PP_Instance id = nextId();
    m_instances.try_emplace(id);
    return id;
}

std::vector<Message> Instances::makeReady(PP_Instance instance) {
    const std::lock_guard lock(m_mutex);
    Instance& entry = m_instances.at(instance);
    if (entry.held.empty()) entry.state = State::Ready;
    return std::exchange(entry.held, {});
}

bool Instances::beginEnd(PP_Instance instance) {
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    if (it == m_instances.end() || it->second.state == State::Ending) return false;
    it->second.state = State::Ending;
    return true;
}

void Instances::end(PP_Instance instance) {
    Instance last;  // dies after the lock is released
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    if (it == m_instances.end()) return;
    last = std::move(it->second);
    m_instances.erase(it);
    if (last.handler) postDestroy(instance, *last.handler);
}

bool Instances::exists(PP_Instance instance) const {
    const std::lock_guard lock(m_mutex);
    return m_instances.count(instance) > 0;
}

bool Instances::isReady(PP_Instance instance) const {
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    return it != m_instances.end() && it->second.state == State::Ready;
}

std::vector<PP_Instance> Instances::ids() const {
    const std::lock_guard lock(m_mutex);
    std::vector<PP_Instance> ids;
    for (const auto& entry : m_instances) ids.push_back(entry.first);
    return ids;
}

Instances::Outgoing Instances::post(const Message& message) {
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(message.instance);
    if (it == m_instances.end()) return Outgoing::UnknownInstance;
    if (it->second.state == State::Ending) return Outgoing::Lost;
    if (it->second.state == State::Ready) return Outgoing::Deliver;
    it->second.held.push_back(message);
    return Outgoing::Held;
}

std::int32_t Instances::registerHandler(PP_Instance instance, const MessageHandler& handler,
                                        PP_Resource resource, const MessageLoop& mainLoop) {
    std::optional<MessageHandler> replaced;  // dies after the lock is released
    const std::lock_guard lock(m_mutex);
    const bool attached = handler.loop != nullptr && handler.loop->isAttached();
    std::int32_t result = m_forcedResult;
    if (m_forcedCount > 0) {
        --m_forcedCount;
    } else {
        result = check(instance, handler, mainLoop);
    }
    m_registrations.push_back({instance, resource, attached, result});
    if (result == PP_OK) {
        Instance& entry = m_instances.at(instance);
        entry.latestLoop = handler.loop;
        replaced = std::exchange(entry.handler, handler);
        if (replaced) postDestroy(instance, *replaced);
    }
    return result;
}

std::int32_t Instances::check(PP_Instance instance, const MessageHandler& handler,
                              const MessageLoop& mainLoop) const {
    if (m_instances.count(instance) == 0) return PP_ERROR_BADARGUMENT;
    const PPP_MessageHandler_0_2* table = handler.table;
    if (table == nullptr || table->HandleMessage == nullptr ||
        table->HandleBlockingMessage == nullptr || table->Destroy == nullptr) {
        return PP_ERROR_BADARGUMENT;
    }
    if (handler.loop == nullptr) return PP_ERROR_BADRESOURCE;
    if (handler.loop.get() == &mainLoop) return PP_ERROR_WRONG_THREAD;
    return PP_OK;
}

void Instances::unregisterHandler(PP_Instance instance) {
    std::optional<MessageHandler> removed;  // dies after the lock is released
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    if (it == m_instances.end()) return;
    removed = std::exchange(it->second.handler, std::nullopt);
    if (removed) postDestroy(instance, *removed);
}

void Instances::postDestroy(PP_Instance instance, const MessageHandler& handler) {
    handler.loop->postIfAttached([instance, table = handler.table, userData = handler.userData] {
        table->Destroy(instance, userData);
    });
}

Instances::Route Instances::route(
    PP_Instance instance, const std::function<MessageLoop::Task(const MessageHandler&)>& makeTask) {
    std::optional<MessageHandler> forgotten;  // dies after the lock is released
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    if (it == m_instances.end() || it->second.state != State::Ready) return Route::InstanceGone;
    std::optional<MessageHandler>& handler = it->second.handler;
    if (!handler) return Route::NoHandler;
    if (handler->loop->postIfAttached(makeTask(*handler))) return Route::Handler;
    forgotten = std::exchange(handler, std::nullopt);
    return Route::NoHandler;
}

std::shared_ptr<MessageLoop> Instances::latestLoop(PP_Instance instance) const {
    const std::lock_guard lock(m_mutex);
    const auto it = m_instances.find(instance);
    return it == m_instances.end() ? nullptr : it->second.latestLoop.lock();
}

void Instances::failRegistrations(std::int32_t result, std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_forcedResult = result;
    m_forcedCount = count;
}

std::vector<Registration> Instances::registrations() const {
    const std::lock_guard lock(m_mutex);
    return m_registrations;
}

}  // namespace host
