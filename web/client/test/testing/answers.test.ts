// What the fake makes of a message. All of the contract is held against it by client-contract-tests; here is what a
// test of an application meets first, and what only a page can send.
import { afterEach, describe, expect, it, vi } from "vitest";
import { createFakeEmbed } from "../../src/testing/index.js";
import { kAdd, kGuid, kLogin, kMappings, kState, kTerms, kToken, kVersion, openPage, settled } from "./page.js";

afterEach(() => vi.restoreAllMocks());

const kNoCommand = { status: -1, errorName: "commandInvaild", errorMessage: "Parameter command is invalid" };
const kVersionReply = { code: 0, errorName: "", errorMessage: "", value: "1.1" };

describe("a fake", () => {
  it("answers later than the post, each request once", async () => {
    const { fake, messages } = openPage();
    fake.postMessage(kToken);
    fake.postMessage({});
    expect(messages).toEqual([]);
    await settled();
    expect(messages).toEqual([
      { command: kToken.command, status: 0, token: "access-token-of-demo-client" },
      kNoCommand,
    ]);
  });

  it("replies at once", () => {
    expect(openPage().call(kGuid)).toEqual({ code: 0, errorName: "", errorMessage: "", value: "guid-robin" });
  });

  it("is an EventTarget, whose messages have data", async () => {
    const fake = createFakeEmbed({ delays: false });
    const events: unknown[] = [];
    const listener = (event: unknown): unknown => events.push(event);
    fake.addEventListener("message", listener);
    fake.addEventListener("message", listener);
    fake.postMessage({});
    await settled();
    expect(events).toHaveLength(1);
    expect(events[0]).toMatchObject({ type: "message", target: fake, data: kNoCommand });
    fake.removeEventListener("message", listener);
    fake.postMessage({});
    await settled();
    expect(events).toHaveLength(1);
  });

  it("is in the situation that it is given", () => {
    expect(openPage({ preset: "signed-out" }).call(kGuid).value).toBe("");
    expect(openPage({ account: {} }).call(kGuid).value).toBe("");
    const kim = { loginId: "kim@x.example", uid: "u", guid: "g", authToken: "a" };
    expect(openPage({ account: { account: kim } }).call(kGuid).value).toBe("g");
    expect(openPage({ account: { device: { account: kim } } }).call(kGuid).value).toBe("g");
  });

  it("refuses what the application has no privilege for", async () => {
    const partner = openPage({ privileges: ["sso.partner"] });
    expect(partner.call(kState)).toEqual(
      { code: 18, errorName: "SecurityError", errorMessage: "You do not have the privilege" });
    expect(partner.call(kVersion)).toEqual(kVersionReply);
    expect(await openPage({ privileges: [] }).post(kToken)).toEqual([{
      command: kToken.command, status: 18, errorName: "PrivilegeInvalid", errorMessage: "You do not have the privilege",
    }]);
  });

  it("names the first key that is wrong", async () => {
    const { post } = openPage();
    const { command } = kTerms;
    expect(await post({ command }, { ...kTerms, callerId: 1 }, { ...kAdd, cpUID: undefined })).toEqual([
      { command, status: -1, errorName: "paramInvaild", errorMessage: "termsId parameter is invalid" },
      { command, status: -1, errorName: "paramInvaild", errorMessage: "callerId parameter is invalid" },
      { command: kAdd.command, status: -1, errorName: "paramInvaild", errorMessage: "Parameter is invalid" },
    ]);
  });

  it("knows a command on its own path only", async () => {
    const { post, call } = openPage();
    expect(await post(kVersion)).toEqual(
      [{ status: -1, errorName: "commandInvaild", errorMessage: "Command no recognized" }]);
    expect(call(kToken)).toEqual({ code: -2, errorName: "InvalidValuesError", errorMessage: "unkown command" });
  });

  it("ends a text at its first NUL, but not a command", async () => {
    const { post } = openPage();
    const [token, refused] = await post(
      { ...kToken, id: "demo-client\0x", secret: "demo-secret\0\0" }, { command: `${kToken.command}\0` });
    expect(token.token).toBe("access-token-of-demo-client");
    expect(refused).toMatchObject({ command: `${kToken.command}\0`, status: 18 });
  });

  it("takes a key that is no text for an empty one where it may be missing", async () => {
    const [answer] = await openPage().post({ ...kMappings, cpName: 7 });
    expect(answer.PartnerAccountInfo).toBe('[{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-0"}]');
  });
});

describe("a page's values", () => {
  it("are dictionaries, or none, as in a browser", () => {
    const { call } = openPage();
    const message = (value: unknown): string => call(value).errorMessage;
    for (const value of [new Date(), /x/, new Map([["command", "x"]]), new Error("x"), () => 1, new Uint8Array(4),
      Object.create(kVersion)]) {
      expect(message(value), String(value)).toBe("Parameter command is invalid");
    }
    for (const value of [new ArrayBuffer(8), new String("text"), new Boolean(true), new Number(1), null, undefined, [],
      "\ud800"]) {
      expect(message(value), String(value)).toBe("Incoming message is not dictionary");
    }
    expect(message({ command: "\ud800" })).toBe("Parameter command is invalid");
    expect(call({ command: new String(kVersion.command), "\ud800": "\ud800" })).toEqual(kVersionReply);
  });

  it("may hold the same object twice, and be deep", () => {
    let deep: unknown = 1;
    for (let level = 0; level < 2000; ++level) deep = { deep };
    const shared = { deep };
    expect(openPage().call({ ...kVersion, one: shared, other: [shared] })).toEqual(kVersionReply);
  });

  it("are not sent when they hold themselves, or what has no place in a message", async () => {
    const error = vi.spyOn(console, "error").mockImplementation(() => {});
    const { fake, post, call } = openPage();
    const cycle: Record<string, unknown> = { ...kVersion };
    cycle["self"] = cycle;
    expect(() => call(cycle)).toThrow(new TypeError("an object that holds itself cannot be sent"));
    expect(() => call({ ...kVersion, more: 1n })).toThrow(new TypeError("a bigint cannot be sent"));
    expect(() => call(Symbol())).toThrow(new TypeError("a symbol cannot be sent"));
    expect(await post(cycle, {})).toEqual([kNoCommand]);
    expect(error.mock.calls).toEqual([["postMessage: TypeError: an object that holds itself cannot be sent"]]);
    expect(fake.requests.map(({ request }) => request)).toEqual([{}]);
  });

  it("arrive whole, without names and texts that no UTF-8 has", () => {
    const { fake, call } = openPage();
    const buffer = Uint8Array.of(1, 2).buffer;
    const shared = { a: 1 };
    call({ list: [1, [2, shared], , null], buffer, shared, ["__proto__"]: 7, "\ud800": 8, "half": new String("\ud800"),
      "number": new Number(3), "truth": new Boolean(false), nothing: undefined });
    new Uint8Array(buffer)[0] = 9;
    shared.a = 2;
    const { request } = fake.requests[0]!;
    request.buffer = new Uint8Array(request.buffer);
    expect(Object.entries(request)).toEqual([
      ["list", [1, [2, { a: 1 }], undefined, null]], ["buffer", Uint8Array.of(1, 2)], ["shared", { a: 1 }],
      ["__proto__", 7], ["half", null], ["number", 3], ["truth", false], ["nothing", undefined],
    ]);
    expect(request.list[1][1]).toBe(request.shared);
    expect(Object.keys(request.list)).toEqual(["0", "1", "2", "3"]);
  });

  it("are those of the time of the request", async () => {
    const { fake, post } = openPage();
    const request = { ...kToken };
    await post(request);
    request.id = "another";
    expect(fake.requests[0]!.request).toEqual(kToken);
  });
});

describe("the record of requests", () => {
  it("has what was sent, the command's method, and what it was answered", async () => {
    const { fake, post, call } = openPage({ account: {} });
    call(kVersion);
    fake.postMessage(kLogin);
    expect(fake.requests[1]).toEqual({ path: "async", method: "showLoginPage", request: kLogin });
    await post({ command: "x" });
    expect(fake.requests).toEqual([
      { path: "blocking", method: "getVersion", request: kVersion, answer: kVersionReply },
      { path: "async", method: "showLoginPage", request: kLogin,
        answer: { command: kLogin.command, status: 0, state: 2 } },
      { path: "async", method: undefined, request: { command: "x" }, answer: {
        command: "x", status: 18, errorName: "PrivilegeInvalid", errorMessage: "You do not have the privilege" } },
    ]);
    fake.requests.length = 0;
    call(kGuid);
    expect(fake.requests.map(({ method }) => method)).toEqual(["getGuid"]);
  });
});
