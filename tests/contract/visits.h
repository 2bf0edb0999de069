#ifndef CONTRACT_VISITS_H_
#define CONTRACT_VISITS_H_

#include "commands.h"

namespace contract {

/// A request of an application that holds all privileges, and the one answer to it.
struct Exchange {
    Path path;
    const char* request;  ///< JSON
    const char* answer;   ///< JSON; the whole of it
};

// What a page gets with each of the example accounts, by the name of its file in account/examples. The
// requests of a visit are made one after the other: some change the account for those that follow.
// Each uses all thirteen commands.
// clang-format off

constexpr const char* kSignedInAccount = "signed-in.json";
constexpr Exchange kSignedInVisit[] = {
    {Path::Blocking, R"({"command": "sso_plugin_getVersion"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getSSOState"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "robin@user.example?auth-token-of-robin?uid-robin?guid-robin"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getGuid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "guid-robin"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginStatus"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 1})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginUid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "uid-robin"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "terms-1"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "terms-2"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 1})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "no such terms"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": ""})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Async, R"({"command": "sso_plugin_show_login_page", "data": "login"})", R"({"command": "sso_plugin_show_login_page", "status": 0, "state": 0})"},
    {Path::Async, R"({"command": "sso_plugin_createAccount"})", R"({"command": "sso_plugin_createAccount", "status": 0, "state": 0})"},
    {Path::Async, R"({"command": "sso_plugin_showTermsPage", "termsId": "terms-1", "callerId": "demo"})", R"({"command": "sso_plugin_showTermsPage", "status": 0, "state": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "terms-1"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 1})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "demo-secret"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 0, "token": "access-token-of-demo-client"})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "another"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 0, "token": ""})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "no such client", "secret": "demo-secret"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 0, "token": ""})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 0, "PartnerAccountInfo": "[{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-0\"}]"})"},
    {Path::Async, R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": 0, "result": 0})"},
    {Path::Async, R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": 0, "result": -6})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 0, "PartnerAccountInfo": "[{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-0\"},{\"appID\":\"demo-app\",\"cpName\":\"other-partner\",\"cpUID\":\"robin@partner.example\"},{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-1\"}]"})"},
    {Path::Async, R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-0"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": 0, "result": 0})"},
    {Path::Async, R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-0"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": 0, "result": -5})"},
    {Path::Async, R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": 0, "result": 0})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 0, "PartnerAccountInfo": "[]"})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 0, "PartnerAccountInfo": "[{\"appID\":\"demo-app\",\"cpName\":\"other-partner\",\"cpUID\":\"robin@partner.example\"}]"})"},
};

constexpr const char* kSignedOutAccount = "signed-out.json";
constexpr Exchange kSignedOutVisit[] = {
    {Path::Blocking, R"({"command": "sso_plugin_getVersion"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getSSOState"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getGuid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginStatus"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginUid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "terms-1"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Async, R"({"command": "sso_plugin_createAccount"})", R"({"command": "sso_plugin_createAccount", "status": 0, "state": 1})"},
    {Path::Async, R"({"command": "sso_plugin_showTermsPage", "termsId": "terms-1", "callerId": "demo"})", R"({"command": "sso_plugin_showTermsPage", "status": 0, "state": 0})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "demo-secret"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 0, "token": ""})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": 0, "PartnerAccountInfo": ""})"},
    {Path::Async, R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": 0, "result": -2})"},
    {Path::Async, R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": 0, "result": -2})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginStatus"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    // The user goes through the login page.
    {Path::Async, R"({"command": "sso_plugin_show_login_page", "data": "login"})", R"({"command": "sso_plugin_show_login_page", "status": 0, "state": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginStatus"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 1})"},
    {Path::Blocking, R"({"command": "sso_plugin_getSSOState"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "sasha@user.example?auth-token-of-sasha?uid-sasha?guid-sasha"})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "demo-secret"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": 0, "token": "access-token-of-demo-client"})"},
};

constexpr const char* kFailingAccount = "everything-fails.json";
constexpr Exchange kFailingVisit[] = {
    {Path::Blocking, R"({"command": "sso_plugin_getVersion"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"},
    {Path::Blocking, R"({"command": "sso_plugin_getSSOState"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getGuid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginStatus"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Blocking, R"({"command": "sso_plugin_getLoginUid"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": ""})"},
    {Path::Blocking, R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "terms-1"})", R"({"code": 0, "errorName": "", "errorMessage": "", "value": 0})"},
    {Path::Async, R"({"command": "sso_plugin_show_login_page", "data": "login"})", R"({"command": "sso_plugin_show_login_page", "status": -1, "errorName": "error", "errorMessage": "show login failed"})"},
    {Path::Async, R"({"command": "sso_plugin_createAccount"})", R"({"command": "sso_plugin_createAccount", "status": -1, "errorName": "error", "errorMessage": "show login failed"})"},
    {Path::Async, R"({"command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "demo-secret"})", R"({"command": "sso_plugin_getZEVAccessToken", "status": -1, "errorName": "error", "errorMessage": "request access token failed"})"},
    {Path::Async, R"({"command": "sso_plugin_showTermsPage", "termsId": "terms-1", "callerId": "demo"})", R"({"command": "sso_plugin_showTermsPage", "status": -1, "errorName": "error", "errorMessage": "show terms page failed"})"},
    {Path::Async, R"({"command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner"})", R"({"command": "sso_plugin_getPartnerAccountMappingList", "status": -1, "errorName": "error", "errorMessage": "get cp account mapping list failed"})"},
    {Path::Async, R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_addPartnerAccountMappingInfo", "status": -1, "errorName": "error", "errorMessage": "add cp account mapping info failed"})"},
    {Path::Async, R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1"})", R"({"command": "sso_plugin_removePartnerAccountMappingInfo", "status": -1, "errorName": "error", "errorMessage": "remove cp account mapping info failed"})"},
};

// clang-format on

}  // namespace contract

#endif
