#ifndef HOST_SRC_PAGE_H_
#define HOST_SRC_PAGE_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/message.h"

namespace host {

/// What reaches the page: messages of the module, and lines on the console. Any thread; the hooks
/// are called without a lock, after the message or line was stored.
class Page {
  public:
    Page(std::function<void(const Message&)> onMessage,
         std::function<void(const std::string&)> onConsole);

    void deliver(const Message& message);
    std::vector<Message> takeMessages();
    bool waitForMessages(std::size_t count, std::chrono::milliseconds timeout);

    void log(const std::string& line);
    std::vector<std::string> consoleLines() const;

  private:
    const std::function<void(const Message&)> m_onMessage;
    const std::function<void(const std::string&)> m_onConsole;
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Message> m_messages;
    std::vector<std::string> m_console;
};

}  // namespace host

#endif
