#ifndef SSO_PROTOCOL_H_
#define SSO_PROTOCOL_H_

// The words of the message protocol. Applications compare against them letter for letter, so the
// odd spellings stay. Macros, because log formats are put together from them.

#define SSO_COMMAND_SHOW_LOGIN_PAGE "sso_plugin_show_login_page"
#define SSO_COMMAND_CREATE_ACCOUNT "sso_plugin_createAccount"
#define SSO_COMMAND_GET_ACCESS_TOKEN "sso_plugin_getZEVAccessToken"
#define SSO_COMMAND_SHOW_TERMS_PAGE "sso_plugin_showTermsPage"
#define SSO_COMMAND_GET_MAPPING_LIST "sso_plugin_getPartnerAccountMappingList"
#define SSO_COMMAND_ADD_MAPPING "sso_plugin_addPartnerAccountMappingInfo"
#define SSO_COMMAND_REMOVE_MAPPING "sso_plugin_removePartnerAccountMappingInfo"
#define SSO_COMMAND_GET_VERSION "sso_plugin_getVersion"
#define SSO_COMMAND_GET_SSO_STATE "sso_plugin_getSSOState"
#define SSO_COMMAND_GET_GUID "sso_plugin_getGuid"
#define SSO_COMMAND_GET_LOGIN_STATUS "sso_plugin_getLoginStatus"
#define SSO_COMMAND_GET_LOGIN_UID "sso_plugin_getLoginUid"
#define SSO_COMMAND_GET_TERMS_STATE "sso_plugin_getTermsAgreementState"

// Keys of requests and answers.
#define SSO_KEY_COMMAND "command"
#define SSO_KEY_STATUS "status"
#define SSO_KEY_ERROR_NAME "errorName"
#define SSO_KEY_ERROR_MESSAGE "errorMessage"
#define SSO_KEY_DATA "data"
#define SSO_KEY_CLIENT_ID "id"
#define SSO_KEY_CLIENT_SECRET "secret"
#define SSO_KEY_TERMS_ID "termsId"
#define SSO_KEY_CALLER_ID "callerId"
#define SSO_KEY_APP_ID "appID"
#define SSO_KEY_PARTNER "cpName"
#define SSO_KEY_PARTNER_UID "cpUID"
#define SSO_KEY_STATE "state"
#define SSO_KEY_TOKEN "token"
#define SSO_KEY_MAPPING_LIST "PartnerAccountInfo"
#define SSO_KEY_RESULT "result"

// "status" of asynchronous answers, "code" of blocking replies.
enum {
    SSO_STATUS_OK = 0,
    SSO_STATUS_FAILED = -1,
    SSO_STATUS_NO_PRIVILEGE = 18,
    SSO_CODE_OK = 0,
    SSO_CODE_UNKNOWN_COMMAND = -2,
    SSO_CODE_PARAM_INVALID = -4,
    SSO_CODE_NO_PRIVILEGE = 18,
    SSO_CODE_INVALID_VALUES = 26,
};

// Error names and messages that both paths, or several commands, use.
#define SSO_ERROR_COMMAND_INVALID "commandInvaild"
#define SSO_ERROR_PARAM_INVALID "paramInvaild"
#define SSO_ERROR_INVALID_VALUES "InvalidValuesError"
#define SSO_MESSAGE_COMMAND_INVALID "Parameter command is invalid"
#define SSO_MESSAGE_NO_PRIVILEGE "You do not have the privilege"
#define SSO_MESSAGE_PARAM_INVALID "Parameter is invalid"

#endif
