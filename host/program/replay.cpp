#include "replay.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

#include "embedder/commands.h"
#include "host/value_json.h"

namespace {

using host::Value;
using Json = nlohmann::ordered_json;

constexpr std::size_t kShown = 300;               // bytes of a value
constexpr std::size_t kBefore = 100;              // of them before the first that differs
constexpr std::chrono::milliseconds kQuiet(100);  // in which nothing more comes at the end

/// Where two values differ.
struct Difference {
    std::string path;
    const Json* recorded = nullptr;  ///< null when it is missing there
    const Json* came = nullptr;
};

/// @param one, other      are compared.
/// @param shown1, shown2  stand for their parts in what is told: the same values, with other texts.
std::optional<Difference> differenceOf(const Json& one, const Json& other, const Json& shown1,
                                       const Json& shown2, const std::string& path = "") {
    if (one.is_object() && other.is_object()) {
        for (auto member = one.begin(); member != one.end(); ++member) {
            const auto index = std::distance(one.begin(), member);
            const auto& shownMember = std::next(shown1.begin(), index);
            const std::string inner = path + (path.empty() ? "" : ".") + shownMember.key();
            const auto match = other.find(member.key());
            if (match == other.end()) return Difference{inner, &*shownMember, nullptr};
            const Json& shownMatch =
                *std::next(shown2.begin(), std::distance(other.begin(), match));
            auto found = differenceOf(*member, *match, *shownMember, shownMatch, inner);
            if (found) return found;
        }
        for (auto member = other.begin(); member != other.end(); ++member) {
            if (one.contains(member.key())) continue;
            const auto& shown = std::next(shown2.begin(), std::distance(other.begin(), member));
            return Difference{path + (path.empty() ? "" : ".") + shown.key(), nullptr, &*shown};
        }
        return std::nullopt;
    }
    if (one.is_array() && other.is_array()) {
        for (std::size_t i = 0; i < std::max(one.size(), other.size()); ++i) {
            const std::string inner = path + "[" + std::to_string(i) + "]";
            if (i >= other.size()) return Difference{inner, &shown1[i], nullptr};
            if (i >= one.size()) return Difference{inner, nullptr, &shown2[i]};
            auto found = differenceOf(one[i], other[i], shown1[i], shown2[i], inner);
            if (found) return found;
        }
        return std::nullopt;
    }
    if (one == other) return std::nullopt;
    return Difference{path, &shown1, &shown2};
}

std::string textOf(const Json* value) {
    return value == nullptr ? "nothing"
                            : value->dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// A part of a long text, that has the byte from which on it differs.
std::string shortened(const std::string& text, std::size_t differing) {
    const auto isMiddle = [&](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
    };
    if (text.size() <= kShown) return text;
    std::size_t begin = differing <= kBefore ? 0 : differing - kBefore;
    begin = std::min(begin, text.size() - kShown);
    std::size_t end = begin + kShown;
    while (isMiddle(begin)) ++begin;
    while (isMiddle(end)) ++end;
    return (begin > 0 ? "..." : "") + text.substr(begin, end - begin) +
           (end < text.size() ? "..." : "") + " (" + std::to_string(text.size()) + " bytes)";
}

std::string twoLines(const std::string& recorded, const std::string& came) {
    const auto shorter = std::min(recorded.size(), came.size());
    const auto differing = static_cast<std::size_t>(std::distance(
        recorded.begin(),
        std::mismatch(recorded.begin(),
                      std::next(recorded.begin(), static_cast<std::ptrdiff_t>(shorter)),
                      came.begin())
            .first));
    return "\n  recorded: " + shortened(recorded, differing) +
           "\n  came:     " + shortened(came, differing);
}

std::string secondsOf(std::chrono::milliseconds time) {
    std::ostringstream text;
    text << std::chrono::duration<double>(time).count() << " seconds";
    return text.str();
}

/// Whether a message answers no request.
bool isUnasked(const Recording::Message& message) {
    return !message.record.isRequest && !message.record.isGone && !message.partner;
}

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

Replay::Replay(Recording recording, std::chrono::milliseconds longest)
    : m_recording(std::move(recording)), m_longest(longest) {
    for (std::size_t index = 0; index < m_recording.messages.size(); ++index) {
        const Message& message = m_recording.messages[index];
        if (message.record.isRequest) m_requests[message.line] = index;
        if (isUnasked(message)) ++m_recordedUnasked[message.record.instance];
    }
}

std::string Replay::place(const Message& message) const {
    return m_recording.name + ":" + std::to_string(message.line) + ": ";
}

std::string Replay::nameOf(const Message& answer) const {
    if (!answer.partner) return "the message";
    const Message& request = m_recording.messages.at(*answer.partner);
    const std::string line = "line " + std::to_string(request.line);
    return "the answer to " +
           (request.command.empty() ? line : request.command + " (" + line + ")");
}

void Replay::onEvent(const host::Event& event, const Origin& origin) {
    const bool isMessage = event.name == "message";
    if (!isMessage && event.name != "reply") return;
    if (isMessage && event.value == Value(embedder::words().unregistered)) return;
    const std::lock_guard lock(m_mutex);
    std::string told;
    if (origin.line == 0) {
        m_unasked[event.instance].push_back(event.value);
        const auto recorded = m_recordedUnasked.find(event.instance);
        const std::size_t expected = recorded == m_recordedUnasked.end() ? 0 : recorded->second;
        if (m_unasked[event.instance].size() > expected) {
            told = place(m_recording.messages.at(m_current)) + "an additional message has come";
        }
    } else {
        m_answers.emplace(origin.line, event.value);
        const Message& request = m_recording.messages.at(m_requests.at(origin.line));
        if (!request.partner && !request.isCut) {
            told = place(request) + "the request has an answer now";
        }
    }
    if (told.empty() || !m_surplus.empty()) return;
    m_surplus = told + twoLines("nothing", host::writeJson(event.value));
}

void Replay::onError(const Origin& origin, const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    m_failures.emplace(origin.line, reason);
}

std::string Replay::surplus() {
    const std::lock_guard lock(m_mutex);
    return m_surplus;
}

std::string Replay::lost(const Message& answer, const std::string& reason) const {
    return place(answer) + nameOf(answer) + " is lost: " + reason +
           twoLines(textOf(&answer.json), "nothing");
}

std::string Replay::compare(const Message& answer, const Value& came) {
    Json coming = Json::parse(host::writeJson(came));
    std::optional<Difference> found;
    if (answer.record.hasPseudonyms) {
        Json one = answer.json;
        Json other = coming;
        m_recordedNames.replaceAnswer(one, answer.command);
        m_comingNames.replaceAnswer(other, answer.command);
        found = differenceOf(one, other, answer.json, coming);
    } else {
        found = differenceOf(answer.json, coming, answer.json, coming);
    }
    if (!found) return "";
    return place(answer) + nameOf(answer) + " differs" +
           (found->path.empty() ? "" : " in " + found->path) +
           twoLines(textOf(found->recorded), textOf(found->came));
}

std::string Replay::awaitAnswer(RequestPlayer& player, const Message& answer) {
    std::optional<Value> came;
    std::string failure;
    const std::int32_t number = answer.record.instance;
    const std::size_t unasked = answer.partner ? 0 : m_comparedUnasked[number]++;
    const auto look = [&] {
        const std::lock_guard lock(m_mutex);
        if (answer.partner) {
            const std::size_t line = m_recording.messages.at(*answer.partner).line;
            if (auto found = m_answers.extract(line)) came = found.mapped();
            if (auto found = m_failures.extract(line)) failure = found.mapped();
        } else if (m_unasked[number].size() > unasked) {
            came = m_unasked[number][unasked];
        }
        return came || !failure.empty();
    };
    player.waitUntil(look, m_longest);
    if (came) return compare(answer, *came);
    // What came in its place says more.
    if (std::string more = surplus(); !more.empty()) return more;
    return lost(answer, failure.empty() ? "nothing came within " + secondsOf(m_longest) : failure);
}

std::string Replay::play(RequestPlayer& player, const Message& message) {
    Request request;
    request.verb = Request::Verb::Nothing;  // but that there has to be the instance
    request.recordedInstance = message.record.instance;
    if (message.record.isGone) {
        request.verb = Request::Verb::Destroy;
    } else if (message.record.isRequest) {
        request = requestOf(message.record);
        request.timeout = m_longest;
    }
    if (message.record.isRequest && message.record.hasPseudonyms) {
        Json recorded = Json::parse(host::writeJson(message.record.value));
        Json coming = recorded;
        m_recordedNames.replaceRequest(recorded);
        m_comingNames.replaceRequest(coming);
    }
    player.play(message.line, request);
    const bool isAnswer = !message.record.isRequest && !message.record.isGone;
    return isAnswer ? awaitAnswer(player, message) : "";
}

std::string Replay::run(RequestPlayer& player) {
    std::size_t requests = 0;
    std::size_t answers = 0;
    bool isComplete = true;
    for (std::size_t index = 0; index < m_recording.messages.size(); ++index) {
        const Message& message = m_recording.messages[index];
        {
            const std::lock_guard lock(m_mutex);
            m_current = index;
        }
        std::string difference = play(player, message);
        if (difference.empty()) difference = surplus();
        if (!difference.empty()) return difference;
        if (message.record.isRequest) {
            ++requests;
            if (!message.partner && !message.isCut) isComplete = false;
        } else if (!message.record.isGone) {
            ++answers;
        }
    }
    // What had no answer may have one now.
    player.waitUntil([this] { return !surplus().empty(); }, isComplete ? kQuiet : m_longest);
    std::string difference = surplus();
    if (!difference.empty()) return difference;
    m_isSame = true;
    return m_recording.name + ": the same: " + counted(requests, "request") + ", " +
           counted(answers, "answer");
}
