#ifndef BROWSER_WRAPPER_VARIABLES_H_
#define BROWSER_WRAPPER_VARIABLES_H_

/// How sso-browser tells the wrapper module what to do: the two run in different processes, and
/// variables of the browser are what its plug-in process inherits.
namespace browser {

/// The absolute path of the module that the wrapper loads.
inline constexpr const char* kModuleVariable = "SSO_BROWSER_MODULE";

/// The applications, as a JSON array of {"origin": URL, "name": text, "grants": [privilege
/// identifiers]}; "origin" has the path "/".
inline constexpr const char* kApplicationsVariable = "SSO_BROWSER_APPLICATIONS";

/// The path of the named pipe for events, see events.h.
inline constexpr const char* kEventsVariable = "SSO_BROWSER_EVENTS";

/// Set when whole messages are wanted as events.
inline constexpr const char* kMessagesVariable = "SSO_BROWSER_MESSAGES";

}  // namespace browser

#endif
