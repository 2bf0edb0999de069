#ifndef TESTS_UNIT_STAND_INS_LOG_FIXTURE_H_
#define TESTS_UNIT_STAND_INS_LOG_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "temporary_folder.h"

/// Logs in a child process, which reads the environment afresh.
class TheLogService : public ::testing::Test {
  protected:
    ~TheLogService() override {
        for (const char* name : {"DLOG_FILE", "DLOG_LEVEL", "TZ"}) {
            unsetenv(name);
        }
    }
};

class TheLogFile : public TheLogService {
  protected:
    TheLogFile() { setenv("DLOG_FILE", m_path.c_str(), 1); }

    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::ifstream file(m_path);
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    const support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.path("log");
};

#endif
