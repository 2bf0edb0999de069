#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "dlog.h"
#include "dlog_control.h"
#include "slow_observer.h"

namespace {

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

/// Logs in a child process, whose environment the service reads afresh.
class TheLogFile : public ::testing::Test {
  protected:
    TheLogFile() : m_path(::testing::TempDir() + "dlog_test." + std::to_string(getpid())) {}
    ~TheLogFile() override { std::remove(m_path.c_str()); }

    std::vector<std::string> logged(const char* level) {
        setenv("DLOG_FILE", m_path.c_str(), 1);
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
        std::vector<std::string> lines;
        std::ifstream file(m_path);
        for (std::string line; std::getline(file, line);) {
            const std::regex head(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (.)/TAG\( *\d+: *\d+\) (.*))");
            lines.push_back(std::regex_replace(line, head, "$1 $2"));
        }
        return lines;
    }

    const std::string m_path;
};

TEST_F(TheLogFile, HoldsEverythingByDefault) {
    EXPECT_THAT(logged(nullptr),
                ElementsAre("I [main] detail 1", "W [main] flow", "W [system] error"));
}

TEST_F(TheLogFile, HoldsEverythingAtLevelDetail) {
    EXPECT_THAT(logged("detail"),
                ElementsAre("I [main] detail 1", "W [main] flow", "W [system] error"));
}

TEST_F(TheLogFile, LeavesDetailOutAtLevelFlow) {
    EXPECT_THAT(logged("flow"), ElementsAre("W [main] flow", "W [system] error"));
}

TEST_F(TheLogFile, HoldsNothingAtLevelSilent) { EXPECT_THAT(logged("silent"), ElementsAre()); }

TEST(TheLogService, SaysWhichLevelItDoesNotKnow) {
    setenv("DLOG_LEVEL", "loud", 1);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "text");
            _exit(0);
        },
        ::testing::ExitedWithCode(0),
        "dlog: DLOG_LEVEL is \"loud\"; it must be detail, flow or silent\n.*text\n");
}

TEST(TheLogService, SaysWhichFileItCannotWriteAndGoesOn) {
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

TEST(TheLogService, HasNoColoursWhereNoTerminalIs) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", kColoured);
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "\\] red .\\[K\n");
}

TEST(TheLogService, HasColoursOnATerminal) {
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
