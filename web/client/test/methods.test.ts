import { beforeEach, afterEach, describe, expect, test, vi } from "vitest";
import { SSOClient, SSOError } from "../src/index.js";
import { PlainEmbed, fateOf, tellOf } from "./plain_embed.js";

beforeEach(() => void vi.useFakeTimers());
afterEach(() => void vi.useRealTimers());

type Call = (client: SSOClient) => Promise<unknown>;
const kMapping = { appID: "demo-app", cpName: "demo-partner", cpUID: "user-0" };
const kMappingText = '[{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-0"}]';

/** Method, call, the whole request, the outcome's part of the answer, and the whole result. */
const kPosting: [string, Call, Record<string, unknown>, object, unknown][] = [
  ["showLoginPage", c => c.showLoginPage({ data: "login" }),
    { command: "sso_plugin_show_login_page", data: "login" }, { state: 1 }, { state: 1 }],
  ["createAccount", c => c.createAccount(), { command: "sso_plugin_createAccount" }, { state: 0 }, { state: 0 }],
  ["getAccessToken", c => c.getAccessToken({ id: "demo-client", secret: "demo-secret" }),
    { command: "sso_plugin_getZEVAccessToken", id: "demo-client", secret: "demo-secret" },
    { token: "access-token" }, "access-token"],
  ["showTermsPage", c => c.showTermsPage({ termsId: "terms-1", callerId: "demo" }),
    { command: "sso_plugin_showTermsPage", termsId: "terms-1", callerId: "demo" }, { state: 3 }, { state: 3 }],
  ["getMappings", c => c.getMappings({ appID: "demo-app", cpName: "demo-partner" }),
    { command: "sso_plugin_getPartnerAccountMappingList", appID: "demo-app", cpName: "demo-partner" },
    { PartnerAccountInfo: kMappingText }, { list: [kMapping], raw: kMappingText }],
  ["getMappings without a partner", c => c.getMappings({ appID: "demo-app" }),
    { command: "sso_plugin_getPartnerAccountMappingList", appID: "demo-app" },
    { PartnerAccountInfo: "" }, { list: undefined, raw: "" }],
  ["addMapping", c => c.addMapping(kMapping),
    { command: "sso_plugin_addPartnerAccountMappingInfo", ...kMapping }, { result: -6 }, { result: -6 }],
  ["removeMapping", c => c.removeMapping(kMapping),
    { command: "sso_plugin_removePartnerAccountMappingInfo", ...kMapping }, { result: 0 }, { result: 0 }],
];

describe("a posting method", () => {
  test.each(kPosting)("%s posts its whole request and resolves to the outcome", async (_, call, request, part, result) => {
    const embed = new PlainEmbed();
    const promise = call(SSOClient.attach(embed));
    expect(embed.posted).toEqual([request]);
    embed.answer({ command: request.command, status: 0, ...part });
    await expect(promise).resolves.toStrictEqual(result);
    expect(embed.asked).toEqual([]);
  });

  test.each(kPosting)("%s tells the privilege that is missing", async (_, call, request) => {
    const embed = new PlainEmbed();
    const promise = call(SSOClient.attach(embed));
    const answer = {
      command: request.command, status: 18, errorName: "PrivilegeInvalid",
      errorMessage: "You do not have the privilege",
    };
    embed.answer(answer);
    const error = await promise.catch(e => e);
    expect(tellOf(error)).toStrictEqual({
      ...answer, name: "SSOError", code: "refused", cause: answer, privilege: "sso.partner", retryable: false,
      message: `${request.command}: You do not have the privilege`,
    });
  });
});

const kBlocking: [method: string, keys: object | undefined, request: Record<string, unknown>, value: unknown][] = [
  ["getVersion", undefined, { command: "sso_plugin_getVersion" }, "1.1"],
  ["getSSOState", undefined, { command: "sso_plugin_getSSOState" }, "robin?auth?uid?guid"],
  ["getGuid", undefined, { command: "sso_plugin_getGuid" }, "guid-robin"],
  ["getLoginStatus", undefined, { command: "sso_plugin_getLoginStatus" }, 1],
  ["getLoginUid", undefined, { command: "sso_plugin_getLoginUid" }, ""],
  ["getTermsAgreementState", { termsId: "terms-2" },
    { command: "sso_plugin_getTermsAgreementState", termsId: "terms-2" }, 0],
];

describe("a blocking method", () => {
  test.each(kBlocking)("%s resolves to the reply's value, and its Sync returns it", async (method, keys, request, value) => {
    const embed = new PlainEmbed();
    embed.reply = () => ({ code: 0, errorName: "", errorMessage: "", value });
    const client: any = SSOClient.attach(embed);
    await expect(client[method](keys)).resolves.toBe(value);
    expect(client[method + "Sync"](keys)).toBe(value);
    expect(embed.asked).toEqual([request, request]);
    expect(embed.posted).toEqual([]);
    expect(vi.getTimerCount()).toBe(0);
  });

  test.each(kBlocking)("%s tells of a refusal, and its Sync throws it", async (method, keys, request) => {
    const embed = new PlainEmbed();
    const reply = { code: 18, errorName: "SecurityError", errorMessage: "You do not have the privilege" };
    embed.reply = () => reply;
    const client: any = SSOClient.attach(embed);
    const expected = {
      name: "SSOError", code: "refused", command: request.command, cause: reply, status: 18, errorName: "SecurityError",
      errorMessage: "You do not have the privilege", retryable: false,
      privilege: method === "getSSOState" ? "sso.platform" : "sso.partner",
      message: `${request.command}: You do not have the privilege`,
    };
    expect(tellOf(await client[method](keys).catch((e: unknown) => e))).toStrictEqual(expected);
    let thrown: unknown;
    try {
      client[method + "Sync"](keys);
    } catch (error) {
      thrown = error;
    }
    expect(thrown).toBeInstanceOf(SSOError);
    expect(tellOf(thrown)).toStrictEqual(expected);
  });

  test("has no Sync where the answer is posted", () => {
    const methods = Object.keys(SSOClient.attach(new PlainEmbed()));
    expect(methods.filter(name => name.endsWith("Sync")).sort()).toEqual(kBlocking.map(([name]) => name + "Sync").sort());
    expect(methods.length).toBe(7 + 6 + 6 + 5);
  });
});

/** The answer's part beside "command", what the error tells beside it, and what its message ends in. */
const kFailures: [string, Record<string, unknown>, object, string][] = [
  ["a key that is missing", { status: -1, errorName: "paramInvaild", errorMessage: "Parameter is invalid" },
    { code: "invalid", retryable: false }, "Parameter is invalid"],
  ["an operation that did not start", { status: -1, errorName: "error", errorMessage: "request access token failed" },
    { code: "not-started", retryable: true }, "request access token failed"],
  ["a command that is not recognised", { status: -1, errorName: "commandInvaild", errorMessage: "Command no recognized" },
    { code: "unknown-command", retryable: false }, "Command no recognized"],
  ["an unknown command by number", { status: -2, errorName: "InvalidValuesError", errorMessage: "unkown command" },
    { code: "unknown-command", retryable: false }, "unkown command"],
  ["a failure without a name", { status: -1 }, { code: "invalid", retryable: false }, "invalid"],
  ["a failure with an empty message", { status: -1, errorName: "error", errorMessage: "" },
    { code: "not-started", retryable: true }, "not-started"],
  ["another number", { status: 7, errorName: "", errorMessage: "odd" }, { code: "invalid", retryable: false }, "odd"],
  ["a failure that brings an outcome", { status: -1, token: "x" }, { code: "invalid", retryable: false }, "invalid"],
];

describe("an answer", () => {
  const token = (data: object) => {
    const embed = new PlainEmbed();
    const promise = SSOClient.attach(embed).getAccessToken({ id: "i", secret: "s" });
    embed.answer({ command: "sso_plugin_getZEVAccessToken", ...data });
    return promise.catch(e => e);
  };

  test.each(kFailures)("that tells of %s rejects with all that it says", async (_, data, told, text) => {
    const cause = { command: "sso_plugin_getZEVAccessToken", ...data };
    const error = await token(data);
    expect(error).toBeInstanceOf(SSOError);
    expect(error).toBeInstanceOf(Error);
    expect(tellOf(error)).toStrictEqual({
      ...cause, ...told, name: "SSOError", cause, privilege: "sso.partner",
      message: `sso_plugin_getZEVAccessToken: ${text}`,
    });
    expect(String(error)).toBe(`SSOError: sso_plugin_getZEVAccessToken: ${text}`);
  });

  test.each([
    ["no outcome", {}], ["an outcome of another type", { token: 7 }], ["an outcome that is none", { token: null }],
  ])("with %s is invalid", async (_, part) => {
    const cause = { command: "sso_plugin_getZEVAccessToken", status: 0, ...part };
    expect(tellOf(await token({ status: 0, ...part }))).toStrictEqual({
      name: "SSOError", code: "invalid", command: "sso_plugin_getZEVAccessToken", cause, status: 0,
      privilege: "sso.partner", retryable: false, message: "sso_plugin_getZEVAccessToken: invalid",
    });
  });

  test("with a text in place of a number is invalid", async () => {
    const embed = new PlainEmbed();
    const promise = SSOClient.attach(embed).createAccount();
    embed.answer({ command: "sso_plugin_createAccount", status: 0, state: "0" });
    expect((await promise.catch(e => e)).code).toBe("invalid");
  });

  test("with an empty token tells that none was granted", async () => {
    expect(tellOf(await token({ status: 0, token: "" }))).toStrictEqual({
      name: "SSOError", code: "not-granted", command: "sso_plugin_getZEVAccessToken",
      cause: { command: "sso_plugin_getZEVAccessToken", status: 0, token: "" }, status: 0, privilege: "sso.partner",
      retryable: false, message: "sso_plugin_getZEVAccessToken: not-granted",
    });
  });

  test("with status 0 succeeds whatever name of an error it brings", async () => {
    expect(await token({ status: 0, errorName: "error", token: "t" })).toBe("t");
  });

  test.each([["{}", undefined], ["[", undefined], ["7", undefined], ["[]", []]])(
    "with the mappings %s lists %s beside the raw text", async (raw, list) => {
      const embed = new PlainEmbed();
      const promise = SSOClient.attach(embed).getMappings({ appID: "a" });
      embed.answer({ command: "sso_plugin_getPartnerAccountMappingList", status: 0, PartnerAccountInfo: raw });
      await expect(promise).resolves.toStrictEqual({ list, raw });
    });
});

describe("a reply", () => {
  const kUnread = { name: "SSOError", command: "sso_plugin_getGuid", privilege: "sso.partner", retryable: false };
  test.each<[unknown, object]>([
    [undefined, { code: "invalid", status: undefined }],
    [null, { code: "invalid", status: undefined }],
    ["text", { code: "invalid", status: undefined }],
    [{ code: 0 }, { code: "invalid", status: 0 }],
    [{ code: 0, value: 7 }, { code: "invalid", status: 0 }],
    [{ value: "guid" }, { code: "invalid", status: undefined }],
  ])("that is %j is invalid", async (reply, told) => {
    const embed = new PlainEmbed();
    embed.reply = () => reply;
    const error = await SSOClient.attach(embed).getGuid().catch(e => e);
    expect(tellOf(error)).toStrictEqual({
      ...kUnread, ...told, cause: reply, message: "sso_plugin_getGuid: invalid",
    });
  });

  test("with an empty text is a success, as it is no token", async () => {
    const embed = new PlainEmbed();
    embed.reply = () => ({ code: 0, value: "" });
    await expect(SSOClient.attach(embed).getGuid()).resolves.toBe("");
  });

  test("keeps the number of another failure", async () => {
    const embed = new PlainEmbed();
    embed.reply = () => ({ code: -4, errorName: "paramInvaild", errorMessage: "Parameter is invalid" });
    const error = await SSOClient.attach(embed).getTermsAgreementState({ termsId: "t" }).catch(e => e);
    expect([error.code, error.status, error.errorName]).toEqual(["invalid", -4, "paramInvaild"]);
  });
});

describe("an error", () => {
  test.each([
    ["refused", false], ["unknown-command", false], ["invalid", false], ["not-started", true], ["not-granted", false],
    ["timed-out", true], ["aborted", false], ["disposed", false], ["plug-in-gone", true], ["not-shown", true],
    ["not-installed", false], ["wrong-version", false],
  ] as const)("of the code %s is retryable: %s", (code, retryable) => {
    expect(tellOf(new SSOError(code, "c"))).toStrictEqual({
      name: "SSOError", code, command: "c", cause: undefined, status: undefined, privilege: undefined, retryable,
      message: `c: ${code}`,
    });
  });
});

describe("a key that holds no text", () => {
  const cyclic: Record<string, unknown> = {};
  cyclic.self = cyclic;
  test.each<[string, unknown]>([
    ["a symbol", Symbol("s")], ["a big number", 7n], ["a number", 7], ["a truth", false],
    ["an object that holds itself", cyclic], ["a function", () => {}],
  ])("rejects before anything is posted: %s", async (_, value) => {
    const embed = new PlainEmbed();
    const client: any = SSOClient.attach(embed);
    const error = await client.getAccessToken({ id: "i", secret: value }).catch((e: unknown) => e);
    expect(tellOf(error)).toStrictEqual({
      name: "SSOError", code: "invalid", command: "sso_plugin_getZEVAccessToken", cause: "secret", status: undefined,
      privilege: undefined, retryable: false, message: "sso_plugin_getZEVAccessToken: invalid",
    });
    expect((await client.getTermsAgreementState({ termsId: value }).catch((e: unknown) => e)).cause).toBe("termsId");
    expect(() => client.getTermsAgreementStateSync({ termsId: value })).toThrow("getTermsAgreementState: invalid");
    expect([embed.posted, embed.asked, vi.getTimerCount()]).toEqual([[], [], 0]);
  });

  test("may be left out, undefined or null, of which the plug-in tells", async () => {
    const embed = new PlainEmbed();
    const client: any = SSOClient.attach(embed);
    const fates = [client.getMappings({ appID: "a", cpName: undefined }), client.addMapping({ appID: null }),
      client.getAccessToken()].map(fateOf);
    await vi.advanceTimersByTimeAsync(0);
    expect(fates).toEqual([{ settled: 0 }, { settled: 0 }, { settled: 0 }]);
    expect(embed.posted).toEqual([
      { command: "sso_plugin_getPartnerAccountMappingList", appID: "a" },
      { command: "sso_plugin_addPartnerAccountMappingInfo", appID: null },
      { command: "sso_plugin_getZEVAccessToken" },
    ]);
    client.dispose();
  });

  test("cannot name another command", () => {
    const embed = new PlainEmbed();
    const client: any = SSOClient.attach(embed);
    fateOf(client.getMappings({ appID: "a", command: "sso_plugin_createAccount" }));
    expect(embed.posted).toEqual([{ command: "sso_plugin_getPartnerAccountMappingList", appID: "a" }]);
  });
});
