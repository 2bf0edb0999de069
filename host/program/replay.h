#ifndef HOST_PROGRAM_REPLAY_H_
#define HOST_PROGRAM_REPLAY_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "embedder/pseudonyms.h"
#include "player.h"
#include "recording.h"

/// Sends a recording's requests again, in their order, and compares what comes with what was recorded: each
/// request's answer, and in their order those messages of an instance that answer none. A request that
/// was sent after an answer waits for that answer here, too. The order of answers to different
/// commands, and times, differ from run to run and are not compared. An instance that went while it owed
/// answers goes again, and what it answers before is not compared.
class Replay : public PlayerListener {
  public:
    /// @param longest  wait for an answer.
    Replay(Recording recording, std::chrono::milliseconds longest);

    /// Up to the first difference.
    ///
    /// @return the difference, or that there is none, in lines for a person.
    std::string run(RequestPlayer& player);

    bool isSame() const { return m_isSame; }

    void onEvent(const host::Event& event, const Origin& origin) override;
    void onError(const Origin& origin, const std::string& reason) override;

  private:
    using Message = Recording::Message;

    /// What is told of a difference; empty for none.
    std::string play(RequestPlayer& player, const Message& message);
    std::string awaitAnswer(RequestPlayer& player, const Message& answer);
    std::string compare(const Message& answer, const host::Value& came);
    /// What has come that is not in the recording; empty for nothing.
    std::string surplus();
    std::string lost(const Message& answer, const std::string& reason) const;
    std::string place(const Message& message) const;
    std::string nameOf(const Message& answer) const;

    const Recording m_recording;
    const std::chrono::milliseconds m_longest;
    bool m_isSame = false;
    embedder::Pseudonyms m_recordedNames;           ///< the same numbers for the same texts,
    embedder::Pseudonyms m_comingNames;             ///< as long as there is no difference
    std::map<std::size_t, std::size_t> m_requests;  ///< index by line
    std::map<std::int32_t, std::size_t> m_recordedUnasked;  ///< how many, by instance
    std::map<std::int32_t, std::size_t> m_comparedUnasked;

    std::mutex m_mutex;                                          // guards all below
    std::map<std::size_t, host::Value> m_answers;                ///< by the request's line
    std::map<std::size_t, std::string> m_failures;               ///< likewise
    std::map<std::int32_t, std::vector<host::Value>> m_unasked;  ///< by instance
    std::string m_surplus;                                       ///< what is told of it
    std::size_t m_current = 0;  ///< index of the message that is played
};

#endif
