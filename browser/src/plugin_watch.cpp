#include "src/plugin_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "embedder/commands.h"
#include "embedder/output_file.h"
#include "src/later.h"
#include "src/output.h"
#include "wrapper/events.h"

namespace browser {
namespace {

QString plain(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

PluginWatch::PluginWatch(std::filesystem::path pipe, const embedder::Options& options)
    : m_pipe(std::move(pipe)),
      m_toOutput(options.messages == "-"),
      m_journal([](const std::string&) {}) {
    if (!options.messages.empty() && !m_toOutput) {
        m_file = embedder::openOutputFile(options.messages, "the messages");
    }
    if (options.pseudonyms) m_pseudonyms.emplace();
    open();
}

PluginWatch::~PluginWatch() {
    m_notifier.reset();
    close(m_descriptor);
    if (m_file != nullptr) std::fclose(m_file);
}

/// For the next process, too: a pipe that has been left by all who wrote never rests.
void PluginWatch::open() {
    const int opened = ::open(m_pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    m_notifier.reset();
    if (m_descriptor >= 0) close(m_descriptor);
    m_descriptor = opened;
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] {
        // Later, as this may replace the one that calls.
        later(m_context, 0, [this] { catchUp(); });
        m_notifier->setEnabled(false);
    });
}

void PluginWatch::catchUp() {
    std::array<char, 65536> part;
    bool wrote = false;
    for (;;) {
        const ssize_t got = read(m_descriptor, part.data(), part.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            const bool hasEnded = got == 0 && (wrote || m_wasWritten);
            if (hasEnded) onEnd();
            break;
        }
        wrote = true;
        m_wasWritten = true;
        m_rest.append(part.data(), static_cast<int>(got));
        int begin = 0;
        for (int end = 0; (end = m_rest.indexOf('\n', begin)) >= 0; begin = end + 1) {
            const auto event =
                nlohmann::json::parse(m_rest.constData() + begin, m_rest.constData() + end, nullptr,
                                      false);  // a process may die in the middle of a line
            if (event.is_array()) onEvent(event);
        }
        m_rest.remove(0, begin);
    }
    if (m_notifier) m_notifier->setEnabled(true);
}

void PluginWatch::onEvent(const nlohmann::json& event) {
    const std::string name = event.at(0);
    if (name == kEventCreated) {
        m_instances.insert(event.at(1).get<std::int32_t>());
    } else if (name == kEventGone) {
        m_instances.erase(event.at(1).get<std::int32_t>());
        m_journal.forget(event.at(1).get<std::int32_t>());
    } else if (name == kEventPosted) {
        m_journal.posted(event.at(1), "", event.at(2));
    } else if (name == kEventAnswered) {
        m_journal.answered(event.at(1), "", event.at(2));
    } else if (name == kEventCalled) {
        m_calls[event.at(3)] = m_journal.called(event.at(1), "", event.at(2));
    } else if (name == kEventReplied) {
        const auto call = m_calls.extract(event.at(1).get<std::uint64_t>());
        if (call) m_journal.replied(call.mapped(), "");
    } else if (name == kEventRefused) {
        ++m_refusals;
        const std::string command = event.at(1);
        if (m_told.insert("command " + command).second) {
            complain(plain(embedder::explainRefusal(command)));
        }
    } else if (name == kEventStranger) {
        const std::string address = event.at(1);
        if (m_told.insert("address " + address).second) {
            complain(
                QStringLiteral("nothing is granted to %1: it is not of an application's origin")
                    .arg(plain(address)));
        }
    } else if (name == kEventMessage) {
        writeMessage(event.at(1));
    } else if (name == kEventEnding) {
        m_ending = plain(event.at(1));
    }
}

void PluginWatch::onEnd() {
    m_rest.clear();
    m_wasWritten = false;
    if (m_notifier) open();
    // Without instances it ends because it is of no use any more.
    if (!m_instances.empty()) {
        ++m_deaths;
        const QStringList lost = unanswered();
        complain(
            QStringLiteral("the plug-in's process has ended: %1; %2; its elements work again when "
                           "they have been removed and added")
                .arg(m_ending.isEmpty() ? QStringLiteral("killed, or left without a word")
                                        : m_ending,
                     lost.isEmpty() ? QStringLiteral("nothing was under way")
                                    : QStringLiteral("lost: ") + lost.join(QStringLiteral(", "))));
    }
    const auto open = m_journal.unanswered();
    for (const std::int32_t instance : std::exchange(m_instances, {})) {
        const bool owes = std::any_of(open.begin(), open.end(), [&](const auto& request) {
            return request.instance == instance;
        });
        if (owes) writeMessage(embedder::MessageJournal::goneLine(instance));
        m_journal.forget(instance);
    }
    m_calls.clear();
    m_ending.clear();
}

void PluginWatch::writeMessage(const std::string& line) {
    if (m_messageWatcher) m_messageWatcher(line);
    if (m_toOutput) return printLine(plain(line));
    if (m_file == nullptr || !m_works) return;
    const std::string written = m_pseudonyms ? m_pseudonyms->line(line) : line;
    m_works = std::fputs((written + "\n").c_str(), m_file) >= 0 && std::fflush(m_file) == 0;
    if (!m_works) {
        complain(QStringLiteral("the messages cannot be written: ") +
                 QString::fromLocal8Bit(std::strerror(errno)));
    }
}

QStringList PluginWatch::unanswered() const {
    QStringList commands;
    for (const auto& request : m_journal.unanswered()) {
        commands << (request.command.empty() ? QStringLiteral("a message without a command")
                                             : plain(request.command));
    }
    return commands;
}

QStringList PluginWatch::faults() const {
    QStringList found;
    if (m_deaths > 0) found << QStringLiteral("the plug-in's process ended");
    if (m_refusals > 0) {
        found << (m_refusals == 1 ? QStringLiteral("1 request was refused")
                                  : QStringLiteral("%1 requests were refused").arg(m_refusals));
    }
    const QStringList requests = unanswered();
    if (!requests.isEmpty()) {
        found << QStringLiteral("%1 without an answer (%2)")
                     .arg(requests.size() == 1 ? QStringLiteral("1 request")
                                               : QStringLiteral("%1 requests").arg(requests.size()),
                          requests.join(QStringLiteral(", ")));
    }
    return found;
}

}  // namespace browser
