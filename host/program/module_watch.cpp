#include "module_watch.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "command_line.h"
#include "embedder/input_error.h"

namespace {

std::atomic<ModuleWatch*> living = nullptr;

[[noreturn]] void endNow(int exitCode) {
    for (;;) syscall(SYS_exit_group, exitCode);
}

}  // namespace

/// Stands before the C library's for the module, too. Nothing else sees an end by that function.
extern "C" __attribute__((visibility("default"))) void _exit(int exitCode) {
    ModuleWatch::onExit();
    endNow(exitCode);
}

ModuleWatch::ModuleWatch(std::string module, std::chrono::milliseconds longest)
    : m_module(std::move(module)), m_longest(longest), m_exitCode(embedder::kExitBadInput) {
    static const bool registered = [] {
        std::atexit(&onExit);
        std::at_quick_exit(&onExit);
        return true;
    }();
    static_cast<void>(registered);
    living = this;
    m_thread = std::thread([this] { run(); });
}

ModuleWatch::~ModuleWatch() {
    living = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void ModuleWatch::onStarted() { m_exitCode = kRunFailed; }

void ModuleWatch::onExit() {
    if (const ModuleWatch* watch = living) watch->fail("ended the program by itself");
}

void ModuleWatch::set(const char* what) {
    {
        const std::lock_guard lock(m_mutex);
        m_what = what;
        m_deadline = Clock::now() + m_longest;
    }
    m_changed.notify_all();
}

void ModuleWatch::run() {
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        if (m_what == nullptr) {
            m_changed.wait(lock);
        } else if (Clock::now() < m_deadline) {
            m_changed.wait_until(lock, m_deadline);
        } else {
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%g",
                          std::chrono::duration<double>(m_longest).count());
            fail(std::string("hangs: it did not ") + m_what + " within " + seconds + " seconds");
        }
    }
}

void ModuleWatch::fail(const std::string& what) const {
    std::fprintf(stderr, "sso-host: the module %s %s\n", m_module.c_str(), what.c_str());
    endNow(m_exitCode);
}
