#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "dlog.h"
#include "dlog_control.h"
#include "log_fixture.h"
#include "slow_observer.h"

namespace {

int g_askedForLocalTime = 0;

}  // namespace

// As a browser's child process has it: there the answer comes from the browser's process.
extern "C" __attribute__((visibility("default"))) tm* localtime_r(const time_t* time, tm* result) {
    ++g_askedForLocalTime;
    return gmtime_r(time, result);
}

namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;

struct Line {
    int buffer;
    int priority;
    std::string tag;
    std::string format;
    std::string text;
    std::thread::id thread;
};

class ASink : public ::testing::Test {
  protected:
    ASink() { dlog_control_set_sink(&keep, this); }
    ~ASink() override { dlog_control_set_sink(nullptr, nullptr); }

    std::vector<Line> m_lines;

  private:
    static void keep(const DlogRecord* record, void* user) {
        static_cast<ASink*>(user)->m_lines.push_back({record->buffer, record->priority, record->tag,
                                                      record->format, record->text,
                                                      std::this_thread::get_id()});
    }
};

TEST_F(ASink, SeesEveryArgumentAndTheFormattedText) {
    EXPECT_EQ(__dlog_print(2, 5, "TAG", "%s: %d", "value", 7), 8);
    ASSERT_EQ(m_lines.size(), 1U);
    EXPECT_EQ(m_lines[0].buffer, 2);
    EXPECT_EQ(m_lines[0].priority, 5);
    EXPECT_EQ(m_lines[0].tag, "TAG");
    EXPECT_EQ(m_lines[0].format, "%s: %d");
    EXPECT_EQ(m_lines[0].text, "value: 7");
    EXPECT_EQ(m_lines[0].thread, std::this_thread::get_id());
}

TEST_F(ASink, TakesANullTagAsEmpty) {
    __dlog_print(0, 4, nullptr, "text");
    ASSERT_EQ(m_lines.size(), 1U);
    EXPECT_EQ(m_lines[0].tag, "");
}

TEST_F(ASink, SeesNothingOfANullFormat) {
    const char* none = nullptr;
    EXPECT_EQ(__dlog_print(0, 4, "TAG", none, 0), -1);
    EXPECT_TRUE(m_lines.empty());
}

TEST_F(ASink, GetsALongTextCut) {
    const std::string text(5000, 'x');
    EXPECT_EQ(__dlog_print(0, 4, "TAG", "%s", text.c_str()), 5000);
    ASSERT_EQ(m_lines.size(), 1U);
    EXPECT_EQ(m_lines[0].text, std::string(4095, 'x'));
}

TEST_F(ASink, SeesNothingOnceItIsTakenAway) {
    setenv("DLOG_LEVEL", "silent", 1);
    dlog_control_set_sink(nullptr, nullptr);
    __dlog_print(0, 4, "TAG", "text");
    EXPECT_TRUE(m_lines.empty());
}

TEST_F(ASink, IsNotTakenAwayWhileItRuns) {
    support::SlowObserver slow;
    dlog_control_set_sink(
        [](const DlogRecord*, void* user) { static_cast<support::SlowObserver*>(user)->run(); },
        &slow);
    slow.expectRemovalToWait([] { __dlog_print(0, 4, "TAG", "text"); },
                             [] { dlog_control_set_sink(nullptr, nullptr); });
}

/// Lines of each level.
class ALevel : public TheLogFile {
  protected:
    std::vector<std::string> logged(const char* level) {
        if (level != nullptr) {
            setenv("DLOG_LEVEL", level, 1);
        }
        EXPECT_EXIT(
            {
                __dlog_print(0, 4, "TAG", "detail %d", 1);
                __dlog_print(0, 5, "TAG", "flow");
                __dlog_print(2, 5, "TAG", "error");
                _exit(0);
            },
            ::testing::ExitedWithCode(0), "");
        std::vector<std::string> lines = this->lines();
        for (std::string& line : lines) {
            const std::regex head(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (.)/TAG\( *\d+: *\d+\) (.*))");
            line = std::regex_replace(line, head, "$1 $2");
        }
        return lines;
    }
};

TEST_F(ALevel, HoldsEverythingByDefault) {
    EXPECT_THAT(logged(nullptr),
                ElementsAre("I [main] detail 1", "W [main] flow", "W [system] error"));
}

TEST_F(ALevel, HoldsEverythingAtLevelDetail) {
    EXPECT_THAT(logged("detail"),
                ElementsAre("I [main] detail 1", "W [main] flow", "W [system] error"));
}

TEST_F(ALevel, LeavesDetailOutAtLevelFlow) {
    EXPECT_THAT(logged("flow"), ElementsAre("W [main] flow", "W [system] error"));
}

TEST_F(ALevel, HoldsNothingAtLevelSilent) { EXPECT_THAT(logged("silent"), ElementsAre()); }

/// The month, day, hour and minute of a place at which it is so many seconds more than in Greenwich.
std::string minuteAt(long secondsAhead) {
    const std::time_t time = std::time(nullptr) + secondsAhead;
    tm there{};
    gmtime_r(&time, &there);
    std::array<char, 32> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%m-%d %H:%M", &there);
    return {text.data(), size};
}

TEST_F(TheLogFile, HasLocalTimeOfThisProcessAndAsksNoOther) {
    setenv("TZ", "Here-5:45", 1);
    constexpr long kAhead = (5 * 60 + 45) * 60L;
    const std::string before = minuteAt(kAhead);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "text");
            _exit(g_askedForLocalTime);
        },
        ::testing::ExitedWithCode(0), "");
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_THAT(lines()[0].substr(0, before.size()), AnyOf(before, minuteAt(kAhead)));
}

TEST_F(TheLogFile, HasWholeLinesOfTheLongestTextAndTag) {
    const std::string tag(100, 't');
    const std::string text(5000, 'x');
    EXPECT_EXIT(
        {
            __dlog_print(2, 5, tag.c_str(), "%s", text.c_str());
            __dlog_print(7, 9, nullptr, "next");
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    ASSERT_EQ(lines().size(), 2U);
    const std::string time = R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";
    EXPECT_TRUE(std::regex_match(
        lines()[0].substr(0, lines()[0].size() - 4095),
        std::regex(time + "W/" + std::string(64, 't') + R"(\( *\d+: *\d+\) \[system\] )")));
    EXPECT_EQ(lines()[0].substr(lines()[0].size() - 4095), std::string(4095, 'x'));
    EXPECT_TRUE(
        std::regex_match(lines()[1], std::regex(time + R"(\?/\( *\d+: *\d+\) \[\?\] next)")));
}

TEST_F(TheLogFile, NamesTheProcessAndTheThreadAlsoAfterAFork) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "%d %d", getpid(), gettid());
            std::thread([] { __dlog_print(0, 4, "TAG", "%d %d", getpid(), gettid()); }).join();
            const pid_t child = fork();
            if (child == 0) {
                __dlog_print(0, 4, "TAG", "%d %d", getpid(), gettid());
                _exit(0);
            }
            _exit(waitpid(child, nullptr, 0) == child ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    ASSERT_EQ(lines().size(), 3U);
    for (const std::string& line : lines()) {
        const std::regex numbers(R"(.*\( *(\d+): *(\d+)\) \[main\] (\d+) (\d+))");
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, numbers)) << line;
        EXPECT_EQ(match[1], match[3]);
        EXPECT_EQ(match[2], match[4]);
    }
}

TEST_F(TheLogFile, DoesNotEvenLookAtTheTextOfALineThatTheLevelDrops) {
    const char* const nowhere = reinterpret_cast<const char*>(1);
    setenv("DLOG_LEVEL", "flow", 1);
    EXPECT_EXIT(_exit(__dlog_print(0, 4, "TAG", "%s", nowhere)), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(_exit(__dlog_print(0, 5, "TAG", "%s", "six...")), ::testing::ExitedWithCode(6), "");
}

TEST_F(TheLogService, MakesOneWriteOfALine) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);  // keeps writes apart
    const std::string longText(4095, 'x');
    EXPECT_EXIT(
        {
            dup2(ends[1], STDERR_FILENO);
            __dlog_print(0, 4, "TAG", "text");
            __dlog_print(0, 4, "TAG", "%s", longText.c_str());
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    close(ends[1]);
    for (const std::string& text : {std::string("text"), longText}) {
        std::array<char, 8192> packet{};
        const ssize_t size = read(ends[0], packet.data(), packet.size());
        ASSERT_GT(size, 0);
        const std::string line(packet.data(), static_cast<std::size_t>(size));
        EXPECT_EQ(line.substr(line.rfind(' ')), " " + text + "\n");
    }
    char end = 0;
    EXPECT_EQ(read(ends[0], &end, 1), 0);
    close(ends[0]);
}

TEST_F(TheLogService, SaysWhichLevelItDoesNotKnow) {
    setenv("DLOG_LEVEL", "loud", 1);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "text");
            _exit(0);
        },
        ::testing::ExitedWithCode(0),
        "dlog: DLOG_LEVEL is \"loud\"; it must be detail, flow or silent\n.*text\n");
}

TEST_F(TheLogService, SaysWhichFileItCannotWriteAndGoesOn) {
    setenv("DLOG_FILE", "/nowhere/log", 1);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "text");
            _exit(0);
        },
        ::testing::ExitedWithCode(0),
        "dlog: cannot write /nowhere/log .No such file or directory.; logging to standard error\n"
        ".*text\n");
}

constexpr char kColoured[] = "\033[0;31mred\033[0;m \033[K";

TEST_F(TheLogService, HasNoColoursWhereNoTerminalIs) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", kColoured);
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "\\] red .\\[K\n");
}

TEST_F(TheLogService, HasColoursOnATerminal) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const int its = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    ASSERT_GE(its, 0);
    const int before = dup(STDERR_FILENO);
    dup2(its, STDERR_FILENO);
    __dlog_print(0, 4, "TAG", kColoured);
    dup2(before, STDERR_FILENO);
    char text[256];
    const ssize_t length = read(terminal, text, sizeof text);
    EXPECT_THAT(std::string(text, static_cast<std::size_t>(std::max<ssize_t>(length, 0))),
                ::testing::HasSubstr(kColoured));
    for (const int descriptor : {terminal, its, before}) close(descriptor);
}

}  // namespace
