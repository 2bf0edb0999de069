#ifndef BROWSER_WRAPPER_EXTENSION_VARIABLES_H_
#define BROWSER_WRAPPER_EXTENSION_VARIABLES_H_

/// How sso-browser tells the wrapper module what to do: the two run in different processes, and
/// variables of the browser are what its plug-in process inherits.
namespace browser {

/// The absolute path of the module that the wrapper loads.
inline constexpr const char* kModuleVariable = "SSO_BROWSER_MODULE";

/// What the vendor interface answers, as JSON: {"name": text, "grants": [privilege identifiers]}.
inline constexpr const char* kExtensionVariable = "SSO_BROWSER_EXTENSION";

}  // namespace browser

#endif
