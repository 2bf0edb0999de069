#ifndef HOST_SESSION_H_
#define HOST_SESSION_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "embedder/vendor_table.h"
#include "host/options.h"
#include "host/plugin_host.h"
#include "host/value.h"

namespace host {

/// A request that makes no sense, asks for what is not there, or got no answer. what() is one line.
class RequestError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// One thing that happened to an instance.
struct Event {
    std::chrono::system_clock::time_point time;
    std::int32_t instance = 0;  ///< number
    std::string name;           ///< "message", "reply", "embedded", "destroyed" or "unregistered"
    Value value;                ///< of a message and a reply; else true
};

/// A loaded module and its instances, which have numbers from 1 on, in the order they were made.
/// Every function but those that end it is called on one thread, and plays the page.
class Session {
  public:
    /// Told of the events in their order, one at a time, on any thread. It must not call the session.
    using Sink = std::function<void(const Event&)>;

    /// Loads the module and embeds instance 1, which is no event.
    ///
    /// @param application  that instances run in unless they name another; nothing: the vendor
    ///                     interface is not offered.
    /// @throws LoadError, EmbedError
    Session(HostOptions options, std::optional<embedder::Application> application, Sink sink);
    ~Session();  // NOLINT(bugprone-exception-escape)
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// @name Requests. Each throws RequestError. Without a number it is for the lowest instance.
    /// @{

    void post(std::optional<std::int32_t> instance, const Value& value);
    void call(std::optional<std::int32_t> instance, const Value& value,
              std::chrono::milliseconds timeout);
    /// @param application  that the instance runs in; nothing: the session's.
    ///
    /// @return its number.
    std::int32_t embed(const Attributes& attributes,
                       const std::optional<embedder::Application>& application);
    void destroy(std::int32_t instance);
    void unregister(std::int32_t instance);
    /// Until so many messages have come that no earlier wait() has counted.
    void wait(std::size_t count, std::chrono::milliseconds timeout);

    /// @}

    /// Number of the instance that a request means. @throws RequestError  when there is none.
    std::int32_t numberFor(std::optional<std::int32_t> instance);

    /// Waits until something is so, which is asked when a message has been told, but not longer than
    /// the timeout. It must not call the session.
    void waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout);

    /// Unloads the module; nothing can be asked any more.
    ///
    /// @return what it did wrong with references, one line each.
    std::vector<std::string> unload();

  private:
    class HeldMessages;

    void onMessage();
    void passMessagesOn();  // m_mutex is held
    void tell(std::int32_t number, const std::string& event, const Value& value);
    /// Messages have to be held meanwhile: they can come before the number is known.
    std::int32_t addInstance(const Attributes& attributes,
                             const std::optional<embedder::Application>& application);
    PP_Instance idOf(std::int32_t number);

    const std::optional<embedder::Application> m_application;
    const Sink m_sink;

    // Only touched by the thread that makes the requests.
    std::int32_t m_lastNumber = 0;
    std::map<std::int32_t, PP_Instance> m_live;

    // Guards all below, and the order of events. Taken by the message hook, so never held while the
    // module may be waited for.
    std::mutex m_mutex;
    std::condition_variable m_arrival;
    bool m_holding = false;  // a call or an embedding is under way: its own event comes first
    std::map<PP_Instance, std::int32_t> m_numbers;  // also of instances that are gone
    std::size_t m_messages = 0;
    std::size_t m_awaited = 0;  // of m_messages, by earlier calls of wait()

    // Last: destroyed first, while the hook can still use the members above.
    std::optional<PluginHost> m_host;
};

}  // namespace host

#endif
