#ifndef SSOCTL_REMOTE_H_
#define SSOCTL_REMOTE_H_

#include <systemd/sd-bus.h>

#include <chrono>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ssoctl {

using Json = nlohmann::ordered_json;

/// One state of the account service on a bus. One thread.
class Remote {
  public:
    struct Result {
        int exitCode = 0;
        std::string output;
        std::string error;
    };
    using Deadline = std::optional<std::chrono::steady_clock::time_point>;

    /// @throws Failure  when the bus cannot be reached; so do all functions when the service cannot.
    Remote(const std::string& address, const std::string& state);

    Result run(const std::vector<std::string>& words, const std::string& input);
    /// From now on events are collected.
    void listen();
    /// @return the next event; nothing when the deadline has passed.
    std::optional<Json> nextEvent(Deadline deadline);

  private:
    struct Unref {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    static int onEvent(sd_bus_message* signal, void* remote, sd_bus_error* error);

    std::string m_path;
    std::deque<std::string> m_events;
    bool m_isListening = false;
    std::unique_ptr<sd_bus, Unref> m_bus;
};

}  // namespace ssoctl

#endif
