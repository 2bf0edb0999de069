import { afterEach, beforeEach, describe, expect, test, vi } from "vitest";
import { SSOClient, type CallOptions, type ClientOptions } from "../src/index.js";
import { CountedSignal, PlainEmbed, fateOf, tellOf } from "./plain_embed.js";

beforeEach(() => void vi.useFakeTimers());
afterEach(() => void vi.useRealTimers());

const kToken = "sso_plugin_getZEVAccessToken";
const kAdd = "sso_plugin_addPartnerAccountMappingInfo";
const kAccount = "sso_plugin_createAccount";
/** SSO_CLIENT_WAITING for those whose code is slow. */
const kWaiting = Number((globalThis as any).process.env.SSO_CLIENT_WAITING ?? 10000);

function begin(options?: ClientOptions) {
  const embed = new PlainEmbed();
  const client = SSOClient.attach(embed, options);
  return {
    embed, client,
    token: (id: string, call?: CallOptions) => fateOf(client.getAccessToken({ id, secret: "s" }, call)),
    account: (call?: CallOptions) => fateOf(client.createAccount(call)),
    add: (cpUID: string) => fateOf(client.addMapping({ appID: "a", cpName: "c", cpUID })),
    ids: () => embed.posted.map(({ id, cpUID }) => id ?? cpUID),
    answer: (token: string) => embed.answer({ command: kToken, status: 0, token }),
  };
}

const later = (time = 0) => vi.advanceTimersByTimeAsync(time);
const kPlain = { name: "SSOError", status: undefined, privilege: undefined, cause: undefined };

describe("a deadline", () => {
  test("is 30 seconds unless something else is said", async () => {
    const { token } = begin();
    const fate = token("1");
    await later(29999);
    expect(fate.settled).toBe(0);
    await later(1);
    expect(tellOf(fate.error)).toStrictEqual({
      ...kPlain, code: "timed-out", command: kToken, retryable: true, message: `${kToken}: timed-out`,
    });
  });

  test.each<[string, ClientOptions | undefined, CallOptions | undefined, number]>([
    ["the client's", { timeout: 700 }, undefined, 700],
    ["the call's, before the client's", { timeout: 700 }, { timeout: 80 }, 80],
    ["the call's alone", undefined, { timeout: 80 }, 80],
    ["a call's of 0", undefined, { timeout: 0 }, 0],
    ["the longest that a timer can count", undefined, { timeout: 1.9e9 }, 1.9e9],
  ])("is %s", async (_, options, call, time) => {
    const { token, account } = begin({ probe: 0, ...options });
    const fates = [token("1", call), account(call)];
    if (time > 0) await later(time - 1);
    expect(fates).toEqual([{ settled: 0 }, { settled: 0 }]);
    await later(1);
    expect(fates.map(fate => fate.error?.code)).toEqual(["timed-out", "timed-out"]);
  });

  test.each<[string, ClientOptions, CallOptions]>([
    ["Infinity", {}, { timeout: Infinity }], ["more than a timer can count", {}, { timeout: 2e9 }],
    ["the client's Infinity", { timeout: Infinity }, {}],
  ])("is none with %s", async (_, options, call) => {
    const { token } = begin({ probe: 0, ...options });
    const fate = token("1", call);
    expect(vi.getTimerCount()).toBe(0);
    await later(2147483647);
    expect(fate.settled).toBe(0);
  });

  test("is none for what shows a page", async () => {
    const { client, account } = begin({ probe: 0 });
    const fates = [account(), fateOf(client.showLoginPage({ data: "" })),
      fateOf(client.showTermsPage({ termsId: "t", callerId: "c" }))];
    expect(vi.getTimerCount()).toBe(0);
    await later(2147483647);
    expect(fates.map(fate => fate.settled)).toEqual([0, 0, 0]);
  });

  test("counts the time in which a call waits for its turn, and what timed out is not sent", async () => {
    const { embed, token, answer } = begin();
    token("1");
    await later(100);
    const fate = token("2", { timeout: 50 });
    await later(50);
    expect(fate.error.code).toBe("timed-out");
    answer("1");
    await later(20000);
    expect(embed.posted.length).toBe(1);
  });

  test("that is over settles nothing twice", async () => {
    const { token, answer } = begin();
    const fate = token("1", { timeout: 50 });
    await later(50);
    answer("1");
    await later(20000);
    expect([fate.settled, fate.error.code]).toEqual([1, "timed-out"]);
  });
});

describe("requests of one command", () => {
  test("are sent one at a time, in the order of the calls", async () => {
    const { ids, token, answer } = begin();
    const fates = ["1", "2", "3"].map(id => token(id));
    await later();
    expect(ids()).toEqual(["1"]);
    answer("first");
    await later();
    expect(ids()).toEqual(["1", "2"]);
    answer("second");
    await later();
    answer("third");
    await later();
    expect(ids()).toEqual(["1", "2", "3"]);
    expect(fates.map(fate => fate.value)).toEqual(["first", "second", "third"]);
  });

  test("do not wait for those of another, whose answers overtake", async () => {
    const { embed, ids, token, add, answer } = begin();
    const fates = [token("t1"), add("a1"), token("t2"), add("a2")];
    expect(ids()).toEqual(["t1", "a1"]);
    embed.answer({ command: kAdd, status: 0, result: -1 });
    await later();
    expect(ids()).toEqual(["t1", "a1", "a2"]);
    embed.answer({ command: kAdd, status: 0, result: -2 });
    answer("one");
    await later();
    answer("two");
    await later();
    expect(ids()).toEqual(["t1", "a1", "a2", "t2"]);
    expect(fates.map(fate => fate.value)).toEqual(["one", { result: -1 }, "two", { result: -2 }]);
  });

  test("that the embed throws at reject, and the next is sent", async () => {
    const { embed, token, answer } = begin();
    const thrown = new Error("full");
    embed.onPost = () => {
      throw thrown;
    };
    const fates = [token("1")];
    embed.onPost = () => {};
    fates.push(token("2"));
    await later();
    expect(tellOf(fates[0]!.error)).toStrictEqual({
      ...kPlain, code: "plug-in-gone", command: kToken, cause: thrown, retryable: true,
      message: `${kToken}: plug-in-gone`,
    });
    answer("second");
    await later();
    expect(fates[1]!.value).toBe("second");
  });

  test("may be answered while they are posted, 10,000 of them", async () => {
    const { embed, token } = begin();
    embed.onPost = ({ id }) => embed.answer({ command: kToken, status: 0, token: `of ${id}` });
    const fates = Array.from({ length: 10000 }, (_, id) => token(String(id)));
    await later();
    expect(fates.map(fate => fate.value)).toEqual(fates.map((_, id) => `of ${id}`));
    await later(1000);
    expect(vi.getTimerCount()).toBe(0);
  });

  test(`may be answered while they are posted, ${kWaiting} that waited`, async () => {
    const { embed, token, answer } = begin();
    const fates = Array.from({ length: kWaiting }, (_, id) => token(String(id)));
    expect(embed.posted.length).toBe(1);
    embed.onPost = ({ id }) => answer(`of ${id}`);
    answer("of 0");
    await later();
    expect(fates.map(fate => fate.value)).toEqual(fates.map((_, id) => `of ${id}`));
  });
});

describe("a late answer", () => {
  test("is dropped, and lets the next request go at once", async () => {
    const { ids, token, answer } = begin();
    const fates = [token("1", { timeout: 100 }), token("2")];
    await later(100);
    expect([fates[0]!.error.code, ids()]).toEqual(["timed-out", ["1"]]);
    await later(50);
    answer("late");
    await later();
    expect([fates[1]!.settled, ids()]).toEqual([0, ["1", "2"]]);
    answer("own");
    await later(20000);
    expect(fates.map(fate => fate.settled)).toEqual([1, 1]);
    expect(fates[1]!.value).toBe("own");
  });

  test.each<[ClientOptions, number]>([[{}, 10000], [{ grace: 300 }, 300], [{ grace: 0 }, 0]])(
    "is waited for, with %j, for %i ms", async (options, grace) => {
      const { ids, token, answer } = begin(options);
      token("1", { timeout: 100 });
      const fate = token("2");
      await later(100);
      if (grace) {
        await later(grace - 1);
        expect(ids()).toEqual(["1"]);
      }
      await later(1);
      expect(ids()).toEqual(["1", "2"]);
      answer("taken for the second's");
      await later();
      expect(fate.value).toBe("taken for the second's");
    });

  test("is waited for until it comes when the time for it is Infinity", async () => {
    const { ids, token, answer } = begin({ grace: Infinity, probe: 0 });
    token("1", { timeout: 100 });
    token("2", { timeout: Infinity });
    await later(2147483647);
    expect(ids()).toEqual(["1"]);
    answer("very late");
    await later();
    expect(ids()).toEqual(["1", "2"]);
  });

  test("that came in time leaves a timer that lets no other request go early", async () => {
    const { ids, token, answer } = begin({ grace: 1000 });
    token("1", { timeout: 100 });
    token("2");
    token("3");
    await later(100);
    answer("late");
    await later(1000);
    expect(ids()).toEqual(["1", "2"]);
  });
});

describe("an aborted call", () => {
  const kAborted = { ...kPlain, code: "aborted", command: kToken, retryable: false, message: `${kToken}: aborted` };

  test("is not sent when it was aborted before", async () => {
    const { embed, client, token } = begin();
    const reason = new Error("enough");
    const fate = token("1", { signal: AbortSignal.abort(reason) });
    const blocking = fateOf(client.getGuid({ signal: AbortSignal.abort(reason) }));
    await later();
    expect(tellOf(fate.error)).toStrictEqual({ ...kAborted, cause: reason });
    expect([blocking.error.code, blocking.error.command]).toEqual(["aborted", "sso_plugin_getGuid"]);
    expect([embed.posted, embed.asked, vi.getTimerCount()]).toEqual([[], [], 0]);
  });

  test("is not sent when it was aborted while it waited", async () => {
    const { ids, token, answer } = begin();
    const signal = new CountedSignal();
    const fates = [token("1"), token("2", { signal }), token("3")];
    signal.abort("enough");
    await later();
    expect(tellOf(fates[1]!.error)).toStrictEqual({ ...kAborted, cause: "enough" });
    answer("first");
    await later();
    answer("third");
    await later();
    expect(ids()).toEqual(["1", "3"]);
    expect([fates[0]!.value, fates[2]!.value]).toEqual(["first", "third"]);
  });

  test("that is under way rejects at once, and the next waits for its late answer", async () => {
    const { ids, token, answer } = begin({ grace: 500 });
    const signal = new CountedSignal();
    const fates = [token("1", { signal }), token("2")];
    signal.abort();
    await later();
    expect(tellOf(fates[0]!.error)).toStrictEqual(kAborted);
    expect(ids()).toEqual(["1"]);
    answer("late");
    await later();
    expect(ids()).toEqual(["1", "2"]);
    expect(fates[1]!.settled).toBe(0);
  });

  test("that is under way holds the next up no longer than the stated time", async () => {
    const { ids, token } = begin({ grace: 500 });
    const signal = new CountedSignal();
    token("1", { signal });
    token("2");
    signal.abort();
    await later(499);
    expect(ids()).toEqual(["1"]);
    await later(1);
    expect(ids()).toEqual(["1", "2"]);
  });

  test("that was answered is not ended any more", async () => {
    const { token, answer } = begin();
    const signal = new CountedSignal();
    const fate = token("1", { signal });
    answer("in time");
    signal.abort();
    await later();
    expect(fate).toEqual({ settled: 1, value: "in time" });
  });

  test("whose signal tells of its timeout keeps that as the cause", async () => {
    const { token } = begin();
    const controller = new AbortController();
    const fate = token("1", { signal: controller.signal, timeout: 10 });
    await later(10);
    expect([fate.error.code, fate.error.cause]).toEqual(["timed-out", undefined]);
  });
});

describe("what a call leaves behind", () => {
  test.each<[string, (was: ReturnType<typeof begin>, signal: CountedSignal) => unknown]>([
    ["an answer", ({ answer }) => answer("t")],
    ["a failure", ({ embed }) => embed.answer({ command: kToken, status: -1 })],
    ["a deadline", () => later(100)],
    ["an abort", (_, signal) => signal.abort()],
    ["the end of the client", ({ client }) => client.dispose()],
    ["the end of the plug-in", ({ embed, client }) => {
      embed.die();
      expect(() => client.getVersionSync()).toThrow();
    }],
  ])("after %s: no listener, and a timer no longer than said", async (_, end) => {
    const was = begin({ grace: 500, probe: 50 });
    const signal = new CountedSignal();
    const fate = was.token("1", { signal, timeout: 100 });
    expect(signal.listeners.size).toBe(1);
    end(was, signal);
    await later(100);
    expect([fate.settled, signal.listeners.size]).toEqual([1, 0]);
    // Only what waits for a late answer may be left.
    await later(500);
    expect(vi.getTimerCount()).toBe(0);
  });

  test("is the look that was due, which is not made", async () => {
    const { embed, token, answer } = begin();
    token("1");
    // The deadline and the look.
    expect(vi.getTimerCount()).toBe(2);
    answer("t");
    await later();
    expect(vi.getTimerCount()).toBe(1);
    await later(1000);
    expect([vi.getTimerCount(), embed.asked]).toEqual([0, []]);
  });

  test("is no listener and no timer when it was aborted before", async () => {
    const { token } = begin();
    const signal = new CountedSignal();
    signal.abort();
    token("1", { signal });
    await later();
    expect([signal.listeners.size, vi.getTimerCount()]).toEqual([0, 0]);
  });
});

describe("an answer without a command", () => {
  const kUnknown = { status: -1, errorName: "commandInvaild", errorMessage: "Parameter command is invalid" };

  test.each([[{}], [{ command: undefined }], [{ command: "" }]])(
    "goes to the oldest of those that were sent, %j", async command => {
      const { embed, account, token, add, answer } = begin();
      const fates = [token("1"), account(), token("2"), add("3")];
      answer("first");
      await later();
      // Sent: the account, the mapping, and now the second token.
      embed.answer({ ...kUnknown, ...command });
      await later();
      expect(fates.map(fate => fate.error?.code)).toEqual([undefined, "unknown-command", undefined, undefined]);
      embed.answer({ ...kUnknown, ...command });
      await later();
      expect(fates.map(fate => fate.error?.command)).toEqual([undefined, kAccount, undefined, kAdd]);
      embed.answer({ ...kUnknown, ...command });
      await later();
      expect(fates[2]!.error.command).toBe(kToken);
    });

  test("goes to one that was given up, as long as its answer is waited for", async () => {
    const { embed, account, token } = begin();
    const fates = [token("1", { timeout: 10 }), account()];
    await later(10);
    embed.answer(kUnknown);
    await later();
    expect(fates[1]!.settled).toBe(0);
    embed.answer(kUnknown);
    await later();
    expect(fates[1]!.error.code).toBe("unknown-command");
  });
});

describe("a foreign event", () => {
  test.each<[string, unknown]>([
    ["nothing", undefined], ["null", null], ["a text", "hello"], ["a number", 7], ["a list", [0]], ["no status", {}],
    ["a status that is a text", { command: kToken, status: "0", token: "x" }],
    ["a status that is null", { command: kToken, status: null, token: "x" }],
    ["a status that is a big number", { command: kToken, status: 0n, token: "x" }],
    ["a status that is a symbol", { command: kToken, status: Symbol("0"), token: "x" }],
    ["another command", { command: kAccount, status: 0, state: 0 }],
    ["a command that is no text", { command: { name: kToken }, status: 0, token: "x" }],
  ])("is ignored: %s", async (_, data) => {
    const { embed, client, token, answer } = begin();
    const heard = vi.fn();
    client.on("unregister", heard);
    const fate = token("1");
    embed.answer(data);
    await later();
    expect(fate.settled).toBe(0);
    answer("own");
    await later();
    expect(fate.value).toBe("own");
    expect(heard).not.toHaveBeenCalled();
  });

  test("is ignored when nothing is under way", async () => {
    const { answer } = begin();
    expect(() => answer("none's")).not.toThrow();
    await later();
    expect(vi.getTimerCount()).toBe(0);
  });
});

describe("dispose()", () => {
  test("rejects what is under way and what waits, in order, and every later call", async () => {
    const { embed, client, token, add } = begin();
    const order: string[] = [];
    const calls = [client.getAccessToken({ id: "1", secret: "s" }), client.getAccessToken({ id: "2", secret: "s" }),
      client.createAccount()];
    calls.forEach((call, index) => call.catch(error => order.push(`${index} ${error.code} ${error.command}`)));
    client.dispose();
    expect(embed.listeners.size).toBe(0);
    await later();
    expect(order).toEqual([`0 disposed ${kToken}`, `1 disposed ${kToken}`, `2 disposed ${kAccount}`]);
    const after = [token("4"), add("5"), fateOf(client.getGuid())];
    await later();
    expect(after.map(fate => tellOf(fate.error))).toStrictEqual([kToken, kAdd, "sso_plugin_getGuid"].map(command => ({
      ...kPlain, code: "disposed", command, retryable: false, message: `${command}: disposed`,
    })));
    expect(() => client.getGuidSync()).toThrow("sso_plugin_getGuid: disposed");
    await expect(client.ready()).rejects.toMatchObject({ code: "disposed" });
    expect(embed.posted.length).toBe(2);
    expect([embed.asked, vi.getTimerCount()]).toEqual([[], 0]);
  });

  test("may be called twice, and hears nothing any more", async () => {
    const { embed, client, token, answer } = begin();
    const fate = token("1");
    client.dispose();
    client.dispose();
    answer("late");
    await later();
    expect([fate.settled, fate.error.code, embed.listeners.size]).toEqual([1, "disposed", 0]);
  });
});
