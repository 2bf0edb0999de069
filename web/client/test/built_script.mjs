// The script for pages without modules, as a module.
globalThis.self = globalThis;
await import("../dist/sso-client.js");
export const { ChangeResult, PopupState, SSOClient, SSOError } = globalThis.SSO;
