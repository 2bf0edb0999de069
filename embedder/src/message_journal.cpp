#include "embedder/message_journal.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "embedder/commands.h"

namespace embedder {
namespace {

std::string quoted(const std::string& text) {
    using nlohmann::json;
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string lineBegin(MessageJournal::Instance instance, bool blocking) {
    return R"({"time":")" + isoTime(std::chrono::system_clock::now()) + R"(","instance":)" +
           std::to_string(instance) + R"(,"path":")" + (blocking ? "blocking" : "async") + "\",";
}

std::string milliseconds(MessageJournal::Clock::duration time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f",
                  std::chrono::duration<double, std::milli>(time).count());
    return text;
}

/// Whether an answer can name the command of this request.
bool isAnsweredByName(const MessageJournal::Asked& request) {
    const Command* known = findCommand(request.command);
    return !request.command.empty() && (known == nullptr || !known->blocking);
}

}  // namespace

MessageJournal::MessageJournal(std::function<void(const std::string& line)> write)
    : m_write(std::move(write)) {}

MessageJournal::Number MessageJournal::begin(Instance instance, bool blocking,
                                             const std::string& message,
                                             const std::string& command) {
    const std::lock_guard lock(m_mutex);
    m_write(lineBegin(instance, blocking) + R"("request":)" + message + "}");
    m_requests.push_back({{++m_last, instance, blocking, command}, Clock::now()});
    return m_last;
}

void MessageJournal::end(Instance instance, const std::string& message, Requests::iterator request,
                         bool blocking) {
    std::string line = lineBegin(instance, blocking) + R"("answer":)" + message;
    if (request != m_requests.end()) {
        const std::string& command = request->about.command;
        if (!command.empty()) line += R"(,"command":)" + quoted(command);
        line += R"(,"milliseconds":)" + milliseconds(Clock::now() - request->since);
        m_requests.erase(request);
    }
    m_write(line + "}");
}

MessageJournal::Requests::iterator MessageJournal::requestOf(Instance instance,
                                                             const std::string& command) {
    const auto oldest = [&](auto&& fits) {
        return std::find_if(m_requests.begin(), m_requests.end(), [&](const Request& request) {
            return request.about.instance == instance && !request.about.blocking &&
                   fits(request.about);
        });
    };
    if (!command.empty()) return oldest([&](auto& about) { return about.command == command; });
    const auto nameless = oldest([](auto& about) { return !isAnsweredByName(about); });
    return nameless != m_requests.end() ? nameless : oldest([](auto&) { return true; });
}

MessageJournal::Number MessageJournal::posted(Instance instance, const std::string& message,
                                              const std::string& command) {
    return begin(instance, false, message, command);
}

std::optional<MessageJournal::Asked> MessageJournal::answered(Instance instance,
                                                              const std::string& message,
                                                              const std::string& command) {
    const std::lock_guard lock(m_mutex);
    const auto request = requestOf(instance, command);
    std::optional<Asked> asked;
    if (request != m_requests.end()) asked = request->about;
    end(instance, message, request, false);
    return asked;
}

MessageJournal::Number MessageJournal::called(Instance instance, const std::string& message,
                                              const std::string& command) {
    return begin(instance, true, message, command);
}

void MessageJournal::replied(Number call, const std::string& message) {
    const std::lock_guard lock(m_mutex);
    const auto request =
        std::find_if(m_requests.begin(), m_requests.end(),
                     [call](const Request& candidate) { return candidate.about.number == call; });
    if (request != m_requests.end()) end(request->about.instance, message, request, true);
}

void MessageJournal::forget(Instance instance) {
    const std::lock_guard lock(m_mutex);
    const std::size_t before = m_requests.size();
    m_requests.remove_if(
        [instance](const Request& request) { return request.about.instance == instance; });
    if (m_requests.size() < before) m_write(goneLine(instance));
}

std::string MessageJournal::goneLine(Instance instance) {
    return R"({"time":")" + isoTime(std::chrono::system_clock::now()) + R"(","instance":)" +
           std::to_string(instance) + R"(,"gone":true})";
}

std::vector<MessageJournal::Asked> MessageJournal::unanswered() const {
    const std::lock_guard lock(m_mutex);
    std::vector<Asked> found;
    for (const Request& request : m_requests) found.push_back(request.about);
    return found;
}

std::string isoTime(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(sinceEpoch / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char date[32];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03dZ", static_cast<int>(sinceEpoch % 1000));
    return std::string(date, length) + fraction;
}

}  // namespace embedder
