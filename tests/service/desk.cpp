#include "desk.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "module_path.h"

namespace fs = std::filesystem;

Desk::Desk(Bus bus) {
    fs::create_directory(m_folder.path("run"));
    fs::create_directory(m_folder.path("here"));
    const char* path = std::getenv("PATH");
    const std::string programs = support::builtPath("bin");
    setenv("PATH", (programs + ":" + (path != nullptr ? path : "/usr/bin:/bin")).c_str(), 1);
    setenv("XDG_RUNTIME_DIR", m_folder.path("run").c_str(), 1);
    setenv("XDG_DATA_HOME", m_folder.path("data").c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    if (bus == Bus::Held) m_bus.emplace(service::BusHold::get(programs + "/ssod"));
}

Desk::~Desk() {
    m_bus.reset();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (fs::exists(m_folder.path("run/sso-desk-bus/bus"))) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "the private bus goes on without anybody";
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

support::ProcessResult Desk::bash(const std::string& script, const std::string& folder) {
    const std::string where = folder.empty() ? m_folder.path("here") : folder;
    return support::runProcess({"/bin/bash", "-c", "cd '" + where + "'\n" + script});
}

std::string Desk::output(const std::string& script) {
    const support::ProcessResult result = bash(script);
    EXPECT_EQ(result.exitCode, 0) << script << "\n" << result.errors;
    EXPECT_EQ(result.errors, "") << script;
    return result.output;
}
