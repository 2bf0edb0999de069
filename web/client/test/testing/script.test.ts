// What a test says of single requests, and of the plug-in's life.
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { createFakeEmbed, type FakeEmbed, type FakeOptions, type Order } from "../../src/testing/index.js";
import { treeFile } from "./files.mjs";
import {
  kAdd, kCreateAccount, kGuid, kLogin, kMappings, kStatus, kTerms, kToken, kVersion, openPage, settled,
} from "./page.js";

const kGone = new Error("The plug-in does not reply: it is not there.");
const token = (text: string): object => ({ command: kToken.command, status: 0, token: text });

describe("next()", () => {
  it("says the outcomes of the requests that come, one each", async () => {
    const { fake, post } = openPage();
    fake.next("getAccessToken", { token: "one" }).next("getAccessToken", { token: "" });
    fake.next("getMappings", { PartnerAccountInfo: "not JSON" });
    expect(await post(kToken, kMappings, kToken, kToken)).toEqual([
      token("one"),
      { command: kMappings.command, status: 0, PartnerAccountInfo: "not JSON" },
      token(""),
      token("access-token-of-demo-client"),
    ]);
  });

  it("is for requests that the plug-in does not refuse", async () => {
    const { fake, post } = openPage();
    fake.next("getAccessToken", { token: "one" });
    const [refused, good] = await post({ ...kToken, id: 7 }, kToken);
    expect([refused.errorName, good.token]).toEqual(["paramInvaild", "one"]);
  });

  it("says how a page ends, for the account too", async () => {
    const { fake, post, call } = openPage({ preset: "signed-out" });
    for (const state of [1, 2, 3, 17]) {
      fake.next("showLoginPage", { state });
      expect(await post(kLogin)).toEqual([{ command: kLogin.command, status: 0, state }]);
      expect(call(kStatus).value).toBe(0);
    }
    fake.next("createAccount", { state: 0 });
    expect(await post(kCreateAccount)).toEqual([{ command: kCreateAccount.command, status: 0, state: 0 }]);
    expect(call(kStatus).value).toBe(1);
  });

  it("does not change the account otherwise", async () => {
    const { fake, post } = openPage();
    fake.next("addMapping", { result: 0 });
    expect((await post(kAdd, kAdd)).map(({ result }) => result)).toEqual([0, 0]);
    const signedOut = openPage({ preset: "signed-out" });
    signedOut.fake.next("addMapping", { result: 0 });
    expect((await signedOut.post(kAdd))[0].result).toBe(0);
    expect(signedOut.call(kStatus).value).toBe(0);
  });

  it("does not use orders up", async () => {
    const { fake, post } = openPage({ preset: "flaky" });
    fake.next("getAccessToken", { token: "one" });
    expect((await post(kToken, kToken, kToken)).map(({ token }) => token)).toEqual(
      ["one", "", "access-token-of-demo-client"]);
  });

  it("lets a start fail with the command's text", async () => {
    const { fake, post } = openPage();
    fake.next("showTermsPage", { notStarted: true });
    expect(await post(kTerms)).toEqual(
      [{ command: kTerms.command, status: -1, errorName: "error", errorMessage: "show terms page failed" }]);
  });

  it("loses an answer", async () => {
    const { fake, post } = openPage();
    fake.next("getAccessToken", { lost: true });
    expect(await post(kToken, kAdd)).toEqual([{ command: kAdd.command, status: 0, result: 0 }]);
    expect(fake.requests[0]).not.toHaveProperty("answer");
  });

  it("answers with anything", async () => {
    const { fake, post, call } = openPage();
    fake.next("getAccessToken", { answer: undefined }).next("getAccessToken", { answer: { status: "0" } });
    expect(await post(kToken, kToken)).toEqual([undefined, { status: "0" }]);
    fake.next("getGuid", { answer: 7 });
    expect(call(kGuid)).toBe(7);
  });

  it("says what a blocking request is told", () => {
    const { fake, call } = openPage();
    fake.next("getLoginStatus", { value: 5 }).next("getVersion", { value: "1.0" });
    expect([call(kStatus).value, call(kStatus).value, call(kVersion).value]).toEqual([5, 1, "1.0"]);
  });

  it("ends a text at its first NUL, as a device does", async () => {
    const { fake, post } = openPage();
    fake.next("getAccessToken", { token: "one\0two" });
    expect(await post(kToken)).toEqual([token("one")]);
  });

  it("knows the client's methods", () => {
    const { fake } = openPage();
    expect(() => fake.next("signOut" as "getGuid", {})).toThrow(new TypeError("there is no method signOut"));
    expect(() => fake.hold("toString" as "addMapping")).toThrow(new TypeError("there is no method toString"));
  });

  it("takes nothing that the type checker would not take either", async () => {
    const { fake, post } = openPage();
    const next = (method: "getVersion", script: object) => () => fake.next(method, script);
    const kCases: [method: string, script: object, message: string][] = [
      ["showLoginPage", { stat: 1 }, "showLoginPage has no stat, but state, delay, notStarted, lost, answer"],
      ["showLoginPage", { toString: 1 }, "showLoginPage has no toString, but state, delay, notStarted, lost, answer"],
      ["showLoginPage", { state: "1" }, 'showLoginPage: state must be a number, not "1"'],
      ["getAccessToken", { token: null }, "getAccessToken: token must be a string, not null"],
      ["getAccessToken", { delay: "5" }, 'getAccessToken: delay must be a number, not "5"'],
      ["getAccessToken", { notStarted: 1 }, "getAccessToken: notStarted must be a boolean, not 1"],
      ["getAccessToken", { lost: "" }, 'getAccessToken: lost must be a boolean, not ""'],
      ["getGuid", { guid: "g" }, "getGuid has no guid, but value, answer"],
      ["getGuid", { delay: 5 }, "getGuid has no delay, but value, answer"],
      ["getLoginStatus", { value: "1" }, 'getLoginStatus: value must be a number, not "1"'],
    ];
    for (const [method, script, message] of kCases) {
      expect(next(method as "getVersion", script)).toThrow(new TypeError(message));
    }
    // Nothing was planned.
    fake.assertDone();
    const held = fake.hold("getAccessToken");
    expect(() => held.release({ tokn: "one" } as object as { token: string })).toThrow(
      new TypeError("getAccessToken has no tokn, but token, delay, notStarted, lost, answer"));
    // It waits still, and a value that is not said is none.
    held.release({ token: "two" });
    fake.next("getAccessToken", { token: undefined as unknown as string });
    expect((await post(kToken, kToken)).map(({ token }) => token)).toEqual(["two", "access-token-of-demo-client"]);
  });
});

describe("hold()", () => {
  it("holds an answer until its release", async () => {
    const { fake, messages } = openPage();
    const held = fake.hold("getAccessToken");
    fake.postMessage(kToken);
    fake.postMessage(kAdd);
    expect(await held.arrived).toBe(fake.requests[0]);
    await settled();
    expect(messages).toEqual([{ command: kAdd.command, status: 0, result: 0 }]);
    held.release();
    held.release();
    await settled();
    expect(messages.slice(1)).toEqual([token("access-token-of-demo-client")]);
  });

  it("releases with an outcome", async () => {
    const { fake, messages, call } = openPage({ preset: "signed-out" });
    const [login, terms] = [fake.hold("showLoginPage"), fake.hold("showTermsPage")];
    fake.postMessage(kLogin);
    fake.postMessage(kTerms);
    terms.release({ state: 1 });
    await settled();
    expect([messages.length, call(kStatus).value]).toEqual([1, 0]);
    login.release({ state: 0 });
    await settled();
    expect(messages).toEqual([
      { command: kTerms.command, status: 0, state: 1 }, { command: kLogin.command, status: 0, state: 0 }]);
    expect(call(kStatus).value).toBe(1);
  });

  it("may be released before the request", async () => {
    const { fake, post } = openPage();
    fake.hold("getAccessToken").release({ token: "one" });
    fake.hold("getAccessToken").release();
    expect(await post(kToken, kToken)).toEqual([token("one"), token("access-token-of-demo-client")]);
  });

  it("is in line with next()", async () => {
    const { fake, messages } = openPage();
    fake.next("getAccessToken", { token: "one" });
    const held = fake.hold("getAccessToken");
    fake.next("getAccessToken", { token: "three" });
    for (let count = 0; count < 3; ++count) fake.postMessage(kToken);
    await settled();
    held.release({ token: "two" });
    await settled();
    expect(messages).toEqual([token("one"), token("three"), token("two")]);
  });

  it("holds nothing any more when the plug-in has gone", async () => {
    const { fake, messages } = openPage();
    const held = fake.hold("getAccessToken");
    fake.postMessage(kToken);
    fake.revive();
    held.release();
    await settled();
    expect(messages).toEqual([]);
  });

  it("has nothing to hold when the operation cannot be started", async () => {
    const { fake, post } = openPage({ account: { unavailable: ["sso_add_cp_account_mapping_info"] } });
    fake.hold("addMapping");
    expect(await post(kAdd)).toEqual([{
      command: kAdd.command, status: -1, errorName: "error", errorMessage: "add cp account mapping info failed" }]);
  });
});

describe("the time that things take", () => {
  beforeEach(() => vi.useFakeTimers());
  afterEach(() => vi.useRealTimers());

  /** When a request is answered, in milliseconds. */
  function timeOf(request: object, options: FakeOptions, script?: (fake: FakeEmbed) => unknown): number | undefined {
    const fake = createFakeEmbed(options);
    script?.(fake);
    const begin = Date.now();
    let end: number | undefined;
    fake.addEventListener("message", () => (end = Date.now()));
    fake.postMessage(request);
    expect(end).toBeUndefined();
    vi.advanceTimersByTime(700000);
    return end && end - begin;
  }

  const account = JSON.parse(treeFile("account/examples/signed-in.json"));

  it("is the account's", () => {
    expect(timeOf(kLogin, { account })).toBe(500);
    expect(timeOf(kAdd, { account })).toBe(100);
    expect(timeOf(kLogin, {})).toBe(200);
    const popups = { login: { delayMs: 1 }, createAccount: { delayMs: 2 }, terms: { delayMs: 3 } };
    expect([kLogin, kCreateAccount, kTerms].map(request => timeOf(request, { account: { popups } })))
      .toEqual([1, 2, 3]);
    expect(timeOf(kAdd, {})).toBe(0);
    expect(timeOf({}, { account })).toBe(0);
    expect(timeOf(kToken, { preset: "slow" })).toBe(3000);
    expect(timeOf(kLogin, { preset: "slow" })).toBe(200);
    const token = (order: Order): number | undefined =>
      timeOf(kToken, { account: { device: account, orders: { sso_request_access_token: order } } });
    expect(token({ delayMs: 7 })).toBe(107);
    expect(token({ hangs: true })).toBe(60000);
    expect(timeOf(kLogin, { account: { device: account, orders: { sso_show: { hangs: true } } } })).toBeUndefined();
    expect(timeOf(kLogin, { preset: "offline" })).toBe(0);
  });

  it("is the script's", () => {
    expect(timeOf(kToken, { account }, fake => fake.next("getAccessToken", { delay: 40 }))).toBe(40);
    expect(timeOf(kToken, { account }, fake => fake.next("getAccessToken", { token: "x", delay: 30 }))).toBe(30);
    expect(timeOf(kToken, { account }, fake => fake.next("getAccessToken", { token: "x" }))).toBe(0);
    expect(timeOf(kToken, { account }, fake => fake.next("getAccessToken", { notStarted: true, delay: 20 }))).toBe(20);
    expect(timeOf(kToken, { account }, fake => fake.next("getAccessToken", { answer: 1, delay: 10 }))).toBe(10);
  });

  it("lets answers overtake each other", () => {
    const fake = createFakeEmbed({ account });
    const order: unknown[] = [];
    fake.addEventListener("message", ({ data }) => order.push((data as { command: string }).command));
    for (const request of [kLogin, kToken, { command: "x" }]) fake.postMessage(request);
    vi.advanceTimersByTime(1000);
    expect(order).toEqual(["x", kToken.command, kLogin.command]);
  });

  it("passes before anything is done", () => {
    const fake = createFakeEmbed({ account: { ...account, signedIn: false } });
    const status = () => (fake.postMessageAndAwaitResponse(kStatus) as { value: number }).value;
    fake.postMessage(kLogin);
    vi.advanceTimersByTime(499);
    expect(status()).toBe(0);
    vi.advanceTimersByTime(1);
    expect(status()).toBe(1);
  });
});

describe("emit()", () => {
  it("posts what answers nothing", async () => {
    const { fake, messages } = openPage();
    fake.emit("hello");
    expect(messages).toEqual([]);
    await settled();
    expect(messages).toEqual(["hello"]);
    expect(fake.requests).toEqual([]);
  });
});

describe("a plug-in", () => {
  it("that is unregistered tells it once, and answers what was started, and nothing else", async () => {
    const { fake, messages, post, call } = openPage();
    fake.postMessage(kToken);
    fake.unregister();
    fake.unregister();
    expect(await post(kToken)).toEqual([token("access-token-of-demo-client"), "Unregister"]);
    expect(() => call(kVersion)).toThrow(kGone);
    fake.revive();
    expect(await post(kToken)).toEqual([token("access-token-of-demo-client")]);
    expect(messages).toHaveLength(3);
  });

  it("that dies owes nothing: posts vanish, and blocking calls throw", async () => {
    const { fake, messages, post, call } = openPage();
    fake.postMessage(kAdd);
    fake.die();
    expect(await post(kToken)).toEqual([]);
    expect(() => call(kVersion)).toThrow(kGone);
    expect(fake.getClientRects()).toHaveLength(1);
    expect(fake.requests.map(({ method, answer }) => [method, answer])).toEqual(
      [["addMapping", undefined], ["getAccessToken", undefined], ["getVersion", undefined]]);
    fake.revive();
    expect(messages).toEqual([]);
    expect(call(kVersion).value).toBe("1.1");
    // What it was doing was not done.
    expect(await post(kAdd)).toEqual([{ command: kAdd.command, status: 0, result: 0 }]);
  });

  it("that dies with its page open does not sign in", async () => {
    const { fake, call } = openPage({ preset: "signed-out" });
    fake.postMessage(kLogin);
    fake.die();
    await settled();
    fake.revive();
    await settled();
    expect(call(kStatus).value).toBe(0);
  });

  it("that is embedded anew, as a client does it, is alive", () => {
    const { fake, call } = openPage();
    fake.die();
    const element = fake as unknown as HTMLElement;
    element.parentNode!.insertBefore(element, element.nextSibling);
    expect(call(kVersion).value).toBe("1.1");
  });

  it("that is not shown has no functions, and none of its answers come", async () => {
    const { fake, messages, call } = openPage();
    fake.postMessage(kToken);
    fake.hide();
    expect(["postMessage" in fake, "postMessageAndAwaitResponse" in fake]).toEqual([false, false]);
    expect(fake.getClientRects()).toHaveLength(0);
    fake.revive();
    expect("postMessage" in fake).toBe(false);
    fake.show();
    await settled();
    expect(messages).toEqual([]);
    expect(fake.getClientRects()).toHaveLength(1);
    expect(call(kVersion).value).toBe("1.1");
  });

  it("that is not installed has no functions, ever", () => {
    const { fake } = openPage();
    fake.uninstall();
    fake.revive();
    fake.show();
    expect(["postMessage" in fake, "postMessageAndAwaitResponse" in fake]).toEqual([false, false]);
    expect(fake.getClientRects()).toHaveLength(1);
  });
});

describe("assertDone()", () => {
  it("names what was scripted in vain", async () => {
    const { fake, post } = openPage();
    fake.assertDone();
    fake.next("getAccessToken", {}).next("getAccessToken", {}).next("getGuid", { value: "x" });
    await post(kToken);
    expect(() => fake.assertDone()).toThrow(new Error(
      "the fake is not done:\n  getAccessToken: 1 scripted, not requested\n  getGuid: 1 scripted, not requested"));
    await post(kToken);
    fake.postMessageAndAwaitResponse(kGuid);
    fake.assertDone();
  });
});
