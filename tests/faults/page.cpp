#include "page.h"

#include <cstdlib>

#include "module_path.h"
#include "runtime/ppb_extension_system_korvane.h"
#include "sso_api_control.h"

namespace faults {
namespace {

/// The account must be there before the module is.
host::PluginHost::Options preparedFor(const char* account) {
    setenv("DLOG_LEVEL", "silent", 1);
    sso_api_control_set_account(account);
    host::PluginHost::Options options;
    options.modulePath = support::modulePath();
    options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] =
        support::RecordingExtension::table();
    return options;
}

}  // namespace

Page::Page(const char* account) : m_extension(m_recorder), m_host(preparedFor(account)) {
    m_extension.grant(support::kAll);
    m_instance = m_host.embed();
}

}  // namespace faults
