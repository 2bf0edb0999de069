#ifndef SUPPORT_PLUGIN_TEST_H_
#define SUPPORT_PLUGIN_TEST_H_

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "client_library.h"
#include "host/message.h"
#include "host/plugin_host.h"
#include "host/value.h"
#include "ppapi/c/pp_instance.h"
#include "recorder.h"
#include "recording_extension.h"

namespace support {

/// The plug-in under test in a native host, freshly loaded for each test, with all suppliers
/// recorded. Operations of the client library wait until a test ends them. At the end of each test it
/// checks that the module made no mistake with references, kept none, and released the client
/// library's texts.
class PluginTest : public ::testing::Test {
  protected:
    PluginTest();
    ~PluginTest() override;
    void TearDown() override;

    /// How the host is to be, for the few tests that want another one. Call before host().
    void setAttachDelay(std::chrono::milliseconds delay) { m_attachDelay = delay; }
    void replaceInterface(const std::string& name, const void* table) {
        m_interfaces[name] = table;
    }

    /// The host; loads the plug-in with the first call.
    host::PluginHost& host();

    /// Makes an instance and waits until it and its worker are idle.
    PP_Instance embed();
    /// Grants privileges, then embed().
    PP_Instance embedWith(unsigned privileges);

    /// Posts and waits until the plug-in is idle.
    /// @return what was posted to the page meanwhile, whatever the instance.
    std::vector<host::Value> answersTo(PP_Instance instance, const host::Value& request);

    /// As answersTo(), of a request that has to have exactly one answer; undefined if it has not.
    host::Value answerTo(PP_Instance instance, const host::Value& request);

    /// The reply of a blocking request, which has to have one; undefined if it has not.
    host::Value replyTo(PP_Instance instance, const host::Value& request);

    /// What was posted to the page since the last call.
    std::vector<host::Value> takeAnswers();

    /// The number of the module's main thread.
    pid_t mainThread();

    Recorder m_recorder;
    RecordingExtension m_extension{m_recorder};

  private:
    void expectNothingHeld();

    std::chrono::milliseconds m_attachDelay{0};
    std::map<std::string, const void*> m_interfaces;
    std::unique_ptr<host::PluginHost> m_host;
};

/// A value as JSON, see host/value_json.h.
host::Value json(std::string_view text);

/// A request of nothing but a command.
host::Value requestOf(const std::string& command);

}  // namespace support

#endif
