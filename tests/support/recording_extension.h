#ifndef SUPPORT_RECORDING_EXTENSION_H_
#define SUPPORT_RECORDING_EXTENSION_H_

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "host/value.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"
#include "recorder.h"

namespace support {

/// The three privileges that an application may hold, as bits.
enum Privilege : unsigned { kNone = 0, kPartner = 1, kPlatform = 2, kPublic = 4, kAll = 7 };

/// The identifier that the plug-in asks for, of one bit: "http://developer.korvane.example" (or the
/// origin that the tree is configured with, or SSO_TEST_ORIGIN in the environment)
/// "/privilege/sso.partner" and so on.
std::string identifierOf(Privilege privilege);

/// A vendor table whose answers a test chooses. It notes each call as
///   GenericSyncCall(check_ace_privilege, "http://...")
/// and gives each counted var with one reference on the module's account. There is one at a time in
/// a process: the table's C functions have no context. Any thread; it must outlive the host.
class RecordingExtension {
  public:
    /// What one GenericSyncCall does.
    struct Answer {
        std::int32_t code = 0;
        /// Handed over when the code is 0. Otherwise it is lent: it lies in the result slot, but
        /// the caller owns nothing of it.
        host::Value value;
    };

    explicit RecordingExtension(Recorder& recorder);
    ~RecordingExtension();
    RecordingExtension(const RecordingExtension&) = delete;
    RecordingExtension& operator=(const RecordingExtension&) = delete;

    /// The table for PluginHost::Options::interfaces; the same for all objects.
    static const void* table();

    /// "check_ace_privilege" gives whether the privilege is among these; any other operation fails.
    void grant(unsigned privileges);

    /// What GenericSyncCall gives from now on, by operation name and parameter.
    void answer(std::function<Answer(const std::string&, const host::Value&)> chooser);

    /// Instances that asked, one for each GenericSyncCall.
    std::vector<PP_Instance> askers() const;

    /// Ids of the counted vars that were handed over.
    std::vector<std::int64_t> givenVars() const;

  private:
    static PP_Var getEmbedderName(PP_Instance instance);
    static PP_Var getCurrentExtensionInfo(PP_Instance instance);
    static std::int32_t genericSyncCall(PP_Instance instance, PP_Var name, PP_Var parameter,
                                        PP_Var* result);
    PP_Var give(const host::Value& value);

    Recorder& m_recorder;
    mutable std::mutex m_mutex;
    std::function<Answer(const std::string&, const host::Value&)> m_chooser;
    std::vector<PP_Instance> m_askers;
    std::vector<std::int64_t> m_given;
    std::vector<PP_Var> m_lent;
};

}  // namespace support

#endif
