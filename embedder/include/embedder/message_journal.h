#ifndef EMBEDDER_MESSAGE_JOURNAL_H_
#define EMBEDDER_MESSAGE_JOURNAL_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace embedder {

/// What went between pages and the plug-in: writes each message as a line, one JSON object, and tells
/// which requests are unanswered. Any thread.
///
///   {"time":"2026-11-21T08:50:20.939Z","instance":1,"path":"async","request":{"command":"x"}}
///   {"time":"2026-11-21T08:50:20.945Z","instance":1,"path":"async","answer":{"command":"x","status":0},
///    "command":"x","milliseconds":6.012}
///
/// "path" is "async" or "blocking". An answer has the command of its request, when that had one, and
/// the time since; an answer to no request, which an instance could post too, has neither. Of an
/// instance that goes and owes answers, which never come, it is told:
///
///   {"time":"2026-11-21T08:50:21.100Z","instance":1,"gone":true}
class MessageJournal {
  public:
    using Clock = std::chrono::steady_clock;
    using Instance = std::int32_t;

    /// Names a request.
    using Number = std::uint64_t;

    struct Asked {
        Number number;
        Instance instance;
        bool blocking;
        std::string command;  ///< empty for a request without one
    };

    /// @param write  takes each line, without a line end; one at a time.
    explicit MessageJournal(std::function<void(const std::string& line)> write);

    /// A page has posted a message.
    ///
    /// @param message  as JSON, or whatever else shows a value that JSON lacks.
    /// @param command  the text that names the command; empty when there is none.
    Number posted(Instance instance, const std::string& message, const std::string& command);

    /// The plug-in has posted one: the answer to the oldest request with its command. One without a
    /// command is to the oldest request that no command of the asynchronous path can be answered by,
    /// or else to the oldest.
    ///
    /// @return the request.
    std::optional<Asked> answered(Instance instance, const std::string& message,
                                  const std::string& command);

    /// A page waits for a reply.
    Number called(Instance instance, const std::string& message, const std::string& command);
    void replied(Number call, const std::string& message);

    /// The instance is gone, and with it the answers that it owes.
    void forget(Instance instance);

    /// The line of that.
    static std::string goneLine(Instance instance);

    /// In the order in which they came.
    std::vector<Asked> unanswered() const;

  private:
    struct Request {
        Asked about;
        Clock::time_point since;
    };
    using Requests = std::list<Request>;

    Number begin(Instance instance, bool blocking, const std::string& message,
                 const std::string& command);
    void end(Instance instance, const std::string& message, Requests::iterator request,
             bool blocking);
    Requests::iterator requestOf(Instance instance, const std::string& command);

    mutable std::mutex m_mutex;
    const std::function<void(const std::string&)> m_write;
    Number m_last = 0;
    Requests m_requests;
};

/// "2024-05-01T12:00:00.123Z"
std::string isoTime(std::chrono::system_clock::time_point time);

}  // namespace embedder

#endif
