// Recordings that are replayed: what is read is played to a page that answers as it was recorded, or not quite, which
// has to be noticed; and what is written with pseudonyms tells nothing that a page or an account said.
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "embedder/input_error.h"
#include "embedder/message_journal.h"
#include "embedder/pseudonyms.h"
#include "host/program/recording.h"
#include "host/program/replay.h"
#include "host/value_json.h"
#include "support/require.h"

namespace {

using fuzz::require;
using host::Value;

constexpr std::size_t kMostMessages = 64;
/// Shorter texts are in the times and in the protocol's own words by chance.
constexpr std::size_t kShortestSecret = 16;

enum class Answering { AsRecorded, LastOneDiffers, LastOneIsLost };

/// Answers at once with what was recorded, and is never waited for.
class RecordedPage : public RequestPlayer {
  public:
    RecordedPage(const Recording& recording, Answering answering)
        : m_recording(recording), m_answering(answering) {
        for (std::size_t i = 0; i < recording.messages.size(); ++i) {
            const Recording::Message& message = recording.messages[i];
            m_atLine[message.line] = i;
            if (!message.record.isRequest && !message.record.isGone) m_last = i;
        }
    }

    void tell(Replay& replay) { m_replay = &replay; }

    void play(std::size_t number, const Request& request) override {
        const Recording::Message& message = m_recording.messages.at(m_atLine.at(number));
        require(request.recordedInstance == message.record.instance ||
                    request.verb == Request::Verb::Wait,
                "a request is for its instance");
        if (message.record.isRequest) {
            require(request.value == message.record.value, "a request is sent as it was recorded");
            if (message.partner) answer(*message.partner, number);
        } else if (!message.record.isGone && !message.partner) {
            answer(m_atLine.at(number), 0);
        }
    }

    void waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds) override {
        isSo();
    }

    /// Whether there was an answer to change or to lose.
    bool hasAnswer() const { return m_last.has_value(); }

  private:
    void answer(std::size_t index, std::size_t line) {
        const Recording::Message& message = m_recording.messages.at(index);
        const bool isLast = index == m_last;
        if (isLast && m_answering == Answering::LastOneIsLost) {
            if (line != 0) m_replay->onError({line, ""}, "lost");
            return;
        }
        Value value = message.record.value;
        if (isLast && m_answering == Answering::LastOneDiffers) value = Value::Array{value};
        m_replay->onEvent(
            {{}, message.record.instance, message.record.isBlocking ? "reply" : "message", value},
            {line, message.command});
    }

    const Recording& m_recording;
    const Answering m_answering;
    std::map<std::size_t, std::size_t> m_atLine;
    std::optional<std::size_t> m_last;
    Replay* m_replay = nullptr;
};

void play(const Recording& recording, Answering answering) {
    RecordedPage page(recording, answering);
    Replay replay(recording, std::chrono::milliseconds(1));
    page.tell(replay);
    const std::string told = replay.run(page);
    require(!told.empty(), "what became of a replay is told");
    bool isAsWritten = true;
    for (const Recording::Message& message : recording.messages) {
        // Written by hand they may show one value in two ways.
        if (message.record.hasPseudonyms) isAsWritten = false;
    }
    if (answering == Answering::AsRecorded) {
        require(replay.isSame() || !isAsWritten, "the same answers are the same", told);
    } else if (page.hasAnswer()) {
        require(!replay.isSame(), "another answer, or none, is noticed", told);
    }
}

// --- pseudonyms ---

const std::string& knownWords() {
    static const std::string text = [] {
        std::ifstream file(FUZZ_PROTOCOL);
        return std::string((std::istreambuf_iterator<char>(file)), {});
    }();
    return text;
}

void collect(const Value& value, std::vector<std::string>& secrets) {
    const auto add = [&](const std::string& text) {
        // One with numbers may be what a pseudonym looks like.
        if (text.size() >= kShortestSecret && knownWords().find(text) == std::string::npos &&
            text.find_first_of("0123456789") == std::string::npos) {
            secrets.push_back(text);
        }
    };
    if (value.isString()) add(value.asString());
    if (value.isArray()) {
        for (const Value& element : value.asArray()) collect(element, secrets);
    }
    if (value.isDictionary()) {
        for (const auto& [key, member] : value.asDictionary()) {
            add(key);
            collect(member, secrets);
        }
    }
}

void writeAgain(const Recording& recording) {
    std::vector<std::string> lines;
    embedder::Pseudonyms pseudonyms;
    embedder::MessageJournal journal(
        [&](const std::string& line) { lines.push_back(pseudonyms.line(line)); });
    std::map<std::size_t, embedder::MessageJournal::Number> calls;
    for (std::size_t i = 0; i < recording.messages.size(); ++i) {
        const Recording::Message& message = recording.messages[i];
        const Record& record = message.record;
        const std::string json = host::writeJson(record.value);
        if (record.isGone) {
            journal.forget(record.instance);
        } else if (record.isRequest && record.isBlocking) {
            calls[i] = journal.called(record.instance, json, message.command);
        } else if (record.isRequest) {
            journal.posted(record.instance, json, message.command);
        } else if (record.isBlocking) {
            if (message.partner) journal.replied(calls.at(*message.partner), json);
        } else {
            journal.answered(record.instance, json, commandOf(record.value));
        }
    }
    std::vector<std::string> secrets;
    for (const Recording::Message& message : recording.messages) {
        // What looks like a pseudonym may become another's.
        if (!message.record.hasPseudonyms) collect(message.record.value, secrets);
    }
    std::string written;
    for (const std::string& line : lines) {
        for (const std::string& secret : secrets) {
            require(line.find(secret) == std::string::npos, "pseudonyms tell nothing",
                    secret + " in " + line);
        }
        written += line + '\n';
    }
    std::istringstream file(written);
    try {
        readRecording(file, "written");
    } catch (const embedder::InputError& error) {
        require(false, "what was written can be read", error.what() + written);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream file(std::string(reinterpret_cast<const char*>(data), size));
    Recording recording;
    try {
        recording = readRecording(file, "file");
    } catch (const embedder::InputError& error) {
        std::istringstream lines(error.what());
        for (std::string line; std::getline(lines, line);) {
            require(line.compare(0, 5, "file:") == 0, "a mistake is told with the file", line);
        }
        return 0;
    }
    if (recording.messages.size() > kMostMessages) return 0;
    play(recording, Answering::AsRecorded);
    play(recording, Answering::LastOneDiffers);
    play(recording, Answering::LastOneIsLost);
    writeAgain(recording);
    return 0;
}
