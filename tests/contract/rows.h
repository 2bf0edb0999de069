#ifndef CONTRACT_ROWS_H_
#define CONTRACT_ROWS_H_

#include "commands.h"

namespace contract {

/// One request and the one answer that it has, on any host.
struct Row {
    const char* title;
    Path path;
    const char* privileges;  ///< those that the application holds, with blanks between
    const char* request;     ///< JSON
    const char* answer;      ///< JSON; the whole of it, there are no further members
};

/// A request that JSON has no words for. The application holds all privileges.
struct SpecialRow {
    const char* title;
    Path path;
    const char* javaScript;  ///< an expression that gives the request
    const char* request;     ///< what reaches the plug-in, as typed JSON of the native host
    const char* answer;      ///< as in Row
};

constexpr const char* kAllPrivileges = "sso.partner sso.platform sso.public";

// One row, one line: the eye compares columns.
// clang-format off

// Answers that several rows have. "paramInvaild", "commandInvaild", "unkown command" and "Command no
// recognized" are spelt like this for ever: web applications compare against them.
constexpr const char* kNoDictionaryPosted = R"({"status": -1, "errorName": "paramInvaild", "errorMessage": "Incoming message is invalid"})";
constexpr const char* kNoDictionaryAsked = R"({"code": 26, "errorName": "InvalidValuesError", "errorMessage": "Incoming message is not dictionary"})";
constexpr const char* kNoCommandPosted = R"({"status": -1, "errorName": "commandInvaild", "errorMessage": "Parameter command is invalid"})";
constexpr const char* kNoCommandAsked = R"({"code": 26, "errorName": "InvalidValuesError", "errorMessage": "Parameter command is invalid"})";
constexpr const char* kRefusedAsked = R"({"code": 18, "errorName": "SecurityError", "errorMessage": "You do not have the privilege"})";
constexpr const char* kUnknownPosted = R"({"status": -1, "errorName": "commandInvaild", "errorMessage": "Command no recognized"})";
constexpr const char* kUnknownAsked = R"({"code": -2, "errorName": "InvalidValuesError", "errorMessage": "unkown command"})";
constexpr const char* kLoginData = R"({"command": "sso_plugin_show_login_page", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})";
constexpr const char* kTermsId = R"({"code": -4, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})";

/// What cannot be done. Each answer comes at once, and nothing comes after it.
constexpr Row kErrorRows[] = {
    // Not a dictionary.
    {"a message that is null", Path::Async, kAllPrivileges, R"(null)", kNoDictionaryPosted},
    {"a message that is null", Path::Blocking, kAllPrivileges, R"(null)", kNoDictionaryAsked},
    {"a message that is true", Path::Async, kAllPrivileges, R"(true)", kNoDictionaryPosted},
    {"a message that is true", Path::Blocking, kAllPrivileges, R"(true)", kNoDictionaryAsked},
    {"a message that is false", Path::Async, kAllPrivileges, R"(false)", kNoDictionaryPosted},
    {"a message that is false", Path::Blocking, kAllPrivileges, R"(false)", kNoDictionaryAsked},
    {"a message that is a whole number", Path::Async, kAllPrivileges, R"(7)", kNoDictionaryPosted},
    {"a message that is a whole number", Path::Blocking, kAllPrivileges, R"(7)", kNoDictionaryAsked},
    {"a message that is a fraction", Path::Async, kAllPrivileges, R"(1.5)", kNoDictionaryPosted},
    {"a message that is a fraction", Path::Blocking, kAllPrivileges, R"(1.5)", kNoDictionaryAsked},
    {"a message that is a text", Path::Async, kAllPrivileges, R"("sso_plugin_getVersion")", kNoDictionaryPosted},
    {"a message that is a text", Path::Blocking, kAllPrivileges, R"("sso_plugin_getVersion")", kNoDictionaryAsked},
    {"a message that is an empty text", Path::Async, kAllPrivileges, R"("")", kNoDictionaryPosted},
    {"a message that is an empty text", Path::Blocking, kAllPrivileges, R"("")", kNoDictionaryAsked},
    {"a message that is an array", Path::Async, kAllPrivileges, R"([1, 2])", kNoDictionaryPosted},
    {"a message that is an array", Path::Blocking, kAllPrivileges, R"([1, 2])", kNoDictionaryAsked},
    {"a message that is an empty array", Path::Async, kAllPrivileges, R"([])", kNoDictionaryPosted},
    {"a message that is an empty array", Path::Blocking, kAllPrivileges, R"([])", kNoDictionaryAsked},
    {"a message that is an array that holds a request", Path::Async, kAllPrivileges, R"([{"command": "sso_plugin_getVersion"}])", kNoDictionaryPosted},
    {"a message that is an array that holds a request", Path::Blocking, kAllPrivileges, R"([{"command": "sso_plugin_getVersion"}])", kNoDictionaryAsked},
    // No command in it.
    {"a request with no members", Path::Async, kAllPrivileges, R"({})", kNoCommandPosted},
    {"a request with no members", Path::Blocking, kAllPrivileges, R"({})", kNoCommandAsked},
    {"a request with no command", Path::Async, kAllPrivileges, R"({"data": "x"})", kNoCommandPosted},
    {"a request with no command", Path::Blocking, kAllPrivileges, R"({"data": "x"})", kNoCommandAsked},
    {"a request with the command under another case", Path::Async, kAllPrivileges, R"({"Command": "sso_plugin_getVersion"})", kNoCommandPosted},
    {"a request with the command under another case", Path::Blocking, kAllPrivileges, R"({"Command": "sso_plugin_getVersion"})", kNoCommandAsked},
    {"a request with the command inside another object", Path::Async, kAllPrivileges, R"({"request": {"command": "sso_plugin_getVersion"}})", kNoCommandPosted},
    {"a request with the command inside another object", Path::Blocking, kAllPrivileges, R"({"request": {"command": "sso_plugin_getVersion"}})", kNoCommandAsked},
    {"a command that is null", Path::Async, kAllPrivileges, R"({"command": null})", kNoCommandPosted},
    {"a command that is null", Path::Blocking, kAllPrivileges, R"({"command": null})", kNoCommandAsked},
    {"a command that is true", Path::Async, kAllPrivileges, R"({"command": true})", kNoCommandPosted},
    {"a command that is true", Path::Blocking, kAllPrivileges, R"({"command": true})", kNoCommandAsked},
    {"a command that is a whole number", Path::Async, kAllPrivileges, R"({"command": 7})", kNoCommandPosted},
    {"a command that is a whole number", Path::Blocking, kAllPrivileges, R"({"command": 7})", kNoCommandAsked},
    {"a command that is a fraction", Path::Async, kAllPrivileges, R"({"command": 1.5})", kNoCommandPosted},
    {"a command that is a fraction", Path::Blocking, kAllPrivileges, R"({"command": 1.5})", kNoCommandAsked},
    {"a command that is an array", Path::Async, kAllPrivileges, R"({"command": ["sso_plugin_getVersion"]})", kNoCommandPosted},
    {"a command that is an array", Path::Blocking, kAllPrivileges, R"({"command": ["sso_plugin_getVersion"]})", kNoCommandAsked},
    {"a command that is an object", Path::Async, kAllPrivileges, R"({"command": {"command": "sso_plugin_getVersion"}})", kNoCommandPosted},
    {"a command that is an object", Path::Blocking, kAllPrivileges, R"({"command": {"command": "sso_plugin_getVersion"}})", kNoCommandAsked},
    // A command whose privilege the application lacks, though it holds both others.
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_show_login_page"})", R"({"command": "sso_plugin_show_login_page", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_show_login_page"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_createAccount"})", R"({"command": "sso_plugin_createAccount", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_createAccount"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getZEVAccessToken"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getZEVAccessToken"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_showTermsPage"})", R"({"command": "sso_plugin_showTermsPage", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_showTermsPage"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getPartnerAccountMappingList"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getPartnerAccountMappingList"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_addPartnerAccountMappingInfo"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_addPartnerAccountMappingInfo"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_removePartnerAccountMappingInfo"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_removePartnerAccountMappingInfo"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getVersion"})", R"({"command": "sso_plugin_getVersion", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getVersion"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.partner sso.public", R"({"command": "sso_plugin_getSSOState"})", R"({"command": "sso_plugin_getSSOState", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.partner sso.public", R"({"command": "sso_plugin_getSSOState"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getGuid"})", R"({"command": "sso_plugin_getGuid", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getGuid"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getLoginStatus"})", R"({"command": "sso_plugin_getLoginStatus", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getLoginStatus"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getLoginUid"})", R"({"command": "sso_plugin_getLoginUid", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getLoginUid"})", kRefusedAsked},
    {"no privilege for it", Path::Async, "sso.platform sso.public", R"({"command": "sso_plugin_getTermsAgreementState"})", R"({"command": "sso_plugin_getTermsAgreementState", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"no privilege for it", Path::Blocking, "sso.platform sso.public", R"({"command": "sso_plugin_getTermsAgreementState"})", kRefusedAsked},
    // A command of the other path, with its one privilege.
    {"a question that is posted", Path::Async, "sso.partner", R"({"command": "sso_plugin_getVersion"})", kUnknownPosted},
    {"a question that is posted", Path::Async, "sso.platform", R"({"command": "sso_plugin_getSSOState"})", kUnknownPosted},
    {"a question that is posted", Path::Async, "sso.partner", R"({"command": "sso_plugin_getGuid"})", kUnknownPosted},
    {"a question that is posted", Path::Async, "sso.partner", R"({"command": "sso_plugin_getLoginStatus"})", kUnknownPosted},
    {"a question that is posted", Path::Async, "sso.partner", R"({"command": "sso_plugin_getLoginUid"})", kUnknownPosted},
    {"a question that is posted", Path::Async, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState"})", kUnknownPosted},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_show_login_page"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_createAccount"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_showTermsPage"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo"})", kUnknownAsked},
    {"an operation that is asked for", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo"})", kUnknownAsked},
    // A name that is none is refused, whatever the application holds.
    {"a command that nobody knows", Path::Async, kAllPrivileges, R"({"command": "sso_plugin_signOut"})", R"({"command": "sso_plugin_signOut", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that nobody knows", Path::Blocking, kAllPrivileges, R"({"command": "sso_plugin_signOut"})", kRefusedAsked},
    {"a command that is known in lower case", Path::Async, kAllPrivileges, R"({"command": "sso_plugin_getversion"})", R"({"command": "sso_plugin_getversion", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that is known in lower case", Path::Blocking, kAllPrivileges, R"({"command": "sso_plugin_getversion"})", kRefusedAsked},
    {"a command that is known in upper case", Path::Async, kAllPrivileges, R"({"command": "SSO_PLUGIN_GETVERSION"})", R"({"command": "SSO_PLUGIN_GETVERSION", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that is known in upper case", Path::Blocking, kAllPrivileges, R"({"command": "SSO_PLUGIN_GETVERSION"})", kRefusedAsked},
    {"a command that has a blank at its end", Path::Async, kAllPrivileges, R"({"command": "sso_plugin_getVersion "})", R"({"command": "sso_plugin_getVersion ", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that has a blank at its end", Path::Blocking, kAllPrivileges, R"({"command": "sso_plugin_getVersion "})", kRefusedAsked},
    {"a command that has a blank before it", Path::Async, kAllPrivileges, R"({"command": " sso_plugin_getVersion"})", R"({"command": " sso_plugin_getVersion", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that has a blank before it", Path::Blocking, kAllPrivileges, R"({"command": " sso_plugin_getVersion"})", kRefusedAsked},
    {"a command that goes on after a NUL", Path::Async, kAllPrivileges, R"({"command": "sso_plugin_getVersion\u0000"})", R"({"command": "sso_plugin_getVersion\u0000", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that goes on after a NUL", Path::Blocking, kAllPrivileges, R"({"command": "sso_plugin_getVersion\u0000"})", kRefusedAsked},
    {"a command that is a format", Path::Async, kAllPrivileges, R"({"command": "%s%n%d"})", R"({"command": "%s%n%d", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that is a format", Path::Blocking, kAllPrivileges, R"({"command": "%s%n%d"})", kRefusedAsked},
    {"a command that is not ASCII", Path::Async, kAllPrivileges, R"({"command": "sso_plugin_ü日😀"})", R"({"command": "sso_plugin_ü日😀", "status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"a command that is not ASCII", Path::Blocking, kAllPrivileges, R"({"command": "sso_plugin_ü日😀"})", kRefusedAsked},
    {"an empty command is not repeated", Path::Async, kAllPrivileges, R"({"command": ""})", R"({"status": 18, "errorName": "PrivilegeInvalid", "errorMessage": "You do not have the privilege"})"},
    {"an empty command", Path::Blocking, kAllPrivileges, R"({"command": ""})", kRefusedAsked},
    // A login page without its text.
    {"a login page without data", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page"})", kLoginData},
    {"a login page with data under another case", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "Data": "x"})", kLoginData},
    {"a login page with data that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": null})", kLoginData},
    {"a login page with data that is false", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": false})", kLoginData},
    {"a login page with data that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": 7})", kLoginData},
    {"a login page with data that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": 1.5})", kLoginData},
    {"a login page with data that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": ["x"]})", kLoginData},
    {"a login page with data that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_show_login_page", "data": {"data": "x"}})", kLoginData},
    // Keys that are missing or no texts.
    {"a token without id", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": null, "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": true, "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": 7, "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": 1.5, "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": ["x"], "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with id that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": {"id": "x"}, "secret": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token without secret", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": null})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": true})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": 7})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": 1.5})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": ["x"]})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a token with secret that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_getZEVAccessToken", "id": "x", "secret": {"secret": "x"}})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a terms page without termsId", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": null, "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": true, "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": 7, "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": 1.5, "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": ["x"], "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page with termsId that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": {"termsId": "x"}, "callerId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"a terms page without callerId", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": null})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": true})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": 7})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": 1.5})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": ["x"]})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a terms page with callerId that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage", "termsId": "x", "callerId": {"callerId": "x"}})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "callerId parameter is invalid"})"},
    {"a list of mappings without appID", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": null})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": true})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": 7})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": 1.5})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": ["x"]})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a list of mappings with appID that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": {"appID": "x"}})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping without appID", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": null, "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": true, "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": 7, "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": 1.5, "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": ["x"], "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with appID that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": {"appID": "x"}, "cpName": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping without cpName", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": null, "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": true, "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": 7, "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": 1.5, "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": ["x"], "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpName that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": {"cpName": "x"}, "cpUID": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping without cpUID", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": null})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": true})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": 7})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": 1.5})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": ["x"]})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a new mapping with cpUID that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "x", "cpName": "x", "cpUID": {"cpUID": "x"}})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove without appID", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": null, "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": true, "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": 7, "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": 1.5, "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": ["x"], "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with appID that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": {"appID": "x"}, "cpName": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove without cpName", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is null", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": null})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is true", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": true})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is a whole number", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": 7})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is a fraction", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": 1.5})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is an array", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": ["x"]})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a mapping to remove with cpName that is an object", Path::Async, "sso.partner", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "x", "cpName": {"cpName": "x"}})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "paramInvaild", "errorMessage": "Parameter is invalid"})"},
    {"a terms page without both keys is told of the first", Path::Async, "sso.partner", R"({"command": "sso_plugin_showTermsPage"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "paramInvaild", "errorMessage": "termsId parameter is invalid"})"},
    {"terms without termsId", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState"})", kTermsId},
    {"terms with termsId that is null", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": null})", kTermsId},
    {"terms with termsId that is true", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": true})", kTermsId},
    {"terms with termsId that is a whole number", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": 7})", kTermsId},
    {"terms with termsId that is a fraction", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": 1.5})", kTermsId},
    {"terms with termsId that is an array", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": ["x"]})", kTermsId},
    {"terms with termsId that is an object", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getTermsAgreementState", "termsId": {"termsId": "x"}})", kTermsId},
};

/// What is answered at once.
constexpr Row kCommandRows[] = {
    {"the version", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getVersion"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"},
    {"the version, asked with members that do not matter", Path::Blocking, "sso.partner", R"({"command": "sso_plugin_getVersion", "data": 1, "code": 9, "value": "2"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"},
};

constexpr SpecialRow kSpecialRows[] = {
    {"a message that is undefined", Path::Async, "undefined", R"({"$type": "undefined"})", kNoDictionaryPosted},
    {"a message that is undefined", Path::Blocking, "undefined", R"({"$type": "undefined"})", kNoDictionaryAsked},
    {"a message that is not a number", Path::Async, "NaN", R"({"$type": "double", "value": "NaN"})", kNoDictionaryPosted},
    {"a message that is not a number", Path::Blocking, "NaN", R"({"$type": "double", "value": "NaN"})", kNoDictionaryAsked},
    {"a message that is an ArrayBuffer", Path::Async, "new ArrayBuffer(4)", R"({"$type": "arraybuffer", "bytes": [0, 0, 0, 0]})", kNoDictionaryPosted},
    {"a message that is an ArrayBuffer", Path::Blocking, "new ArrayBuffer(4)", R"({"$type": "arraybuffer", "bytes": [0, 0, 0, 0]})", kNoDictionaryAsked},
    {"a message that is an empty ArrayBuffer", Path::Async, "new ArrayBuffer(0)", R"({"$type": "arraybuffer", "bytes": []})", kNoDictionaryPosted},
    {"a message that is an empty ArrayBuffer", Path::Blocking, "new ArrayBuffer(0)", R"({"$type": "arraybuffer", "bytes": []})", kNoDictionaryAsked},
    {"a command that is undefined", Path::Async, "({command: undefined})", R"({"command": {"$type": "undefined"}})", kNoCommandPosted},
    {"a command that is undefined", Path::Blocking, "({command: undefined})", R"({"command": {"$type": "undefined"}})", kNoCommandAsked},
    {"a command that is an ArrayBuffer", Path::Async, "({command: new ArrayBuffer(4)})", R"({"command": {"$type": "arraybuffer", "bytes": [0, 0, 0, 0]}})", kNoCommandPosted},
    {"a command that is an ArrayBuffer", Path::Blocking, "({command: new ArrayBuffer(4)})", R"({"command": {"$type": "arraybuffer", "bytes": [0, 0, 0, 0]}})", kNoCommandAsked},
    {"a login page with data that is undefined", Path::Async, "({command: 'sso_plugin_show_login_page', data: undefined})", R"({"command": "sso_plugin_show_login_page", "data": {"$type": "undefined"}})", kLoginData},
    {"a login page with data that is an ArrayBuffer", Path::Async, "({command: 'sso_plugin_show_login_page', data: new ArrayBuffer(4)})", R"({"command": "sso_plugin_show_login_page", "data": {"$type": "arraybuffer", "bytes": [0, 0, 0, 0]}})", kLoginData},
};

// A login page that is shown answers when it ends, with the state that the client library says.
constexpr const char* kLoginRequest = R"({"command": "sso_plugin_show_login_page", "data": "page text"})";
constexpr const char* kLoginAnswer = R"({"command": "sso_plugin_show_login_page", "status": 0, "state": 0})";
/// The same request when the client library cannot start it.
constexpr const char* kLoginNotStarted = R"({"command": "sso_plugin_show_login_page", "status": -1, "errorName": "error", "errorMessage": "show login failed"})";

// clang-format on

}  // namespace contract

#endif
