// Uses the client library in a process of its own, step by step as its arguments say, and tells
// what it sees.

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "forking.h"
#include "sso_api_control.h"
#include "thread_signal.h"

namespace {

std::mutex g_mutex;
std::condition_variable g_changed;
bool g_ended;

void waitForTheEnd() {
    std::unique_lock lock(g_mutex);
    g_changed.wait(lock, [] { return g_ended; });
    g_ended = false;
}

int end() {
    const std::lock_guard lock(g_mutex);
    g_ended = true;
    g_changed.notify_all();
    return 0;
}

int popupEnded(void*, int result, sso_popup_state_e state) {
    std::printf("popup %d %d\n", result, state);
    return end();
}

int textCame(void*, int result, char* text) {
    std::printf("text %d %s\n", result, text != nullptr ? text : "null");
    return end();
}

/// Those of the library, by their name: a sanitizer has some, too.
int threads() {
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        count += name == "sso-api" ? 1 : 0;
    }
    return count;
}

/// The calling process waits for the other one and ends like it.
void goOnInAChild() {
    std::fflush(stdout);
    support::awaitForkableAllocator();
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // if it hangs, nobody else would end it
        return;
    }
    int status = 0;
    waitpid(child, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

std::atomic<bool> g_delaysConnecting = false;
support::Signal g_isConnecting;

/// Goes on in a child which is made while another thread, as the first one, asks the service.
void forkWhileOtherConnects() {
    g_delaysConnecting = true;
    std::thread([] {
        char* guid = nullptr;
        sso_get_guid(&guid);
        std::free(guid);
    }).detach();
    if (!g_isConnecting.wait()) _exit(1);
    goOnInAChild();
}

/// The children of many forks, while other threads start operations; each has to use the library to its end.
void forkBusily() {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&isOver] {
            const auto ignore = [](void*, int, char*) -> int { return 0; };
            while (!isOver) {
                sso_request_access_token("client", "secret", ignore, nullptr);
                int state = 0;
                sso_get_login_state(&state);
                // Lest more and more is outstanding: each fork has to drop it, and its queries wait behind it.
                usleep(std::getenv("SSO_STATE") != nullptr ? 5000 : 50);
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            int state = 0;
            _exit(sso_get_login_state(&state) == 0 && sso_give_proxy() == 0 ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (status != 0) std::printf("child %d\n", status);
    }
    isOver = true;
    for (std::thread& thread : threads) thread.join();
    sso_give_proxy();
}

void take(const std::string& step) {
    const std::string::size_type equals = step.find('=');
    const std::string value = equals == std::string::npos ? "" : step.substr(equals + 1);
    if (step == "guid") {
        char* guid = nullptr;
        const int result = sso_get_guid(&guid);
        std::printf("guid %d %s\n", result, guid != nullptr ? guid : "null");
        std::free(guid);
    } else if (step == "state") {
        int state = 77;
        const int result = sso_get_login_state(&state);
        std::printf("state %d %d\n", result, state);
    } else if (step == "popup") {
        sso_show(nullptr, 0, "page", popupEnded, nullptr);
        waitForTheEnd();
    } else if (step == "token") {
        sso_request_access_token("client", "secret", textCame, nullptr);
        waitForTheEnd();
    } else if (step == "leave") {
        sso_show(nullptr, 0, "page", popupEnded, nullptr);
        sso_api_control_set_held(1);
        sso_show(nullptr, 0, "page", popupEnded, nullptr);
        std::exit(0);
    } else if (step == "leave-inside") {
        const auto leave = [](void*, int, sso_popup_state_e) -> int {
            std::puts("leaving");
            std::exit(0);
        };
        sso_show(nullptr, 0, "page", leave, nullptr);
        for (;;) pause();  // a condition variable must not be waited for when the process ends
    } else if (step == "fork") {
        goOnInAChild();
    } else if (step == "fork-inside") {
        const auto goOnHere = [](void*, int, sso_popup_state_e) -> int {
            goOnInAChild();
            take("give");
            take("token");
            std::exit(0);
        };
        sso_show(nullptr, 0, "page", goOnHere, nullptr);
        for (;;) pause();
    } else if (step == "fork-while-other-connects") {
        forkWhileOtherConnects();
    } else if (step == "fork-busily") {
        forkBusily();
    } else if (step == "start") {
        sso_show(nullptr, 0, "page", popupEnded, nullptr);
    } else if (step == "held") {
        sso_api_control_set_held(1);
        sso_show(nullptr, 0, "page", popupEnded, nullptr);
        sso_api_control_set_held(0);
    } else if (step == "outstanding") {
        std::printf("outstanding %d\n", sso_api_control_outstanding());
    } else if (step == "give") {
        sso_give_proxy();
    } else if (step == "threads") {
        std::printf("threads %d\n", threads());
    } else if (step.rfind("variable=", 0) == 0) {
        setenv("SSO_ACCOUNT_FILE", value.c_str(), 1);
    } else if (step.rfind("spoil=", 0) == 0) {
        std::ofstream(value) << "spoilt";
    } else if (step.rfind("account=", 0) == 0) {
        std::printf("account %d\n", sso_api_control_set_account(value.c_str()));
    } else {
        std::fprintf(stderr, "unknown step %s\n", step.c_str());
        std::exit(2);
    }
}

}  // namespace

/// In the C library's place: the library asks for this variable when it makes its connection.
extern "C" __attribute__((visibility("default"))) char* getenv(const char* name) noexcept {
    static const auto original = reinterpret_cast<decltype(&getenv)>(dlsym(RTLD_NEXT, "getenv"));
    if (std::strcmp(name, "SSO_AGENT") == 0 && g_delaysConnecting.exchange(false)) {
        g_isConnecting.give();
        usleep(100000);  // as long as a fork that does not wait may take to begin
    }
    return original(name);
}

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        take(argv[i]);
    }
    return 0;
}
