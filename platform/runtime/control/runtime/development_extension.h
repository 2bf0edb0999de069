#ifndef RUNTIME_DEVELOPMENT_EXTENSION_H_
#define RUNTIME_DEVELOPMENT_EXTENSION_H_

#include <set>
#include <string>

#include "ppapi/c/ppb.h"
#include "runtime/ppb_extension_system_korvane.h"

namespace runtime {

/// What the development embedder tells a plug-in.
struct DevelopmentExtension {
    /// The browser's interfaces, used for every var that is read or made. Must not be null.
    PPB_GetInterface getInterface = nullptr;
    std::string embedderName = "QuarnWRT";
    /// Told as "name" in the extension info.
    std::string applicationName;
    /// Privilege identifiers, compared as whole texts. Default: none is granted.
    std::set<std::string> grants;
};

/// Replaces what the table of this process answers from now on; a call that runs finishes with what
/// it started with. Any thread.
void configureDevelopmentExtension(DevelopmentExtension extension);

/// The table behind "PPB_ExtensionSystem_Korvane;0.1", the same for the life of the process. Before
/// it is configured, or when the browser offers no vars, every function fails: vars are undefined,
/// operations return PP_ERROR_NOINTERFACE. Any thread.
///
/// GetCurrentExtensionInfo gives a dictionary with "name" and "embedder", both strings.
/// GenericSyncCall knows four operations, and returns PP_ERROR_NOTSUPPORTED for any other name and
/// PP_ERROR_BADARGUMENT for a parameter of the wrong type, a name that is no string, or a null
/// result; the result is written on success only:
///   "check_ace_privilege"             string             -> bool, whether it is granted
///   "set_ime_recommended_words"       string or array    -> bool true
///   "set_ime_recommended_words_type"  bool               -> bool true
///   "get_window_id"                   undefined          -> int32, the same for an instance's life
const PPB_ExtensionSystem_Korvane_0_1* developmentExtensionTable();

}  // namespace runtime

#endif
