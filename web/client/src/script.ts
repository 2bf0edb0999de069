// The client for pages without modules: all of it is in SSO.
import { ChangeResult, PopupState, SSOClient, SSOError } from "./index.js";

declare global {
  /** What the script brings into a page. */
  const SSO: typeof import("./index.js");
}

Object.assign(self, { SSO: { ChangeResult, PopupState, SSOClient, SSOError } });
