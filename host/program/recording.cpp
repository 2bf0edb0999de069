#include "recording.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>
#include <map>

#include "embedder/commands.h"
#include "embedder/input_error.h"
#include "embedder/message_journal.h"
#include "host/session.h"
#include "host/value_json.h"
#include "request.h"

namespace {

using embedder::MessageJournal;
using host::Value;
using Json = nlohmann::ordered_json;

constexpr std::size_t kMostMistakes = 10;  // that are told

/// @param line  as it is written: an object that has a "$type", too, stands in one that says so.
Json answerIn(const Json& line) {
    return line.contains("answer") ? line.at("answer") : line.at("value").at("answer");
}

/// Makes a recording, line by line.
class Reader {
  public:
    explicit Reader(const std::string& path) { m_recording.name = path; }

    /// @throws host::RequestError, host::JsonError  for a line that no recording has.
    void add(std::size_t line, const std::string& text) {
        const Value object = host::parseJson(text);
        if (!object.isDictionary()) throw host::RequestError("not a JSON object");
        std::optional<Record> record = readRecord(object);
        if (!record) {
            if (isEvent(object)) return;
            throw host::RequestError("neither a request nor an answer that was recorded");
        }
        const std::int32_t recorded = record->instance;
        record->instance = m_numbers.emplace(recorded, m_last + 1).first->second;
        m_last = std::max(m_last, record->instance);
        if (record->isGone) {
            m_numbers.erase(recorded);  // another may get it
            return addEnd(line, *record);
        }
        if (record->isRequest) return addRequest(line, *record);
        if (record->value == Value(embedder::words().unregistered)) return;
        // With pseudonyms, members stand in the order of the texts that they stand for.
        addAnswer(line, *record,
                  record->hasPseudonyms ? answerIn(Json::parse(text))
                                        : Json::parse(host::writeJson(record->value)));
    }

    const Recording& recording() const { return m_recording; }

  private:
    void addRequest(std::size_t line, const Record& record) {
        const std::string command = commandOf(record.value);
        const std::size_t index = m_recording.messages.size();
        m_recording.messages.push_back({line, record, false, command, std::nullopt, {}});
        if (record.isBlocking) {
            m_calls[record.instance] = index;
        } else {
            m_posts[m_journal.posted(record.instance, "", command)] = index;
        }
    }

    void addAnswer(std::size_t line, const Record& record, Json json) {
        Recording::Message answer = {line, record, false, "", requestFor(record), std::move(json)};
        if (answer.partner) {
            Recording::Message& request = m_recording.messages.at(*answer.partner);
            request.partner = m_recording.messages.size();
            answer.command = request.command;
        }
        m_recording.messages.push_back(std::move(answer));
    }

    void addEnd(std::size_t line, const Record& record) {
        for (const auto& open : m_journal.unanswered()) {
            if (open.instance != record.instance) continue;
            m_recording.messages.at(m_posts.at(open.number)).isCut = true;
        }
        m_journal.forget(record.instance);
        if (const auto call = m_calls.extract(record.instance)) {
            m_recording.messages.at(call.mapped()).isCut = true;
        }
        m_recording.messages.push_back({line, record, false, "", std::nullopt, {}});
    }

    std::optional<std::size_t> requestFor(const Record& answer) {
        if (answer.isBlocking) {
            const auto call = m_calls.extract(answer.instance);
            if (!call) throw host::RequestError("a reply to no call");
            return call.mapped();
        }
        const auto asked = m_journal.answered(answer.instance, "", commandOf(answer.value));
        if (!asked) return std::nullopt;
        return m_posts.at(asked->number);
    }

    Recording m_recording;
    std::int32_t m_last = 0;                         ///< number of an instance
    std::map<std::int32_t, std::int32_t> m_numbers;  ///< by that of the file
    MessageJournal m_journal{[](const std::string&) {}};
    std::map<MessageJournal::Number, std::size_t> m_posts;
    std::map<std::int32_t, std::size_t>
        m_calls;  ///< by instance, while they wait for their replies
};

}  // namespace

Recording readRecording(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path)) {
        throw embedder::InputError("the recording " + path + " cannot be read");
    }
    return readRecording(file, path);
}

Recording readRecording(std::istream& file, const std::string& name) {
    Reader reader(name);
    std::string mistakes;
    std::size_t count = 0;
    std::string text;
    for (std::size_t line = 1; std::getline(file, text); ++line) {
        if (isComment(text)) continue;
        std::string mistake;
        try {
            reader.add(line, text);
            continue;
        } catch (const host::RequestError& error) {
            mistake = error.what();
        } catch (const host::JsonError& error) {
            mistake = error.what();
        }
        if (++count > kMostMistakes) break;
        mistakes.append(name).append(":").append(std::to_string(line)).append(": ");
        mistakes.append(mistake).append("\n");
    }
    if (count > kMostMistakes) mistakes += name + ": and more\n";
    if (file.bad()) mistakes += "the recording " + name + " cannot be read\n";
    if (!mistakes.empty()) throw embedder::InputError(mistakes);
    const auto& messages = reader.recording().messages;
    if (std::none_of(messages.begin(), messages.end(),
                     [](const auto& message) { return message.record.isRequest; })) {
        throw embedder::InputError(name + ": is no recording: it has no request");
    }
    return reader.recording();
}
