"use strict";

/**
 * The commands of the protocol, in its order: the one place of this page that knows them.
 *
 * path       "async": sent with postMessage, answered later by a message event;
 *            "blocking": sent with postMessageAndAwaitResponse, answered by its return value
 * privilege  what the application has to hold
 * keys       what a ready message carries beside "command"
 */
const commands = [
  {
    name: "sso_plugin_show_login_page", title: "Show login page",
    path: "async", privilege: "partner", keys: { data: "login" },
    about: "Opens the login page and answers with the state in which it ended.",
  },
  {
    name: "sso_plugin_createAccount", title: "Create account",
    path: "async", privilege: "partner", keys: {},
    about: "Opens the page for a new account and answers with the state in which it ended.",
  },
  {
    name: "sso_plugin_getZEVAccessToken", title: "Get access token",
    path: "async", privilege: "partner", keys: { id: "demo-client", secret: "demo-secret" },
    about: "Asks for an access token for a client and answers with the token.",
  },
  {
    name: "sso_plugin_showTermsPage", title: "Show terms page",
    path: "async", privilege: "partner", keys: { termsId: "terms-1", callerId: "demo" },
    about: "Opens a terms page and answers with the state in which it ended.",
  },
  {
    name: "sso_plugin_getPartnerAccountMappingList", title: "List partner accounts",
    path: "async", privilege: "partner", keys: { appID: "demo-app", cpName: "demo-partner" },
    about: "Answers with the partner accounts that are mapped to the signed-in account.",
  },
  {
    name: "sso_plugin_addPartnerAccountMappingInfo", title: "Add partner account",
    path: "async", privilege: "partner",
    keys: { appID: "demo-app", cpName: "demo-partner", cpUID: "user-1" },
    about: "Maps a partner's user account to the signed-in account.",
  },
  {
    name: "sso_plugin_removePartnerAccountMappingInfo", title: "Remove partner account",
    path: "async", privilege: "partner",
    keys: { appID: "demo-app", cpName: "demo-partner", cpUID: "user-1" },
    about: "Takes the mapping of a partner's user account away.",
  },
  {
    name: "sso_plugin_getVersion", title: "Get version",
    path: "blocking", privilege: "partner", keys: {},
    about: "Replies with the version of the plug-in, a text.",
  },
  {
    name: "sso_plugin_getSSOState", title: "Get SSO state",
    path: "blocking", privilege: "platform", keys: {},
    about: "Replies with four fields of the signed-in account, joined by “?”.",
  },
  {
    name: "sso_plugin_getGuid", title: "Get GUID",
    path: "blocking", privilege: "partner", keys: {},
    about: "Replies with the account's GUID, empty when nobody is signed in.",
  },
  {
    name: "sso_plugin_getLoginStatus", title: "Get login status",
    path: "blocking", privilege: "partner", keys: {},
    about: "Replies with the login state, a number.",
  },
  {
    name: "sso_plugin_getLoginUid", title: "Get login UID",
    path: "blocking", privilege: "partner", keys: {},
    about: "Replies with the user's identifier, empty when nobody is signed in.",
  },
  {
    name: "sso_plugin_getTermsAgreementState", title: "Get terms agreement",
    path: "blocking", privilege: "partner", keys: { termsId: "terms-1" },
    about: "Replies with the state of the agreement to some terms, a number.",
  },
];
