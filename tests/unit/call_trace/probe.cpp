// Is traced in a process of its own, step by step as its arguments say, and tells what it sees.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ht_control.h"
#include "library.h"
#include "thread_signal.h"
#include "thread_tools.h"

namespace {

using call_trace_test::Place;
using call_trace_test::Scope;
using Steps = std::vector<std::string>;

int g_cell = -1;
const Place g_place("static void Probe::traced(int) const", &g_cell, 42);

/// A call that encloses two, the first of which encloses one itself.
void callAround() {
    Scope outer(g_place, "outer");
    {
        Scope first(g_place, "first");
        Scope innermost(g_place, "innermost");
    }
    Scope second(g_place, "second");
}

/// @param names  of the threads, with their numbers behind.
void callInThreads(int count, int rounds) {
    support::onThreads(count, [rounds](int i) {
        pthread_setname_np(pthread_self(), ("thread-" + std::to_string(i)).c_str());
        for (int round = 0; round < rounds; ++round) callAround();
    });
}

/// The number of open files.
int openFiles() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

const int g_filesAtFirst = openFiles();

void limitFiles(const std::string& size) {
    signal(SIGXFSZ, SIG_IGN);
    const rlim_t limit = std::stoul(size);
    const rlimit both{limit, limit};
    setrlimit(RLIMIT_FSIZE, &both);
}

void say(const char* format, long value) {
    std::printf(format, value);
    std::fflush(stdout);
}

std::atomic<bool> g_holdsNextWrite = false;
std::atomic<bool> g_holdsWrite = false;  // asked at each write: a lock might stay taken in a fork
support::Signal g_isHeld;
support::Signal g_otherHasWritten;
std::atomic<bool> g_delaysNextWrite = false;
support::Signal g_isDelayed;
std::atomic<int> g_writesToDeath = 0;

/// Holds one thread in the middle of its write, and is traced on another meanwhile.
void callWhileOtherWrites() {
    callAround();
    g_holdsNextWrite = true;
    std::thread other(callAround);
    const bool isHeld = g_isHeld.wait();
    callAround();
    other.join();
    say("held %ld\n", isHeld ? 1 : 0);
}

void take(const Steps& steps, std::size_t index);

/// Both processes go on, the child first.
void forkAndWait() {
    const pid_t child = fork();
    if (child == 0) {
        say("child %ld\n", getpid());
        return;
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) _exit(1);
}

/// The child goes on when its parent has gone.
void forkAndLeave() {
    const pid_t parent = getpid();
    if (fork() != 0) _exit(0);
    while (getppid() == parent) std::this_thread::yield();
    say("child %ld\n", getpid());
}

/// Forks while another thread is in the middle of opening the trace; the child is traced, too.
void forkWhileOtherOpens() {
    g_delaysNextWrite = true;
    std::thread other(callAround);
    if (!g_isDelayed.wait()) _exit(1);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // should it hang
        say("child %ld\n", getpid());
        callAround();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    other.join();
    if (status != 0) _exit(1);
}

/// Forks `count` times while other threads are traced; each child is traced and ends.
void forkAmongThreads(int count) {
    constexpr int kCallsOfAFork = 20;  // a number, lest a busy machine's trace takes long to read
    std::atomic<int> callsLeft = 0;
    std::atomic<bool> isEnough = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (!isEnough) {
                if (callsLeft-- > 0) {
                    callAround();
                } else {
                    usleep(100);
                }
            }
        });
    }
    for (; count > 0; --count) {
        callsLeft = kCallsOfAFork;
        while (callsLeft > kCallsOfAFork - 4) std::this_thread::yield();
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);  // should it hang
            callAround();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (status != 0) _exit(1);
    }
    isEnough = true;
    for (std::thread& thread : threads) thread.join();
}

/// Everything that follows is part of the call.
void callAroundRest(const std::string& text, const Steps& steps, std::size_t index) {
    Scope scope(g_place, text.c_str());
    take(steps, index);
}

void take(const Steps& steps, std::size_t index) {
    if (index == steps.size()) return;
    const std::string& step = steps[index];
    const std::string::size_type equals = step.find('=');
    const std::string name = step.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : step.substr(equals + 1);
    if (name == "register") {
        ht_register_library(&g_cell);
    } else if (name == "cell") {
        say("cell %ld\n", g_cell);
    } else if (name == "files") {
        say("files %ld\n", openFiles() - g_filesAtFirst);
    } else if (name == "call") {
        Scope scope(g_place, value.c_str());
    } else if (name == "call-null") {
        Scope scope(g_place, nullptr);
    } else if (name == "open") {
        return callAroundRest(value, steps, index + 1);
    } else if (name == "signature") {
        const Place place(value.c_str(), &g_cell);
        Scope scope(place, "text");
    } else if (name == "calls") {
        for (int left = std::stoi(value); left > 0; --left) callAround();
    } else if (name == "threads") {
        callInThreads(8, std::stoi(value));
    } else if (name == "while-other-writes") {
        callWhileOtherWrites();
    } else if (name == "name") {
        pthread_setname_np(pthread_self(), value.c_str());
    } else if (name == "fork") {
        forkAndWait();
    } else if (name == "fork-and-leave") {
        forkAndLeave();
    } else if (name == "fork-while-other-opens") {
        forkWhileOtherOpens();
    } else if (name == "fork-among-threads") {
        forkAmongThreads(std::stoi(value));
    } else if (name == "enable") {
        ht_control_set_enabled(std::stoi(value));
    } else if (name == "die-before-write") {
        g_writesToDeath = std::stoi(value);
    } else if (name == "limit") {
        limitFiles(value);
    } else if (name == "pid") {
        say("pid %ld\n", getpid());
    } else if (name == "wait") {
        for (;;) pause();
    } else if (name == "go-on") {
        for (;;) callAround();
    } else {
        std::fprintf(stderr, "unknown step %s\n", step.c_str());
        std::exit(2);
    }
    take(steps, index + 1);
}

}  // namespace

/// In the C library's place.
extern "C" __attribute__((visibility("default"))) ssize_t pwrite(int file, const void* data,
                                                                 size_t size, off_t offset) {
    static const auto original = reinterpret_cast<decltype(&pwrite)>(dlsym(RTLD_NEXT, "pwrite"));
    if (g_writesToDeath > 0 && --g_writesToDeath == 0) kill(getpid(), SIGKILL);
    if (g_holdsNextWrite.exchange(false)) {
        g_holdsWrite = true;
        g_isHeld.give();
        say("other has written %ld\n", g_otherHasWritten.wait() ? 1 : 0);
    } else if (g_holdsWrite) {
        g_otherHasWritten.give();
    } else if (g_delaysNextWrite.exchange(false)) {
        g_isDelayed.give();
        usleep(100000);  // as long as a fork that does not wait may take to begin
    }
    return original(file, data, size, offset);
}

int main(int argc, char** argv) { take(Steps(argv + 1, argv + argc), 0); }
