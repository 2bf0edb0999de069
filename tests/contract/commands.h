#ifndef CONTRACT_COMMANDS_H_
#define CONTRACT_COMMANDS_H_

namespace contract {

/// How a page sends a message, and so how it gets the answer.
enum class Path {
    Async,     ///< postMessage(); the answer is a message event
    Blocking,  ///< postMessageAndAwaitResponse(); the answer is its result
};

/// A command that a page may send.
struct Command {
    const char* name;
    Path path;              ///< the one that knows it
    const char* privilege;  ///< the one that it needs, as a manifest names it
};

/// All of them. Any other name is refused.
constexpr Command kCommands[] = {
    {"sso_plugin_show_login_page", Path::Async, "sso.partner"},
    {"sso_plugin_createAccount", Path::Async, "sso.partner"},
    {"sso_plugin_getZEVAccessToken", Path::Async, "sso.partner"},
    {"sso_plugin_showTermsPage", Path::Async, "sso.partner"},
    {"sso_plugin_getPartnerAccountMappingList", Path::Async, "sso.partner"},
    {"sso_plugin_addPartnerAccountMappingInfo", Path::Async, "sso.partner"},
    {"sso_plugin_removePartnerAccountMappingInfo", Path::Async, "sso.partner"},
    {"sso_plugin_getVersion", Path::Blocking, "sso.partner"},
    {"sso_plugin_getSSOState", Path::Blocking, "sso.platform"},
    {"sso_plugin_getGuid", Path::Blocking, "sso.partner"},
    {"sso_plugin_getLoginStatus", Path::Blocking, "sso.partner"},
    {"sso_plugin_getLoginUid", Path::Blocking, "sso.partner"},
    {"sso_plugin_getTermsAgreementState", Path::Blocking, "sso.partner"},
};

}  // namespace contract

#endif
