// A page with a fake in it.
import { createFakeEmbed, type FakeEmbed, type FakeOptions } from "../../src/testing/index.js";

export interface Page {
  readonly fake: FakeEmbed;
  /** What has come, in order. */
  readonly messages: unknown[];
  /** Posts requests, and waits until nothing more comes. @return what has come since. */
  post(...requests: unknown[]): Promise<any[]>;
  /** Sends a request and blocks. */
  call(request: unknown): any;
}

/** @param options  without delays unless they say otherwise. */
export function openPage(options: FakeOptions = {}): Page {
  const fake = createFakeEmbed({ delays: false, ...options });
  const messages: unknown[] = [];
  fake.addEventListener("message", ({ data }) => messages.push(data));
  return {
    fake,
    messages,
    async post(...requests) {
      const before = messages.length;
      for (const request of requests) fake.postMessage(request as object);
      await settled();
      return messages.slice(before);
    },
    call: request => fake.postMessageAndAwaitResponse(request as object),
  };
}

/** All that comes without delay has come. */
export const settled = (): Promise<void> => new Promise(resolve => setTimeout(resolve));

export const kLogin = { command: "sso_plugin_show_login_page", data: "login" };
export const kCreateAccount = { command: "sso_plugin_createAccount" };
export const kToken = { command: "sso_plugin_getZEVAccessToken", id: "demo-client", secret: "demo-secret" };
export const kTerms = { command: "sso_plugin_showTermsPage", termsId: "terms-1", callerId: "demo" };
export const kMappings = { command: "sso_plugin_getPartnerAccountMappingList", appID: "demo-app" };
export const kAdd = {
  command: "sso_plugin_addPartnerAccountMappingInfo", appID: "demo-app", cpName: "demo-partner", cpUID: "user-1",
};
export const kRemove = { ...kAdd, command: "sso_plugin_removePartnerAccountMappingInfo" };
export const kVersion = { command: "sso_plugin_getVersion" };
export const kState = { command: "sso_plugin_getSSOState" };
export const kGuid = { command: "sso_plugin_getGuid" };
export const kStatus = { command: "sso_plugin_getLoginStatus" };
export const kUid = { command: "sso_plugin_getLoginUid" };
export const kAgreed = { command: "sso_plugin_getTermsAgreementState", termsId: "terms-1" };
