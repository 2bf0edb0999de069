"use strict";

// Made of protocol/protocol.json by scripts/generate: change that one. A page in a folder can load a
// script, but no JSON.
const protocol = {
  "$schema": "protocol.schema.json",
  "privileges": [
    { "name": "sso.partner", "identifier": "/privilege/sso.partner" },
    { "name": "sso.platform", "identifier": "/privilege/sso.platform" },
    { "name": "sso.public", "identifier": "/privilege/sso.public" }
  ],
  "paths": {
    "async": {
      "send": "postMessage",
      "number": "status",
      "success": 0,
      "errors": [
        { "kind": "noDictionary", "number": -1, "errorName": "paramInvaild",
          "errorMessage": "Incoming message is invalid", "when": "the message is no object" },
        { "kind": "noCommand", "number": -1, "errorName": "commandInvaild",
          "errorMessage": "Parameter command is invalid", "when": "`\"command\"` is missing or no text" },
        { "kind": "noPrivilege", "number": 18, "errorName": "PrivilegeInvalid", "namesCommand": true,
          "errorMessage": "You do not have the privilege",
          "when": "the privilege is missing, or the command is none" },
        { "kind": "otherPath", "number": -1, "errorName": "commandInvaild",
          "errorMessage": "Command no recognized", "when": "a blocking command was posted" },
        { "kind": "badKey", "number": -1, "errorName": "paramInvaild", "namesCommand": true,
          "errorMessage": "Parameter is invalid", "when": "a key is missing or no text" },
        { "kind": "notStarted", "number": -1, "errorName": "error", "namesCommand": true,
          "when": "the operation could not be started" }
      ]
    },
    "blocking": {
      "send": "postMessageAndAwaitResponse",
      "number": "code",
      "success": 0,
      "errors": [
        { "kind": "noDictionary", "number": 26, "errorName": "InvalidValuesError",
          "errorMessage": "Incoming message is not dictionary", "when": "the message is no object" },
        { "kind": "noCommand", "number": 26, "errorName": "InvalidValuesError",
          "errorMessage": "Parameter command is invalid", "when": "`\"command\"` is missing or no text" },
        { "kind": "noPrivilege", "number": 18, "errorName": "SecurityError",
          "errorMessage": "You do not have the privilege",
          "when": "the privilege is missing, or the command is none" },
        { "kind": "otherPath", "number": -2, "errorName": "InvalidValuesError",
          "errorMessage": "unkown command", "when": "an asynchronous command was sent this way" },
        { "kind": "badKey", "number": -4, "errorName": "paramInvaild",
          "errorMessage": "Parameter is invalid", "when": "a key is missing or no text" }
      ]
    }
  },
  "commands": [
    {
      "name": "sso_plugin_show_login_page",
      "title": "Show login page",
      "about": "Opens the login page and answers with the state in which it ended.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [{ "name": "data", "required": true, "example": "login" }],
      "answer": { "key": "state", "type": "number" },
      "notStarted": "show login failed"
    },
    {
      "name": "sso_plugin_createAccount",
      "title": "Create account",
      "about": "Opens the page for a new account and answers with the state in which it ended.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [],
      "answer": { "key": "state", "type": "number" },
      "notStarted": "show login failed"
    },
    {
      "name": "sso_plugin_getZEVAccessToken",
      "title": "Get access token",
      "about": "Asks for an access token for a client and answers with the token.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [
        { "name": "id", "required": true, "example": "demo-client" },
        { "name": "secret", "required": true, "example": "demo-secret" }
      ],
      "answer": { "key": "token", "type": "text" },
      "notStarted": "request access token failed"
    },
    {
      "name": "sso_plugin_showTermsPage",
      "title": "Show terms page",
      "about": "Opens a terms page and answers with the state in which it ended.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [
        { "name": "termsId", "required": true, "example": "terms-1",
          "errorMessage": "termsId parameter is invalid" },
        { "name": "callerId", "required": true, "example": "demo",
          "errorMessage": "callerId parameter is invalid" }
      ],
      "answer": { "key": "state", "type": "number" },
      "notStarted": "show terms page failed"
    },
    {
      "name": "sso_plugin_getPartnerAccountMappingList",
      "title": "List partner accounts",
      "about": "Answers with the partner accounts that are mapped to the signed-in account.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [
        { "name": "appID", "required": true, "example": "demo-app" },
        { "name": "cpName", "required": false, "example": "demo-partner" }
      ],
      "answer": { "key": "PartnerAccountInfo", "type": "text" },
      "notStarted": "get cp account mapping list failed"
    },
    {
      "name": "sso_plugin_addPartnerAccountMappingInfo",
      "title": "Add partner account",
      "about": "Maps a partner's user account to the signed-in account.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [
        { "name": "appID", "required": true, "example": "demo-app" },
        { "name": "cpName", "required": true, "example": "demo-partner" },
        { "name": "cpUID", "required": true, "example": "user-1" }
      ],
      "answer": { "key": "result", "type": "number" },
      "notStarted": "add cp account mapping info failed"
    },
    {
      "name": "sso_plugin_removePartnerAccountMappingInfo",
      "title": "Remove partner account",
      "about": "Takes the mapping of a partner's user account away.",
      "path": "async",
      "privilege": "sso.partner",
      "keys": [
        { "name": "appID", "required": true, "example": "demo-app" },
        { "name": "cpName", "required": true, "example": "demo-partner" },
        { "name": "cpUID", "required": false, "example": "user-1" }
      ],
      "answer": { "key": "result", "type": "number" },
      "notStarted": "remove cp account mapping info failed"
    },
    {
      "name": "sso_plugin_getVersion",
      "title": "Get version",
      "about": "Replies with the version of the plug-in, a text.",
      "path": "blocking",
      "privilege": "sso.partner",
      "keys": [],
      "answer": { "key": "value", "type": "text" }
    },
    {
      "name": "sso_plugin_getSSOState",
      "title": "Get SSO state",
      "about": "Replies with four fields of the signed-in account, joined by “?”.",
      "path": "blocking",
      "privilege": "sso.platform",
      "keys": [],
      "answer": { "key": "value", "type": "text" }
    },
    {
      "name": "sso_plugin_getGuid",
      "title": "Get GUID",
      "about": "Replies with the account's GUID, empty when nobody is signed in.",
      "path": "blocking",
      "privilege": "sso.partner",
      "keys": [],
      "answer": { "key": "value", "type": "text" }
    },
    {
      "name": "sso_plugin_getLoginStatus",
      "title": "Get login status",
      "about": "Replies with the login state, a number.",
      "path": "blocking",
      "privilege": "sso.partner",
      "keys": [],
      "answer": { "key": "value", "type": "number" }
    },
    {
      "name": "sso_plugin_getLoginUid",
      "title": "Get login UID",
      "about": "Replies with the user's identifier, empty when nobody is signed in.",
      "path": "blocking",
      "privilege": "sso.partner",
      "keys": [],
      "answer": { "key": "value", "type": "text" }
    },
    {
      "name": "sso_plugin_getTermsAgreementState",
      "title": "Get terms agreement",
      "about": "Replies with the state of the agreement to some terms, a number.",
      "path": "blocking",
      "privilege": "sso.partner",
      "keys": [{ "name": "termsId", "required": true, "example": "terms-1" }],
      "answer": { "key": "value", "type": "number" }
    }
  ],
  "unregistered": "Unregister"
};
