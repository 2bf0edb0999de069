#ifndef SERVICE_BUS_CLIENT_H_
#define SERVICE_BUS_CLIENT_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "bus_interfaces.h"

namespace service {

constexpr const char* kBusName = "example.korvane.SSO1";
constexpr const char* kAgentPath = "/example/korvane/SSO1/agent";

/// The object path of a state.
std::string pathOf(const std::string& state);

/// A connection to a bus and the account service there, on a thread of its own, which is started with the
/// first call. A lost connection is made again by the next call. No call waits for ever: a service that
/// is asked something and does not answer a ping within kSilence is given up. Any thread.
class BusClient {
  public:
    static constexpr std::chrono::milliseconds kPingInterval{1000};
    static constexpr std::chrono::milliseconds kSilence{3000};

    /// Appends a call's arguments, as sd_bus_message_append() does.
    using Write = std::function<int(sd_bus_message* call)>;
    /// Reads an answer, on the connection's thread; null when there is none: the service cannot be reached,
    /// or refused. May not throw, and may not wait.
    using Read = std::function<void(sd_bus_message* answer)>;
    /// Prepares a new connection, on its thread: objects, further calls. A negative errno gives it up.
    using Prepare = std::function<int(sd_bus* bus)>;
    /// Is told, on the connection's thread, why calls that were under way have no answer: once until one has. May
    /// not throw.
    using Complain = std::function<void(const std::string& why)>;

    /// @param address  of the bus, as in DBUS_SESSION_BUS_ADDRESS.
    explicit BusClient(std::string address, Prepare prepare = {}, Complain complain = {});
    /// Waits for the call of a Read that runs; the others are not called.
    ~BusClient();
    /// In a forked child, which has not the thread: closes its copies of the connection, which is the parent's.
    /// After it only new objects are of use there; this one must not be destroyed.
    void closeInChild();
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    /// Starts a call of the state's object. `read` is called exactly once.
    ///
    /// @param bound  until it is given up; none: only when the service is gone or silent.
    void call(const bus::Method& method, const std::string& path, Write write,
              std::optional<std::chrono::milliseconds> bound, Read read);

    /// Calls and waits, at most `bound`. Not inside a Read.
    ///
    /// @return whether `read` was called with an answer.
    bool callAndWait(const bus::Method& method, const std::string& path, Write write,
                     std::chrono::milliseconds bound, Read read);

  private:
    struct Call;
    using Calls = std::list<Call>;

    void run();
    bool connect();
    void disconnect();
    void start(Call call);
    void ping();
    void failAll(const char* why);
    void complain(const char* why);
    static int onAnswer(sd_bus_message* answer, void* call, sd_bus_error* error);
    static int onPong(sd_bus_message* answer, void* client, sd_bus_error* error);
    void wait();
    void wake();

    const std::string m_address;
    const Prepare m_prepare;
    const Complain m_complain;
    std::mutex m_mutex;
    std::deque<Call> m_wanted;  ///< not started yet
    bool m_stopping = false;
    std::thread m_thread;
    int m_wake = -1;                 ///< eventfd
    std::atomic<int> m_socket = -1;  ///< of the bus
    // Of the thread alone.
    sd_bus* m_bus = nullptr;
    Calls m_calls;  ///< under way
    sd_bus_slot* m_ping = nullptr;
    bool m_hasComplained = false;  ///< since the last answer
    std::chrono::steady_clock::time_point m_nextPing;
};

}  // namespace service

#endif
