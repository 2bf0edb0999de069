#ifndef BROWSER_PLUGIN_WATCH_H_
#define BROWSER_PLUGIN_WATCH_H_

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "embedder/message_journal.h"
#include "embedder/options.h"
#include "embedder/pseudonyms.h"

namespace browser {

/// What the wrapper tells of the plug-in process, see wrapper/events.h: says on stderr why a command
/// was refused, once for each, and that the process has ended; writes messages; knows which requests
/// are unanswered. The thread of the event loop.
class PluginWatch {
  public:
    /// @param pipe     a named pipe that is there.
    /// @param options  say where messages are written, as JSON lines.
    /// @throws embedder::InputError  when they cannot be.
    PluginWatch(std::filesystem::path pipe, const embedder::Options& options);
    ~PluginWatch();
    PluginWatch(const PluginWatch&) = delete;
    PluginWatch& operator=(const PluginWatch&) = delete;

    /// Has each message told, as embedder::MessageJournal writes it.
    void watchMessages(std::function<void(const std::string& line)> watcher) {
        m_messageWatcher = std::move(watcher);
    }

    /// Reads what has been told up to now.
    void catchUp();

    /// "a request without an answer (sso_plugin_x)" and the like; nothing when all is well.
    QStringList faults() const;

    /// The commands of requests without an answer.
    QStringList unanswered() const;

    /// Whether all messages could be written.
    bool works() const { return m_works; }

  private:
    void open();
    void onEvent(const nlohmann::json& event);
    void onEnd();
    void writeMessage(const std::string& line);

    std::function<void(const std::string&)> m_messageWatcher;
    QObject m_context;  ///< of what is done later
    const std::filesystem::path m_pipe;
    std::FILE* m_file = nullptr;
    bool m_toOutput = false;
    std::optional<embedder::Pseudonyms> m_pseudonyms;  ///< that the file has
    bool m_works = true;
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_wasWritten = false;  ///< since it was opened
    QByteArray m_rest;          ///< of a line that is not whole yet
    embedder::MessageJournal m_journal;
    std::map<std::uint64_t, embedder::MessageJournal::Number> m_calls;
    std::set<std::int32_t> m_instances;
    std::set<std::string> m_told;
    QString m_ending;  ///< how the process says that it ends
    int m_deaths = 0;
    int m_refusals = 0;
};

}  // namespace browser

#endif
