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

/// So many requests in the file's odd lines, each with its answer in the next.
Recording recordingOfAll() {
    std::stringstream lines;
    for (std::size_t i = 0; i < kCalls; ++i) {
        lines << R"({"instance":1,"path":"blocking","request":1})"
              << "\n"
              << R"({"instance":1,"path":"blocking","answer":2})"
              << "\n";
    }
    return readRecording(lines, "r.jsonl");
}

/// Plays to nobody, and orders nothing of what the threads do.
class UnguardedPlayer : public RequestPlayer {
  public:
    void play(std::size_t number, const Request& request) override {
        if (request.verb == Request::Verb::Call) m_line.store(number, std::memory_order_relaxed);
    }
    void waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout) override {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (!isSo() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    }

    /// Waits until the call of a line is played.
    void awaitLine(std::size_t line) const {
        while (m_line.load(std::memory_order_relaxed) < line) std::this_thread::yield();
    }

  private:
    std::atomic<std::size_t> m_line = 0;
};

/// Runs a replay, each of whose requests is told of on another thread.
std::string told(const std::function<void(Replay&, std::size_t line)>& tell) {
    Replay replay(recordingOfAll(), support::kLongEnough);
    UnguardedPlayer player;
    std::atomic<bool> isOver = false;
    std::thread module([&] {
        for (std::size_t line = 1; line < 2 * kCalls && !isOver; line += 2) {
            player.awaitLine(line);
            tell(replay, line);
        }
    });
    const std::string difference = replay.run(player);
    isOver = true;
    player.play(2 * kCalls, Request{Request::Verb::Call, {}, {}, {}, 0, {}, {}});
    module.join();
    return difference;
}

void answer(Replay& replay, std::size_t line) { replay.onEvent({{}, 1, "reply", 2}, {line, ""}); }

TEST(AReplay, ComparesWhatAnotherThreadTells) {
    EXPECT_EQ(told(answer), "r.jsonl: the same: 50 requests, 50 answers");
}

TEST(AReplay, IsToldOfAFailureByAnotherThread) {
    EXPECT_EQ(told([](Replay& replay, std::size_t line) {
                  if (line != 51) return answer(replay, line);
                  replay.onError({line, ""}, "there was none");
              }),
              "r.jsonl:52: the answer to line 51 is lost: there was none\n"
              "  recorded: 2\n"
              "  came:     nothing");
}

TEST(AReplay, IsToldOfWhatIsTooMuchByAnotherThread) {
    // Before or after the answer in line 52 is awaited.
    EXPECT_THAT(told([](Replay& replay, std::size_t line) {
                    if (line == 51) replay.onEvent({{}, 1, "message", 3}, {});
                    answer(replay, line);
                }),
                ::testing::MatchesRegex("r\\.jsonl:5[12]: an additional message has come\n"
                                        "  recorded: nothing\n"
                                        "  came:     3"));
}

}  // namespace
