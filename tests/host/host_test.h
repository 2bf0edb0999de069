#ifndef HOST_TESTS_HOST_TEST_H_
#define HOST_TESTS_HOST_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browser_tables.h"
#include "host/plugin_host.h"
#include "host/value.h"
#include "loop_thread.h"
#include "ppapi/c/pp_errors.h"
#include "scripted_module.h"
#include "thread_signal.h"
#include "work.h"

/// A scripted module in a host. A test that expects the module to break a rule for references says
/// so; all others fail when it does.
class HostTest : public ::testing::Test {
  protected:
    using Value = host::Value;
    using Problems = std::vector<std::string>;

    HostTest() : m_expectedProblems(::testing::IsEmpty()) {}

    void TearDown() override {
        if (!m_host) return;
        m_host->unload();
        EXPECT_THAT(m_host->problems(), m_expectedProblems);
        EXPECT_THAT(m_host->resourceProblems(), ::testing::IsEmpty());
        m_host.reset();
    }

    host::PluginHost& load(host::PluginHost::Options options = {}) {
        options.entryPoints = ScriptedModule::entryPoints();
        m_host.emplace(std::move(options));
        return *m_host;
    }

    /// Loads the module and embeds one instance, which has seen its view.
    PP_Instance page(host::PluginHost::Options options = {}) {
        const PP_Instance instance = load(std::move(options)).embed();
        EXPECT_TRUE(m_host->drain(instance));
        return instance;
    }

    void expectProblems(const ::testing::Matcher<Problems>& problems) {
        m_expectedProblems = problems;
    }

    /// Values of the messages that came for the page since the last call.
    std::vector<Value> arrived() {
        std::vector<Value> values;
        for (const host::Message& message : m_host->takeMessages()) {
            values.push_back(message.value);
        }
        return values;
    }

    // Work that the loops may still hold outlives them.
    support::Work m_work;
    ScriptedModule m_module;
    std::optional<host::PluginHost> m_host;

  private:
    ::testing::Matcher<Problems> m_expectedProblems;
};

#endif
