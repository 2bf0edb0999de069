#include "player.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <utility>

#include "embedder/commands.h"
#include "host/value_json.h"

namespace {

using embedder::MessageJournal;
using host::Value;

host::HostOptions optionsFor(const CommandLine& commandLine) {
    host::HostOptions options;
    options.modulePath = commandLine.common.module;
    options.onConsole = [](const std::string& line) {
        // In one piece, as other threads write too.
        std::cerr << "sso-host: console: " + line + "\n";
    };
    return options;
}

bool isRefusal(const Value& answer, const char* key) {
    return answer.isDictionary() && answer.has(key) && answer[key] == Value(embedder::kRefused);
}

}  // namespace

Player::Player(const CommandLine& commandLine, PlayerListener& listener,
               std::function<void(const std::string&)> messages)
    : m_listener(listener),
      m_writesMessages(messages != nullptr),
      m_journal(messages != nullptr ? std::move(messages) : [](const std::string&) {}),
      m_watch(commandLine.common.module, commandLine.moduleTimeout),
      m_session([&] {
          const ModuleWatch::Step step(m_watch, "start");
          return host::Session(optionsFor(commandLine), commandLine.application,
                               [this](const host::Event& event) { onEvent(event); });
      }()) {
    m_watch.onStarted();
}

void Player::play(std::size_t number, const std::string& line) {
    try {
        play(number, parseRequest(line));
    } catch (const host::RequestError& error) {
        m_listener.onError({number, ""}, error.what());
    }
}

void Player::play(std::size_t number, const Request& request) {
    m_current = {number, ""};
    try {
        handle(request);
    } catch (const host::RequestError& error) {
        m_listener.onError(m_current, error.what());
    }
}

void Player::handle(const Request& request) {
    switch (request.verb) {
        case Request::Verb::Post:
            m_current.command = commandOf(request.value);
            return post(instanceFor(request), request.value);
        case Request::Verb::Call:
            m_current.command = commandOf(request.value);
            return call(instanceFor(request), request.value, request.timeout);
        case Request::Verb::Embed: {
            const ModuleWatch::Step step(m_watch, "make an instance");
            m_session.embed(request.attributes, request.application);
            return;
        }
        case Request::Verb::Destroy: {
            const std::int32_t instance = instanceFor(request);
            const ModuleWatch::Step step(m_watch, "remove an instance");
            m_session.destroy(instance);
            return m_journal.forget(instance);
        }
        case Request::Verb::Unregister: {
            const ModuleWatch::Step step(m_watch, "let its message handler go");
            return m_session.unregister(*request.instance);
        }
        case Request::Verb::Wait:
            return m_session.wait(request.count, request.timeout);
        case Request::Verb::Nothing:
            if (request.recordedInstance) instanceFor(request);
            return;
    }
}

std::string Player::shown(const Value& message) const {
    return m_writesMessages ? host::writeJson(message) : "";
}

void Player::post(std::int32_t instance, const Value& value) {
    {
        // The answer may be there before this returns, and asks for the line.
        const std::lock_guard lock(m_mutex);
        m_lines[m_journal.posted(instance, shown(value), m_current.command)] = m_current.line;
    }
    m_session.post(instance, value);
}

void Player::call(std::int32_t instance, const Value& value, std::chrono::milliseconds timeout) {
    m_call = m_journal.called(instance, shown(value), m_current.command);
    m_session.call(instance, value, timeout);
}

std::int32_t Player::instanceFor(const Request& request) {
    if (!request.recordedInstance) return m_session.numberFor(request.instance);
    const auto known = m_recorded.find(*request.recordedInstance);
    if (known != m_recorded.end()) return m_session.numberFor(known->second);
    std::int32_t instance = 0;
    if (m_recorded.empty()) {
        instance = m_session.numberFor(std::nullopt);
    } else {
        const ModuleWatch::Step step(m_watch, "make an instance");
        instance = m_session.embed({}, std::nullopt);
    }
    m_recorded[*request.recordedInstance] = instance;
    return instance;
}

void Player::onEvent(const host::Event& event) {
    const bool isMessage = event.name == "message";
    const bool isReply = event.name == "reply";
    const Origin origin = isMessage ? answeredBy(event) : m_current;
    if (isReply) m_journal.replied(m_call, shown(event.value));
    m_listener.onEvent(event, origin);
    const bool isRefused = (isMessage && isRefusal(event.value, "status")) ||
                           (isReply && isRefusal(event.value, "code"));
    if (isRefused) tellRefusal(origin.command);
}

Origin Player::answeredBy(const host::Event& message) {
    const std::lock_guard lock(m_mutex);
    const auto asked =
        m_journal.answered(message.instance, shown(message.value), commandOf(message.value));
    if (!asked) return {};
    return {m_lines.extract(asked->number).mapped(), asked->command};
}

void Player::tellRefusal(const std::string& command) {
    ++m_refusals;
    if (!m_toldRefusals.insert(command).second) return;
    std::cerr << "sso-host: " + embedder::explainRefusal(command) + "\n";
}

std::vector<MessageJournal::Asked> Player::unanswered() const {
    std::vector<MessageJournal::Asked> posts = m_journal.unanswered();
    // Of a call without a reply its line has told.
    posts.erase(std::remove_if(posts.begin(), posts.end(),
                               [](const auto& request) { return request.blocking; }),
                posts.end());
    return posts;
}

void Player::waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout) {
    m_session.waitUntil(isSo, timeout);
}

void Player::finish(std::chrono::milliseconds linger) {
    m_session.waitUntil([this] { return unanswered().empty(); }, linger);
    const std::lock_guard lock(m_mutex);
    for (const auto& request : unanswered()) {
        m_listener.onError({m_lines.at(request.number), request.command},
                           "the post has no answer at the end of the run");
    }
}

std::vector<std::string> Player::unload() {
    const ModuleWatch::Step step(m_watch, "end");
    return m_session.unload();
}
