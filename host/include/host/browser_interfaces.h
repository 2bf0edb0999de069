#ifndef HOST_BROWSER_INTERFACES_H_
#define HOST_BROWSER_INTERFACES_H_

namespace host {

/// The host's own table of an interface, without what PluginHost::Options replaces or hides; has the
/// type of PPB_GetInterface. Any thread.
///
/// The vars' and resources' tables work without a PluginHost too. The others then know no instance
/// and no main thread.
///
/// @param name  exact: "PPB_Var;1.2".
/// @return a table that is valid for the life of the process; null for a name not offered.
const void* browserInterface(const char* name);

}  // namespace host

#endif
