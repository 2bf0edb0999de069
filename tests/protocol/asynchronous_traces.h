#ifndef PROTOCOL_ASYNCHRONOUS_TRACES_H_
#define PROTOCOL_ASYNCHRONOUS_TRACES_H_

namespace protocol {

/// What the client library tells at the end of an operation, and so what the page gets.
enum class Ending { State, Text, Result };

/// What a command that starts an operation leaves in the log, with the client library and in a trace.
struct AsynchronousTraces {
    const char* name;      ///< of the command
    int line;              ///< of the log line with its name
    const char* function;  ///< of the client library
    const char* callback;  ///< the function that the library calls at the end
    int callbackLine;      ///< of the log line with the callback's name; 0 without one
    int nullLine;          ///< of the log line about null user data
    int scopeLine;         ///< of the callback's scope for call tracing
    int notStartedLine;    ///< of the text in the trace, when the library starts nothing; 0: none
    int startedLine;       ///< of the text in the trace, when it starts the operation; 0: none
    Ending ending;
};

/// One for each asynchronous command of the protocol, in its order.
// One row, one line: the eye compares columns.
// clang-format off
constexpr AsynchronousTraces kAsynchronousTraces[] = {
    {"sso_plugin_show_login_page", 140, "sso_show", "m_ShowSSOLoginCallBack", 0, 414, 409, 151, 156, Ending::State},
    {"sso_plugin_createAccount", 161, "sso_show", "m_ShowCreateAccountCallBack", 0, 462, 457, 166, 171, Ending::State},
    {"sso_plugin_getZEVAccessToken", 176, "sso_request_access_token", "m_RequestAccessTokenCallBack", 476, 493, 472, 187, 0, Ending::Text},
    {"sso_plugin_showTermsPage", 194, "sso_show_term_page", "m_ShowTermsPageCallBack", 428, 438, 424, 213, 218, Ending::State},
    {"sso_plugin_getPartnerAccountMappingList", 222, "sso_get_cp_account_mapping_list", "m_GetPartnerAccountMappingListCallBack", 507, 524, 503, 0, 0, Ending::Text},
    {"sso_plugin_addPartnerAccountMappingInfo", 238, "sso_add_cp_account_mapping_info", "m_AddPartnerAccountMappingInfoCallBack", 538, 548, 534, 0, 0, Ending::Result},
    {"sso_plugin_removePartnerAccountMappingInfo", 256, "sso_remove_cp_account_mapping_info", "m_RemovePartnerAccountMappingInfoCallBack", 562, 572, 558, 268, 0, Ending::Result},
};
// clang-format on

}  // namespace protocol

#endif
