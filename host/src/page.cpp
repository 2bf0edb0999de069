#include "page.h"

#include <utility>

namespace host {
namespace {

constexpr std::size_t kMaxConsoleLines = 10000;

}  // namespace

Page::Page(std::function<void(const Message&)> onMessage,
           std::function<void(const std::string&)> onConsole)
    : m_onMessage(std::move(onMessage)), m_onConsole(std::move(onConsole)) {}

void Page::deliver(const Message& message) {
    {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(message);
    }
    m_arrived.notify_all();
    if (m_onMessage) m_onMessage(message);
}

std::vector<Message> Page::takeMessages() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_messages, {});
}

bool Page::waitForMessages(std::size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    return m_arrived.wait_for(lock, timeout, [&] { return m_messages.size() >= count; });
}

void Page::log(const std::string& line) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_console.size() < kMaxConsoleLines) m_console.push_back(line);
    }
    if (m_onConsole) m_onConsole(line);
}

std::vector<std::string> Page::consoleLines() const {
    const std::lock_guard lock(m_mutex);
    return m_console;
}

}  // namespace host
