#ifndef HOST_MESSAGE_H_
#define HOST_MESSAGE_H_

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <string>

#include "host/value.h"
#include "ppapi/c/pp_instance.h"

namespace host {

/// A message that the module posted to a page.
struct Message {
    PP_Instance instance = 0;
    Value value;
    std::chrono::system_clock::time_point time;  ///< when the module posted it
    std::string threadName;                      ///< of the thread that posted it
    pid_t threadId = 0;                          ///< the system's number of that thread
};

/// How a page's blocking call ended.
struct CallResult {
    enum class Status {
        Replied,     ///< `value` is the answer; undefined when the answer could not be converted
        NotHandled,  ///< no handler, or its loop had no thread yet or no more: a page sees an Error
        TimedOut,    ///< no answer in time; a late one is dropped. A page would hang
        InstanceGone,  ///< the instance did not exist, or died before its handler was called
    };
    Status status = Status::TimedOut;
    Value value;

    bool replied() const { return status == Status::Replied; }
};

/// "Replied", "NotHandled", ...
std::ostream& operator<<(std::ostream& stream, CallResult::Status status);

}  // namespace host

#endif
