#ifndef HOST_PROGRAM_PLAYER_H_
#define HOST_PROGRAM_PLAYER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "embedder/message_journal.h"
#include "host/session.h"
#include "json_lines.h"
#include "module_watch.h"
#include "request.h"

/// Plays the page, line by line. One thread, but for what comes from the module.
class Player {
  public:
    /// Loads the module and embeds instance 1.
    ///
    /// @param output, messages  where events and, if wanted, the messages go. Not copied.
    /// @throws host::LoadError, host::EmbedError
    Player(const CommandLine& commandLine, JsonLines& output, JsonLines* messages);

    /// Does what a line asks for.
    void play(std::size_t number, const std::string& line);

    /// Waits for answers to posts, and tells of those that have none.
    void finish(std::chrono::milliseconds linger);

    /// Unloads the module. @return what it did wrong with references.
    std::vector<std::string> unload();

    bool hadErrors() const { return m_hadErrors; }
    /// How many requests the plug-in refused for lack of a privilege; after unload().
    std::size_t refusals() const { return m_refusals; }

  private:
    /// The line that a request came from, and what it asked for.
    struct Origin {
        std::size_t line = 0;
        std::string command;  ///< empty for none
    };
    using Fields = JsonLines::Fields;

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
    void tellError(const Origin& origin, const std::string& reason);
    std::vector<embedder::MessageJournal::Asked> unanswered() const;

    JsonLines& m_output;
    const bool m_writesMessages;
    embedder::MessageJournal m_journal;
    Origin m_current;
    embedder::MessageJournal::Number m_call = 0;  ///< that is under way
    std::map<std::int32_t, std::int32_t> m_recorded;
    bool m_hadErrors = false;

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
