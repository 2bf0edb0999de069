#ifndef HOST_PROGRAM_PLAYER_H_
#define HOST_PROGRAM_PLAYER_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "command_line.h"
#include "embedder/message_journal.h"
#include "host/session.h"
#include "module_watch.h"
#include "request.h"

/// Where a request comes from, and what it asks for.
struct Origin {
    std::size_t line = 0;  ///< 0 for none
    std::string command;   ///< empty for none
};

/// Whoever wants to know what comes of the requests. One call at a time, on any thread; it must not call the
/// player.
class PlayerListener {
  public:
    virtual ~PlayerListener() = default;
    virtual void onEvent(const host::Event& event, const Origin& origin) = 0;
    /// A request was not done, or has no answer.
    virtual void onError(const Origin& origin, const std::string& reason) = 0;
};

/// Whoever plays the page for a recording.
class RequestPlayer {
  public:
    virtual ~RequestPlayer() = default;
    virtual void play(std::size_t number, const Request& request) = 0;
    /// Waits until something is so, which is asked when a message has been told, but not longer than
    /// the timeout. It must not call the player.
    virtual void waitUntil(const std::function<bool()>& isSo,
                           std::chrono::milliseconds timeout) = 0;
};

/// Plays the page, request by request. One thread, but for what comes from the module.
class Player : public RequestPlayer {
  public:
    /// Loads the module and embeds instance 1.
    ///
    /// @param listener  told of all that happens. Not copied.
    /// @param messages  takes the lines of the messages; empty when they are not wanted.
    /// @throws host::LoadError, host::EmbedError
    Player(const CommandLine& commandLine, PlayerListener& listener,
           std::function<void(const std::string&)> messages);

    /// Does what a line asks for.
    void play(std::size_t number, const std::string& line);
    void play(std::size_t number, const Request& request) override;

    void waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout) override;

    /// Waits for answers to posts, and tells of those that have none.
    void finish(std::chrono::milliseconds linger);

    /// Unloads the module. @return what it did wrong with references.
    std::vector<std::string> unload();

    /// How many requests the plug-in refused for lack of a privilege; after unload().
    std::size_t refusals() const { return m_refusals; }

  private:
    void handle(const Request& request);
    void post(std::int32_t instance, const host::Value& value);
    void call(std::int32_t instance, const host::Value& value, std::chrono::milliseconds timeout);
    std::int32_t instanceFor(const Request& request);
    /// For the journal.
    std::string shown(const host::Value& message) const;
    void onEvent(const host::Event& event);
    /// The request that a message answers. @return line 0 for none.
    Origin answeredBy(const host::Event& message);
    void tellRefusal(const std::string& command);
    std::vector<embedder::MessageJournal::Asked> unanswered() const;

    PlayerListener& m_listener;
    const bool m_writesMessages;
    embedder::MessageJournal m_journal;
    Origin m_current;
    embedder::MessageJournal::Number m_call = 0;  ///< that is under way
    std::map<std::int32_t, std::int32_t> m_recorded;

    std::mutex m_mutex;  // guards the posts' lines, which answers may look for on other threads
    std::map<embedder::MessageJournal::Number, std::size_t> m_lines;

    // Only touched by events, one at a time.
    std::set<std::string> m_toldRefusals;
    std::size_t m_refusals = 0;

    ModuleWatch m_watch;
    // Last: told by it are the members above.
    host::Session m_session;
};

#endif
