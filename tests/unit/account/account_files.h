#ifndef UNIT_ACCOUNT_ACCOUNT_FILES_H_
#define UNIT_ACCOUNT_ACCOUNT_FILES_H_

#include <string>

// Account files, good and bad, on which the reader and the schema have to agree.

/// Who refuses a bad file. A schema sees what a parser makes of a file, so it cannot know of
/// members that are there twice and of a NUL byte behind the value; it counts the characters of a
/// text, not its bytes; and it cannot compare a member of several objects.
enum class CheckedBy { SchemaAndReader, Reader };

struct BadFile {
    std::string json;
    const char* complaint;
    CheckedBy checkedBy = CheckedBy::SchemaAndReader;
};

/// An account whose login name is that JSON value.
inline std::string withLoginId(const std::string& value) {
    return R"({"account": {"loginId": )" + value + R"(, "uid": "", "guid": "", "authToken": ""}})";
}

inline const std::string kBytes255(255, 'x');
inline const std::string kBytes256(256, 'x');

// clang-format off
inline const std::string kGoodFiles[] = {
    "{}",
    R"({"account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"}})",
    R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"}, "signedIn": true})",
    R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"}, "signedIn": false})",
    R"({"signedIn": false})",
    R"({"$schema": ""})",
    withLoginId("\"" + kBytes255 + "\""),
    withLoginId("\"" + kBytes255.substr(2) + "\xC3\xA9\""),
    withLoginId("\"\xF0\x9F\x98\x80\\n\\u00e9\""),
    R"({"account": {"loginId": "", "uid": ")" + kBytes255 + R"(", "guid": ")" + kBytes256 + R"(", "authToken": ")" + kBytes256 + "\"}}",
    R"({"requestDelayMs": 0})",
    R"({"requestDelayMs": 600000})",
    R"({"popups": {}})",
    R"({"popups": {"login": {}, "createAccount": {}, "terms": {}}})",
    R"({"popups": {"login": {"state": "completed"}, "createAccount": {"state": "closed"}, "terms": {"state": "failed", "delayMs": 600000}}})",
    R"({"clients": [], "mappings": [], "terms": {}, "unavailable": []})",
    R"({"clients": [{"id": "", "secret": "", "token": ""}]})",
    R"({"clients": [{"id": "a", "secret": "s", "token": "t"}, {"id": "b", "secret": "s", "token": "t"}]})",
    R"({"mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"}, {"appID": "b", "cpName": "p", "cpUID": "u"}, {"appID": "a", "cpName": "q", "cpUID": "u"}, {"appID": "a", "cpName": "p", "cpUID": "v"}]})",
    R"({"terms": {"": "agreed", "terms-1": "notAgreed"}})",
    R"({"unavailable": ["sso_show", "sso_show_term_page", "sso_request_access_token", "sso_get_cp_account_mapping_list", "sso_add_cp_account_mapping_info", "sso_remove_cp_account_mapping_info", "sso_get_login_state", "sso_get_term_state", "sso_get_login_info", "sso_get_guid", "sso_get_auth_token"]})",
    R"({"unavailable": ["sso_show", "sso_show"]})",
    R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t", "displayName": "L", "password": "p"}})",
    R"({"clients": [{"id": "", "secret": "", "token": "", "lifetimeSeconds": 0}, {"id": "b", "secret": "", "token": "", "lifetimeSeconds": 1000000000}]})",
    R"({"terms": {"a": {}, "b": {"version": "2", "title": "t", "text": "x", "agreedVersion": "1"}}})",
    R"({"accounts": [{"loginId": "m", "uid": "u", "guid": "g", "authToken": "t", "mappings": [], "agreements": {"a": "1"}}], "signedInAs": "m"})",
    R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"}, "clients": [{"id": "c", "secret": "s", "token": "t"}], "tokens": [{"loginId": "l", "client": "c", "token": "x", "number": 2, "expiry": 4503599627370496}]})",
};
// clang-format on

// clang-format off
inline const BadFile kBadFiles[] = {
    // No JSON.
    {"", "file:1:1: is empty"},
    {"\n\n", "file:1:1: is empty"},
    {"{", "file:1:2: is not JSON: it ends too early"},
    {"{\n\"signedIn\": false,\n}", "file:2:18: is not JSON: a comma is too many"},
    {"{\n\"signedIn\": tru\n}", "file:2:13: is not JSON: its only words are true, false and null"},
    {"{\n\"$schema\": \"not\nended\"}", "file:2:16: is not JSON: a text does not go beyond its line"},
    {"{}\n{}", "file:2:1: is not JSON: more follows behind its end"},
    {"{} // comment", "file:1:4: is not JSON: it has no comments"},
    {"{'signedIn': false}", "file:1:2: is not JSON: texts are in double quotes"},
    {"{\n\n\"$schema\": \"\xFF\"}", "file:3:13: is not in UTF-8"},
    {"{\"$schema\": \"\xC3\"}", "file:1:15: is not in UTF-8"},
    {"{\"$schema\": \"\\ud800\"}", "file:1:20: is not JSON: a \\ in a text begins nothing that it knows"},
    {std::string("{}\0", 3), "file:1:3: is not JSON: it has a NUL character", CheckedBy::Reader},
    {std::string("{}\n\0{}", 6), "file:2:1: is not JSON: it has a NUL character", CheckedBy::Reader},
    {"{\n\"requestDelayMs\": 1e999}", "file:2:23: holds a number out of range"},
    {R"({"$schema": )" + std::string(16, '[') + std::string(16, ']') + "}", "file:1: is nested too deeply"},
    {std::string(100000, '['), "file:1: is nested too deeply"},
    {"{\"a\":\n" + std::string(100000, '{'), "file:2:2: is not JSON: a member's name is a text in double quotes"},
    // Not an object, or not of this file.
    {"[]", "file:1: must be an object"},
    {"\n\n  null", "file:3: must be an object"},
    {"\"text\"", "file:1: must be an object"},
    {"1\n", "file:1: must be an object"},
    {"{\n \"signedin\": true}", "file:2: signedin: is not known here; known are $schema, account, signedIn, popups, requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens"},
    {"{\"a b\": 1}", "file:1: [\"a b\"]: is not known here; known are $schema, account, signedIn, popups, requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens"},
    {"{\"\": 1}", "file:1: [\"\"]: is not known here; known are $schema, account, signedIn, popups, requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens"},
    {"{\"line\\nend \xC3\xA9\": 1}", "file:1: [\"line\\nend \\u00e9\"]: is not known here; known are $schema, account, signedIn, popups, requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens"},
    {"{\"" + std::string(65, 'k') + "\": 1}", "file:1: [\"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk...\"]: is not known here; known are $schema, account, signedIn, popups, requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens"},
    {"{\"signedIn\": false,\n\"signedIn\": false}", "file:2: signedIn: is there twice", CheckedBy::Reader},
    {"{\"$schema\": 1}", "file:1: $schema: must be a text"},
    // The account.
    {"{\n\"account\": null}", "file:2: account: must be an object"},
    {"{\"account\": \"robin\"}", "file:1: account: must be an object"},
    {"{\n\"account\": {\n}}", "file:2: account.loginId: is missing\nfile:2: account.uid: is missing\nfile:2: account.guid: is missing\nfile:2: account.authToken: is missing"},
    {R"({"account": {"loginId": "", "guid": "", "authToken": ""}})", "file:1: account.uid: is missing"},
    {R"({"account": {"loginId": "", "uid": "", "authToken": ""}})", "file:1: account.guid: is missing"},
    {R"({"account": {"loginId": "", "uid": "", "guid": ""}})", "file:1: account.authToken: is missing"},
    {R"({"account": {"loginId": "", "uid": "", "guid": "", "authToken": "", "name": ""}})", "file:1: account.name: is not known here; known are loginId, uid, guid, authToken, displayName, password"},
    {R"({"account": {"loginId": "", "uid": "", "guid": "", "guid": "", "authToken": ""}})", "file:1: account.guid: is there twice", CheckedBy::Reader},
    {withLoginId("\"" + kBytes256 + "\""), "file:1: account.loginId: must be a text of at most 255 bytes"},
    {withLoginId("\"" + kBytes255.substr(1) + "\xC3\xA9\""), "file:1: account.loginId: must be a text of at most 255 bytes", CheckedBy::Reader},
    {withLoginId("12"), "file:1: account.loginId: must be a text"},
    {withLoginId("null"), "file:1: account.loginId: must be a text"},
    {withLoginId("true"), "file:1: account.loginId: must be a text"},
    {withLoginId("[\"login\"]"), "file:1: account.loginId: must be a text"},
    {withLoginId("{}"), "file:1: account.loginId: must be a text"},
    {withLoginId("\"a\\u0000b\""), "file:1: account.loginId: must be a text without \\u0000"},
    {R"({"account": {"loginId": "", "uid": ")" + kBytes256 + R"(", "guid": "", "authToken": ""}})", "file:1: account.uid: must be a text of at most 255 bytes"},
    {R"({"account": {"loginId": "", "uid": "", "guid": 1, "authToken": ""}})", "file:1: account.guid: must be a text"},
    {R"({"account": {"loginId": "", "uid": "", "guid": "\u0000", "authToken": ""}})", "file:1: account.guid: must be a text without \\u0000"},
    {R"({"account": {"loginId": "", "uid": "", "guid": "", "authToken": false}})", "file:1: account.authToken: must be a text"},
    {R"({"account": {"loginId": "", "uid": "", "guid": "", "authToken": "\u0000"}})", "file:1: account.authToken: must be a text without \\u0000"},
    {"{\n\"signedIn\": true}", "file:2: signedIn: must not be true without an account"},
    {"{\n\n\"signedIn\":\n1}", "file:4: signedIn: must be true or false"},
    {"{\"signedIn\": \"yes\"}", "file:1: signedIn: must be true or false"},
    {"{\"signedIn\": null}", "file:1: signedIn: must be true or false"},
    {R"({"accounts": [{"loginId": "m"}]})", "file:1: accounts[0].uid: is missing\nfile:1: accounts[0].guid: is missing\nfile:1: accounts[0].authToken: is missing"},
    {R"({"account": {"loginId": "l", "uid": "", "guid": "", "authToken": ""}, "accounts": [{"loginId": "l", "uid": "", "guid": "", "authToken": ""}]})", "file:1: accounts[0].loginId: is the loginId of another account, too", CheckedBy::Reader},
    {R"({"account": {"loginId": "l", "uid": "", "guid": "", "authToken": ""}, "signedInAs": "m"})", "file:1: signedInAs: is no account's here", CheckedBy::Reader},
    {R"({"account": {"loginId": "l", "uid": "", "guid": "", "authToken": ""}, "signedIn": false, "signedInAs": "l"})", "file:1: signedInAs: must not be there when nobody is signed in", CheckedBy::Reader},
    {R"({"tokens": [{"loginId": "l", "client": "c", "token": ""}]})", "file:1: tokens[0].loginId: is no account's here\nfile:1: tokens[0].client: is no client's id here", CheckedBy::Reader},
    // Popups and delays.
    {"{\"popups\": []}", "file:1: popups: must be an object"},
    {"{\"popups\": {\"logout\": {}}}", "file:1: popups.logout: is not known here; known are login, createAccount, terms"},
    {"{\"popups\": {\"login\": 200}}", "file:1: popups.login: must be an object"},
    {"{\"popups\": {\"login\": {\"delay\": 1}}}", "file:1: popups.login.delay: is not known here; known are state, delayMs"},
    {"{\"popups\": {\"login\": {\n\"state\": \"open\"}}}", "file:2: popups.login.state: must be \"completed\", \"closed\" or \"failed\""},
    {"{\"popups\": {\"login\": {\"state\": \"cancelled\"}}}", "file:1: popups.login.state: must be \"completed\", \"closed\" or \"failed\""},
    {"{\"popups\": {\"login\": {\"state\": 0}}}", "file:1: popups.login.state: must be a text"},
    {"{\"popups\": {\"createAccount\": {\"state\": \"\"}}}", "file:1: popups.createAccount.state: must be \"completed\", \"closed\" or \"failed\""},
    {"{\"popups\": {\"terms\": {\"delayMs\": 600001}}}", "file:1: popups.terms.delayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\": -1}", "file:1: requestDelayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\": 0.5}", "file:1: requestDelayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\": 18446744073709551616}", "file:1: requestDelayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\": -9223372036854775808}", "file:1: requestDelayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\": \"1\"}", "file:1: requestDelayMs: must be a whole number from 0 to 600000"},
    {"{\"requestDelayMs\":\n600001\n,\n\"terms\": {}}", "file:2: requestDelayMs: must be a whole number from 0 to 600000"},
    // Clients.
    {"{\"clients\": {}}", "file:1: clients: must be an array"},
    {"{\"clients\": [1]}", "file:1: clients[0]: must be an object"},
    {R"({"clients": [{"id": "a", "secret": "", "token": ""}, {"secret": "", "token": ""}]})", "file:1: clients[1].id: is missing"},
    {R"({"clients": [{"id": "", "token": ""}]})", "file:1: clients[0].secret: is missing"},
    {R"({"clients": [{"id": "", "secret": ""}]})", "file:1: clients[0].token: is missing"},
    {R"({"clients": [{"id": 1, "secret": "", "token": ""}]})", "file:1: clients[0].id: must be a text"},
    {R"({"clients": [{"id": "", "secret": 1, "token": ""}]})", "file:1: clients[0].secret: must be a text"},
    {R"({"clients": [{"id": "", "secret": "\u0000", "token": ""}]})", "file:1: clients[0].secret: must be a text without \\u0000"},
    {R"({"clients": [{"id": "", "secret": "", "token": []}]})", "file:1: clients[0].token: must be a text"},
    {R"({"clients": [{"id": "", "secret": "", "token": "", "scope": ""}]})", "file:1: clients[0].scope: is not known here; known are id, secret, token, lifetimeSeconds"},
    {"{\"clients\": [{\"id\": \"a\", \"secret\": \"1\", \"token\": \"\"},\n{\"id\": \"a\", \"secret\": \"2\", \"token\": \"\"}]}", "file:2: clients[1].id: is the id of another client, too", CheckedBy::Reader},
    // Mappings.
    {"{\"mappings\": null}", "file:1: mappings: must be an array"},
    {"{\"mappings\": [[]]}", "file:1: mappings[0]: must be an object"},
    {R"({"mappings": [{"cpName": "p", "cpUID": "u"}]})", "file:1: mappings[0].appID: is missing"},
    {R"({"mappings": [{"appID": "a", "cpUID": "u"}]})", "file:1: mappings[0].cpName: is missing"},
    {R"({"mappings": [{"appID": "a", "cpName": "p"}]})", "file:1: mappings[0].cpUID: is missing"},
    {R"({"mappings": [{"appID": "", "cpName": "p", "cpUID": "u"}]})", "file:1: mappings[0].appID: must be a text that is not empty"},
    {R"({"mappings": [{"appID": "a", "cpName": "", "cpUID": "u"}]})", "file:1: mappings[0].cpName: must be a text that is not empty"},
    {R"({"mappings": [{"appID": "a", "cpName": "p", "cpUID": ""}]})", "file:1: mappings[0].cpUID: must be a text that is not empty"},
    {R"({"mappings": [{"appID": 1, "cpName": "p", "cpUID": "u"}]})", "file:1: mappings[0].appID: must be a text"},
    {R"({"mappings": [{"appID": "a", "cpName": "p", "cpUID": "\u0000"}]})", "file:1: mappings[0].cpUID: must be a text without \\u0000"},
    {R"({"mappings": [{"appID": "a", "cpName": "p", "cpUID": "u", "x": 1}]})", "file:1: mappings[0].x: is not known here; known are appID, cpName, cpUID"},
    {"{\"mappings\": [{\"appID\": \"a\", \"cpName\": \"p\", \"cpUID\": \"u\"},\n{\"cpUID\": \"u\", \"appID\": \"a\", \"cpName\": \"p\"}]}", "file:2: mappings[1]: is there twice"},
    // Terms.
    {"{\"terms\": [\"terms-1\"]}", "file:1: terms: must be an object"},
    {"{\"terms\": {\"terms-1\": true}}", "file:1: terms.terms-1: must be a text"},
    {"{\"terms\": {\"terms-1\":\n\"yes\"}}", "file:2: terms.terms-1: must be \"agreed\" or \"notAgreed\""},
    {"{\"terms\": {\"t 1\": \"\"}}", "file:1: terms[\"t 1\"]: must be \"agreed\" or \"notAgreed\""},
    {"{\"terms\": {\"t\": \"agreed\", \"t\": \"agreed\"}}", "file:1: terms.t: is there twice", CheckedBy::Reader},
    {"{\"terms\": {\"a\\u0000b\": \"agreed\"}}", "file:1: terms[\"a\\u0000b\"]: must have a name without \\u0000"},
    // Functions.
    {"{\"unavailable\": \"sso_show\"}", "file:1: unavailable: must be an array"},
    {"{\"unavailable\": [\"sso_show\", 1]}", "file:1: unavailable[1]: must be a text"},
    {"{\"unavailable\": [\n\"sso_hide\"]}", "file:2: unavailable[0]: must be the name of a function of sso_api.h that can fail"},
    {"{\"unavailable\": [\"sso_give_proxy\"]}", "file:1: unavailable[0]: must be the name of a function of sso_api.h that can fail"},
    {"{\"unavailable\": [\"\"]}", "file:1: unavailable[0]: must be the name of a function of sso_api.h that can fail"},
};
// clang-format on

#endif
