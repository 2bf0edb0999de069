#ifndef EMBEDDER_VENDOR_TABLE_H_
#define EMBEDDER_VENDOR_TABLE_H_

#include <set>
#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/ppb.h"
#include "runtime/ppb_extension_system_korvane.h"

/// The vendor interface as this project's embedders answer it. What it answers is set for each
/// instance, so that applications that share a process never share a grant. Any thread.
namespace embedder {

/// A web application, as the instances in its pages are told of it.
struct Application {
    std::string name;
    /// Privilege identifiers, compared as whole texts. Default: none is granted.
    std::set<std::string> grants;
    std::string embedderName = "QuarnWRT";
};

/// The table behind "PPB_ExtensionSystem_Korvane;0.1", the same for the life of the process. Without
/// a browser that offers vars it fails: vars are undefined, operations return PP_ERROR_NOINTERFACE.
/// An instance without an application is told nothing: vars are undefined, operations return
/// PP_ERROR_FAILED.
///
/// GetCurrentExtensionInfo gives a dictionary with "name" and "embedder", both strings.
/// GenericSyncCall knows four operations, and returns PP_ERROR_NOTSUPPORTED for any other name and
/// PP_ERROR_BADARGUMENT for a parameter of the wrong type, a name that is no string, or a null
/// result; the result is written on success only:
///   "check_ace_privilege"             string             -> bool, whether it is granted
///   "set_ime_recommended_words"       string or array    -> bool true
///   "set_ime_recommended_words_type"  bool               -> bool true
///   "get_window_id"                   undefined          -> int32, the same for an instance's life
const PPB_ExtensionSystem_Korvane_0_1* vendorTable();

/// Lets the table use this browser's interfaces for every var that it reads or makes.
///
/// @param getInterface  must not be null.
void setBrowser(PPB_GetInterface getInterface);

/// Says in which application an instance runs: before its DidCreate, as it may ask there. A call of
/// the table that runs finishes with what it started with.
void setApplication(PP_Instance instance, Application application);

/// The instance is gone, and knows no application any more. Nothing for one that has none.
void forgetInstance(PP_Instance instance);

}  // namespace embedder

#endif
