#ifndef FAULTS_PAGE_H_
#define FAULTS_PAGE_H_

#include "host/plugin_host.h"
#include "plugin_test.h"
#include "recording_extension.h"

namespace faults {

/// A page that embeds the plug-in with every privilege and a silent log. One at a time.
class Page {
  public:
    /// @param account  of the device, as a JSON text.
    explicit Page(const char* account);

    host::PluginHost& host() { return m_host; }
    PP_Instance instance() const { return m_instance; }

  private:
    support::Recorder m_recorder;
    support::RecordingExtension m_extension;
    host::PluginHost m_host;
    PP_Instance m_instance;
};

}  // namespace faults

#endif
