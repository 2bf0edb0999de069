// A replay that is told of what comes on another thread than the one that plays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "replay.h"
#include "thread_signal.h"

namespace {

using host::Value;

constexpr std::size_t kCalls = 50;

/// Calls on the file's odd lines, each answered on the next.
Recording recordingOfCalls() {
    std::stringstream lines;
    for (std::size_t i = 0; i < kCalls; ++i) {
        lines << R"({"instance":1,"path":"blocking","request":1})"
              << "\n"
              << R"({"instance":1,"path":"blocking","answer":2})"
              << "\n";
    }
    return readRecording(lines, "r.jsonl");
}

/// Plays to another thread, and orders nothing of what the two do.
class UnguardedPlayer : public RequestPlayer {
  public:
    /// Returns when the other thread has told of the call.
    void play(std::size_t number, const Request& request) override {
        if (request.verb != Request::Verb::Call) return;
        m_played.store(number, std::memory_order_relaxed);
        while (m_told.load(std::memory_order_relaxed) < number) std::this_thread::yield();
    }
    void waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout) override {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (!isSo() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    }

    /// On the other thread: does something with the line of each call, until the end.
    void eachPlayed(const std::function<void(std::size_t line)>& tell) {
        for (std::size_t told = 0; told < kEnd; m_told.store(told, std::memory_order_relaxed)) {
            while (m_played.load(std::memory_order_relaxed) == told) std::this_thread::yield();
            told = m_played.load(std::memory_order_relaxed);
            if (told < kEnd) tell(told);
        }
    }
    void end() { m_played.store(kEnd, std::memory_order_relaxed); }

  private:
    static constexpr std::size_t kEnd = 1000;

    std::atomic<std::size_t> m_played = 0;
    std::atomic<std::size_t> m_told = 0;
};

/// What a replay says of which another thread tells each call.
std::string differenceWhen(const std::function<void(Replay&, std::size_t line)>& tell) {
    Replay replay(recordingOfCalls(), support::kLongEnough);
    UnguardedPlayer player;
    std::thread module([&] { player.eachPlayed([&](std::size_t line) { tell(replay, line); }); });
    const std::string difference = replay.run(player);
    player.end();
    module.join();
    return difference;
}

void answer(Replay& replay, std::size_t line) { replay.onEvent({{}, 1, "reply", 2}, {line, ""}); }

TEST(AReplay, ComparesWhatAnotherThreadTells) {
    EXPECT_EQ(differenceWhen(answer), "r.jsonl: the same: 50 requests, 50 answers");
}

TEST(AReplay, IsToldOfAFailureByAnotherThread) {
    EXPECT_EQ(differenceWhen([](Replay& replay, std::size_t line) {
                  if (line != 51) return answer(replay, line);
                  replay.onError({line, ""}, "there was none");
              }),
              "r.jsonl:52: the answer to line 51 is lost: there was none\n"
              "  recorded: 2\n"
              "  came:     nothing");
}

TEST(AReplay, IsToldOfWhatIsTooMuchByAnotherThread) {
    EXPECT_EQ(differenceWhen([](Replay& replay, std::size_t line) {
                  if (line == 51) replay.onEvent({{}, 1, "message", 3}, {});
                  answer(replay, line);
              }),
              "r.jsonl:51: an additional message has come\n"
              "  recorded: nothing\n"
              "  came:     3");
}

}  // namespace
