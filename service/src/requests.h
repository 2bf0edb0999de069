#ifndef SERVICE_REQUESTS_H_
#define SERVICE_REQUESTS_H_

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "bus_interfaces.h"
#include "state.h"

namespace service {

struct UnrefMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
/// A reference to a message of its own.
using Message = std::unique_ptr<sd_bus_message, UnrefMessage>;

/// What an operation gives.
struct Answer {
    int result = 0;                                      ///< as in sso_api.h
    std::vector<std::variant<int, std::string>> values;  ///< none stand for empty ones
};

/// Answers a call of the method.
void reply(sd_bus_message* call, const bus::Method& method, const Answer& answer);

/// The calls of a state that are answered when their time has come, each exactly once.
class Requests {
  public:
    /// What the operation does at its end.
    using Work = std::function<Answer()>;

    explicit Requests(State& state) : m_state(state) {}

    /// Takes a call over, and follows the state's orders.
    ///
    /// @param delay  what it takes without orders.
    void start(sd_bus_message* call, const bus::Method& method, account::Operation operation,
               std::chrono::milliseconds delay, Work work);

    /// Answers a caller's calls with "cancelled".
    void cancel(const std::string& owner);
    void cancelAll();
    /// Answers nothing: the caller is gone.
    void forget(const std::string& owner);

  private:
    struct Request {
        Message call;
        const bus::Method& method;
        account::Operation operation;
        account::Time begin;
        Work work;
        Timer timer;
    };
    using List = std::list<Request>;

    void end(List::iterator request, const Work& work);
    void finish(const Request& request, const Work& work);

    State& m_state;
    List m_requests;
};

}  // namespace service

#endif
