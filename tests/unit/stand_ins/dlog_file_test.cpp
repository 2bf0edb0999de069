#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "dlog.h"
#include "log_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;

class ThatFile : public TheLogFile {
  protected:
    const std::string m_other = m_path + ".1";
};

TEST_F(ThatFile, IsForItsOwnerOnlyAndGrows) {
    const auto log = [] {
        __dlog_print(0, 4, "TAG", "text");
        _exit(0);
    };
    EXPECT_EXIT(log(), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(log(), ::testing::ExitedWithCode(0), "");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("text"), EndsWith("text")));
    struct stat status {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ThatFile, KeepsWhatAnotherProcessWroteMeanwhile) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "one");
            std::FILE* const other = std::fopen(m_path.c_str(), "a");
            std::fputs("two\n", other);
            std::fclose(other);
            __dlog_print(0, 4, "TAG", "three");
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("one"), "two", EndsWith("three")));
}

/// The descriptors of this process that have the file.
std::vector<int> descriptorsOf(const std::string& path) {
    struct stat wanted {};
    EXPECT_EQ(stat(path.c_str(), &wanted), 0);
    std::vector<int> found;
    for (int descriptor = 0; descriptor < 64; ++descriptor) {
        struct stat status {};
        if (fstat(descriptor, &status) == 0 && status.st_dev == wanted.st_dev &&
            status.st_ino == wanted.st_ino) {
            found.push_back(descriptor);
        }
    }
    return found;
}

/// The one descriptor of this process that has the file; -1 for none, or more.
int descriptorOf(const std::string& path) {
    const std::vector<int> found = descriptorsOf(path);
    return found.size() == 1 ? found.front() : -1;
}

TEST_F(ThatFile, IsNotForProgramsThatTheProcessStarts) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "text");
            _exit(fcntl(descriptorOf(m_path), F_GETFD) == FD_CLOEXEC ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(ThatFile, DoesNotBecomeAStandardStream) {
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            close(STDOUT_FILENO);
            __dlog_print(0, 4, "TAG", "text");
            std::printf("a reply with a token\n");
            std::fflush(stdout);
            _exit(fcntl(descriptorOf(m_path), F_GETFD) == FD_CLOEXEC ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("text")));
}

TEST_F(ThatFile, IsFoundAgainAfterAChangeOfTheFolder) {
    ASSERT_EQ(chdir(m_folder.path("").c_str()), 0);
    setenv("DLOG_FILE", m_path.substr(m_path.rfind('/') + 1).c_str(), 1);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "one");
            const bool moved = chdir("/") == 0;
            sleep(2);
            __dlog_print(0, 4, "TAG", "two");
            _exit(moved ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("one"), EndsWith("two")));
}

/// Logs until the file is there.
void logUntilThereIs(const std::string& path) {
    for (int i = 0; i < 500 && access(path.c_str(), F_OK) != 0; ++i) {
        __dlog_print(0, 4, "TAG", "text");
        usleep(10000);
    }
}

TEST_F(ThatFile, IsMadeAnewAfterItWasRenamed) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "one");
            const bool moved = std::rename(m_path.c_str(), m_other.c_str()) == 0;
            std::thread other([this] { logUntilThereIs(m_path); });
            logUntilThereIs(m_path);
            other.join();
            __dlog_print(0, 4, "TAG", "last");
            _exit(moved && descriptorOf(m_path) > 2 && descriptorsOf(m_other).empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    ASSERT_FALSE(lines().empty());
    EXPECT_THAT(lines().back(), EndsWith("last"));
}

TEST_F(ThatFile, IsMadeAnewByTheFirstLineOfALaterSecond) {
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "one");
            const bool moved = std::rename(m_path.c_str(), m_other.c_str()) == 0;
            sleep(2);
            __dlog_print(0, 4, "TAG", "two");
            _exit(moved ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("two")));
}

TEST_F(ThatFile, IsWrittenOnWhereItsFolderIsGone) {
    const std::string folder = m_path + ".folder";
    const std::string path = folder + "/log";
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    setenv("DLOG_FILE", path.c_str(), 1);
    EXPECT_EXIT(
        {
            __dlog_print(0, 4, "TAG", "one");
            const bool moved =
                std::rename(path.c_str(), m_path.c_str()) == 0 && rmdir(folder.c_str()) == 0;
            sleep(2);
            __dlog_print(0, 4, "TAG", "two");
            _exit(moved ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("one"), EndsWith("two")));
}

TEST_F(ThatFile, ThatIsAPipeHoldsUpNobodyBeforeItIsRead) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EXIT(
        {
            alarm(10);
            __dlog_print(0, 4, "TAG", "text");
            _exit(0);
        },
        ::testing::ExitedWithCode(0),
        "^dlog: cannot write .*\\(nobody reads it\\); logging to standard error\n.*text\n$");
}

/// What is in the pipe; opens and closes it.
class Reader {
  public:
    explicit Reader(const std::string& path) : m_file(open(path.c_str(), O_RDONLY | O_NONBLOCK)) {}
    ~Reader() { close(m_file); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool sees(const std::string& end) const {
        std::array<char, 200> line{};
        const ssize_t size = read(m_file, line.data(), line.size() - 1);
        return size > 0 && std::string(line.data()).find(end) != std::string::npos;
    }

  private:
    const int m_file;
};

bool isPipeSignalAsBefore() {
    sigset_t pending;
    sigset_t blocked;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 0 &&
           pthread_sigmask(SIG_BLOCK, nullptr, &blocked) == 0 &&
           sigismember(&blocked, SIGPIPE) == 0;
}

TEST_F(ThatFile, ThatIsAPipeEndsNobodyAfterItWasRead) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EXIT(
        {
            alarm(10);
            bool isRight = true;
            {
                const Reader reader(m_path);
                __dlog_print(0, 4, "TAG", "read");
                isRight = reader.sees("read\n");
            }
            __dlog_print(0, 4, "TAG", "lost");
            const Reader again(m_path);
            __dlog_print(0, 4, "TAG", "read again");
            _exit(isRight && again.sees("read again\n") && isPipeSignalAsBefore() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST_F(ThatFile, ThatIsAPipeTakesNoSignalThatWaitedBefore) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EXIT(
        {
            alarm(10);
            sigset_t pipeSignal;
            sigemptyset(&pipeSignal);
            sigaddset(&pipeSignal, SIGPIPE);
            pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
            raise(SIGPIPE);
            {
                const Reader reader(m_path);
                __dlog_print(0, 4, "TAG", "read");
            }
            __dlog_print(0, 4, "TAG", "lost");
            sigset_t pending;
            sigpending(&pending);
            _exit(sigismember(&pending, SIGPIPE) == 1 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST_F(ThatFile, ThatIsAPipeLosesWhatItHasNoRoomFor) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EXIT(
        {
            alarm(10);
            const Reader reader(m_path);
            for (int i = 0; i < 5000; ++i) {
                __dlog_print(0, 4, "TAG", "%0100d", i);
            }
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST_F(ThatFile, OnAFullDiskEndsNobody) {
    setenv("DLOG_FILE", "/dev/full", 1);
    EXPECT_EXIT(
        {
            const int size = __dlog_print(0, 4, "TAG", "text");
            _exit(size == 4 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
