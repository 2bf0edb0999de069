import { afterEach, beforeEach, describe, expect, test, vi } from "vitest";
import { SSOClient, SSOError, type ClientOptions } from "../src/index.js";
import { PageEmbed, PlainEmbed, fateOf, kThrown, kVersionReply, tellOf } from "./plain_embed.js";

beforeEach(() => void vi.useFakeTimers());
afterEach(() => {
  vi.unstubAllGlobals();
  vi.useRealTimers();
});

const later = (time = 0) => vi.advanceTimersByTimeAsync(time);
const kProbe = { command: "sso_plugin_getVersion" };
const kAccount = "sso_plugin_createAccount";
const kToken = "sso_plugin_getZEVAccessToken";

function begin(options?: ClientOptions, embed = new PageEmbed()) {
  const client = SSOClient.attach(embed, options);
  const heard: string[] = [];
  const details: unknown[] = [];
  for (const event of ["unregister", "gone", "recovered"] as const) {
    client.on(event, (detail: unknown) => {
      heard.push(event);
      details.push(detail);
    });
  }
  return { client, embed, heard, details, account: () => fateOf(client.createAccount()) };
}

const goneOf = (command: string, cause: unknown) => ({
  name: "SSOError", code: "plug-in-gone", command, cause, status: undefined, privilege: undefined, retryable: true,
  message: `${command}: plug-in-gone`,
});

describe("the look whether the plug-in is there", () => {
  test.each<[ClientOptions | undefined, number]>([[undefined, 1000], [{ probe: 50 }, 50]])(
    "is made, with %j, every %i ms while an answer is awaited", async (options, rate) => {
      const { embed, client, account } = begin(options);
      account();
      fateOf(client.showLoginPage({ data: "" }));
      await later(rate - 1);
      expect(embed.asked).toEqual([]);
      await later(1);
      expect(embed.asked).toEqual([kProbe]);
      await later(3 * rate);
      expect(embed.asked).toEqual([kProbe, kProbe, kProbe, kProbe]);
      embed.answer({ command: kAccount, status: 0, state: 0 });
      await later(rate);
      expect(embed.asked.length).toBe(5);
      embed.answer({ command: "sso_plugin_show_login_page", status: 0, state: 0 });
      await later(10 * rate);
      expect([embed.asked.length, vi.getTimerCount()]).toEqual([5, 0]);
    });

  test.each([[0], [Infinity]])("is not made with %s", async probe => {
    const { embed, account } = begin({ probe });
    account();
    expect(vi.getTimerCount()).toBe(0);
    await later(100000);
    expect(embed.asked).toEqual([]);
  });

  test("begins anew with a later call", async () => {
    const { embed, account } = begin();
    account();
    embed.answer({ command: kAccount, status: 0, state: 0 });
    await later(5000);
    account();
    await later(1000);
    expect(embed.asked.length).toBe(1);
  });

  test("may be refused, which is a sign of life", async () => {
    const { embed, heard, account } = begin();
    embed.reply = () => ({ code: 18 });
    const fate = account();
    await later(3000);
    expect([fate.settled, heard, embed.asked.length]).toEqual([0, [], 3]);
  });

  test("that throws rejects all that is under way or waits, and tells it once", async () => {
    const { client, embed, heard, details } = begin();
    const order: string[] = [];
    const calls = [client.createAccount(), client.getAccessToken({ id: "1", secret: "s" }), client.createAccount()];
    calls.forEach((call, index) => call.catch(() => order.push(String(index))));
    const fates = calls.map(fateOf);
    await later(100);
    embed.die();
    await later(899);
    expect(fates.map(fate => fate.settled)).toEqual([0, 0, 0]);
    await later(1);
    expect(order).toEqual(["0", "1", "2"]);
    expect(heard).toEqual(["gone"]);
    expect(details[0]).toBeInstanceOf(SSOError);
    expect(tellOf(details[0])).toStrictEqual(goneOf("sso_plugin_getVersion", kThrown));
    expect(fates.map(fate => tellOf(fate.error))).toStrictEqual(
      [kAccount, kToken, kAccount].map(command => goneOf(command, details[0])));
    expect(vi.getTimerCount()).toBe(0);
  });

  test("that throws is not made again, and leaves nothing", async () => {
    const { embed, heard, account } = begin();
    account();
    embed.die();
    await later(60000);
    expect([embed.asked.length, heard, vi.getTimerCount()]).toEqual([1, ["gone"], 0]);
  });
});

describe("a plug-in that has gone", () => {
  test("is found by any blocking call, which rejects the others", async () => {
    const { client, embed, heard, account } = begin();
    const fate = account();
    embed.die();
    let thrown: any;
    try {
      client.getGuidSync();
    } catch (error) {
      thrown = error;
    }
    expect(tellOf(thrown)).toStrictEqual(goneOf("sso_plugin_getGuid", kThrown));
    await later();
    expect(tellOf(fate.error)).toStrictEqual(goneOf(kAccount, thrown));
    expect(heard).toEqual(["gone"]);
  });

  test("is found though it never said a thing, when something is under way", async () => {
    const { client, embed, heard, account } = begin();
    account();
    embed.die();
    await expect(client.getGuid()).rejects.toMatchObject({ code: "plug-in-gone" });
    expect(heard).toEqual(["gone"]);
  });

  test("is not gone when it was never there and nothing is under way", async () => {
    const { client, embed, heard } = begin();
    embed.die();
    await expect(client.getGuid()).rejects.toMatchObject({ code: "plug-in-gone" });
    embed.rise();
    await expect(client.getVersion()).resolves.toBe("1.1");
    expect(heard).toEqual([]);
  });

  test("takes no request: each asks whether it is back, and tells its own command", async () => {
    const { client, embed, heard, account } = begin();
    await client.getVersion();
    embed.die();
    await client.getVersion().catch(() => {});
    const fate = account();
    await later();
    expect(tellOf(fate.error)).toStrictEqual(goneOf(kAccount, kThrown));
    expect([embed.posted, embed.asked]).toEqual([[], [kProbe, kProbe, kProbe]]);
    expect([heard, vi.getTimerCount()]).toEqual([["gone"], 0]);
    embed.rise();
    const next = account();
    embed.answer({ command: kAccount, status: 0, state: 0 });
    await later();
    expect([next.value, heard]).toEqual([{ state: 0 }, ["gone", "recovered"]]);
    expect(embed.asked.length).toBe(4);
  });

  test("is told of again each time", async () => {
    const { client, embed, heard } = begin();
    await client.getVersion();
    for (let round = 0; round < 2; ++round) {
      embed.die();
      await client.getGuid().catch(() => {});
      await client.getGuid().catch(() => {});
      embed.rise();
      await client.getGuid().catch(() => {});
      await client.getGuid().catch(() => {});
    }
    expect(heard).toEqual(["gone", "recovered", "gone", "recovered"]);
  });

  test("is known to be there by an answer as well", async () => {
    const { client, embed, heard, account } = begin();
    account();
    embed.answer({ command: kAccount, status: 0, state: 0 });
    embed.die();
    await client.getGuid().catch(() => {});
    expect(heard).toEqual(["gone"]);
  });
});

describe("an element without a plug-in", () => {
  test.each([[0, "not-shown", true], [1, "not-installed", false], [2, "not-installed", false]])(
    "and %i boxes is %s", async (rects, code, retryable) => {
      const { client, embed, account, heard } = begin();
      embed.hide(rects);
      const fate = account();
      await later();
      expect(tellOf(fate.error)).toStrictEqual({
        name: "SSOError", code, command: kAccount, cause: fate.error.cause, status: undefined, privilege: undefined,
        retryable, message: `${kAccount}: ${code}`,
      });
      expect(fate.error.cause).toBeInstanceOf(TypeError);
      await expect(client.getGuid()).rejects.toMatchObject({ code, command: "sso_plugin_getGuid" });
      expect(heard).toEqual([]);
    });

  test("that is no element is not installed", async () => {
    const embed = new PlainEmbed();
    Object.assign(embed, { postMessage: undefined, postMessageAndAwaitResponse: undefined });
    await expect(SSOClient.attach(embed).createAccount()).rejects.toMatchObject({ code: "not-installed" });
  });

  test("that had one before has lost it", async () => {
    const { embed, heard, details, account } = begin();
    const fate = account();
    embed.hide(0);
    await later(1000);
    expect([fate.error.code, fate.error.cause, heard]).toEqual(["plug-in-gone", details[0], ["gone"]]);
    expect((details[0] as SSOError).code).toBe("not-shown");
  });
});

describe("events", () => {
  test("tell that the handler is taken away, and settle nothing", async () => {
    const { embed, heard, details, account } = begin();
    const fate = account();
    embed.answer("Unregister");
    await later();
    expect([heard, details, fate.settled]).toEqual([["unregister"], [undefined], 0]);
  });

  test("are told to each listener until it is ended, whatever another does", async () => {
    const { client, embed, heard } = begin();
    const failed: unknown[] = [];
    const watch = (error: unknown) => void failed.push(error);
    const runtime = (globalThis as any).process;
    const listeners = runtime.listeners("unhandledRejection");
    runtime.removeAllListeners("unhandledRejection").on("unhandledRejection", watch);
    const end = client.on("unregister", () => {
      throw "its own fault";
    });
    client.on("unregister", () => heard.push("second"));
    embed.answer("Unregister");
    await later();
    vi.useRealTimers();
    await new Promise(done => setTimeout(done));
    runtime.removeAllListeners("unhandledRejection");
    for (const listener of listeners) runtime.on("unhandledRejection", listener);
    expect([heard, failed]).toEqual([["unregister", "second"], ["its own fault"]]);
    end();
    embed.answer("Unregister");
    await new Promise(done => setTimeout(done));
    expect(heard).toEqual(["unregister", "second", "unregister", "second"]);
  });

  test("are told once for each time that a listener was added", async () => {
    const { client, embed } = begin();
    const listener = vi.fn();
    const end = client.on("unregister", listener);
    client.on("unregister", listener);
    embed.answer("Unregister");
    await later();
    expect(listener).toHaveBeenCalledTimes(2);
    end();
    embed.answer("Unregister");
    await later();
    expect(listener).toHaveBeenCalledTimes(3);
  });

  test("are not told before the function that found out has returned", () => {
    const { embed, heard } = begin();
    embed.answer("Unregister");
    expect(heard).toEqual([]);
  });
});

describe("recover()", () => {
  test("embeds the element at its place, rejects what is under way, and waits for the plug-in", async () => {
    const { client, embed, heard, account } = begin();
    const fates = [account(), account()];
    const recovered = fateOf(client.recover());
    expect(embed.placed).toEqual([[embed, embed.nextSibling]]);
    await later();
    expect(fates.map(fate => tellOf(fate.error))).toStrictEqual([goneOf(kAccount, undefined), goneOf(kAccount, undefined)]);
    expect([recovered, heard]).toEqual([{ settled: 1, value: "1.1" }, ["recovered"]]);
    const next = account();
    embed.answer({ command: kAccount, status: 0, state: 2 });
    await later();
    expect(next.value).toEqual({ state: 2 });
  });

  test("has a deadline", async () => {
    const { client, embed } = begin();
    embed.die();
    const fate = fateOf(client.recover(500));
    await later(500);
    expect(fate.error.code).toBe("plug-in-gone");
    expect(vi.getTimerCount()).toBe(0);
  });

  test("only waits for what is in no page", async () => {
    const { client, heard } = begin({}, new PlainEmbed() as PageEmbed);
    await expect(client.recover()).resolves.toBe("1.1");
    expect(heard).toEqual(["recovered"]);
  });

  test("leaves the page alone after dispose()", async () => {
    const { client, embed } = begin();
    client.dispose();
    await expect(client.recover()).rejects.toMatchObject({ code: "disposed" });
    expect(embed.placed).toEqual([]);
  });

  test("is called by itself, when that is asked for", async () => {
    const { embed, heard, account } = begin({ autoRecover: true });
    embed.onPlace = () => embed.rise();
    const fate = account();
    embed.die();
    await later(1000);
    expect([fate.error.code, heard]).toEqual(["plug-in-gone", ["gone", "recovered"]]);
    expect(embed.placed.length).toBe(1);
    // The second death, too.
    account();
    embed.die();
    await later(1000);
    expect([embed.placed.length, heard.length, vi.getTimerCount()]).toEqual([2, 4, 0]);
  });

  test("is not called by itself otherwise, and may fail in silence", async () => {
    const first = begin();
    first.account();
    first.embed.die();
    const second = begin({ autoRecover: true });
    second.account();
    second.embed.die();
    await later(60000);
    expect([first.embed.placed.length, second.embed.placed.length]).toEqual([0, 1]);
    expect(vi.getTimerCount()).toBe(0);
  });
});

describe("ready()", () => {
  test("waits until the element is shown", async () => {
    const { client, embed, heard } = begin();
    embed.hide(0);
    const fate = fateOf(client.ready());
    await later(20);
    expect(fate.settled).toBe(0);
    embed.show();
    await later(29);
    expect(fate.settled).toBe(0);
    await later(1);
    expect([fate, heard, vi.getTimerCount()]).toEqual([{ settled: 1, value: "1.1" }, [], 0]);
    expect(embed.asked).toEqual([kProbe]);
  });

  test.each<[number | undefined, number]>([[undefined, 30000], [120, 120], [0, 0], [50, 50]])(
    "with the timeout %s gives up within %i ms", async (timeout, limit) => {
      const { client, embed } = begin();
      embed.die();
      const fate = fateOf(client.ready(timeout));
      if (limit > 50) await later(limit - 51);
      expect(fate.settled).toBe(0);
      await later(Math.min(limit, 51));
      expect(tellOf(fate.error)).toStrictEqual(goneOf("sso_plugin_getVersion", kThrown));
      // The last look is no further than one pause from the end.
      expect(embed.asked.length).toBe(Math.floor(limit / 50) + 1);
      expect(vi.getTimerCount()).toBe(0);
    });

  test("waits for ever with Infinity", async () => {
    const { client, embed } = begin();
    embed.die();
    const fate = fateOf(client.ready(Infinity));
    await later(100000);
    embed.rise();
    await later(50);
    expect(fate.value).toBe("1.1");
  });

  test("does not wait where there is no such plug-in", async () => {
    const { client, embed } = begin();
    embed.hide(1);
    const fate = fateOf(client.ready());
    await later();
    expect([fate.error.code, fate.error.command]).toEqual(["not-installed", "sso_plugin_getVersion"]);
  });

  test("resolves to no text when the application may not ask", async () => {
    const { client, embed } = begin({ version: "9" });
    embed.reply = () => ({ code: 18, errorName: "SecurityError", errorMessage: "You do not have the privilege" });
    await expect(client.ready()).resolves.toBe("");
  });

  test("rejects when the reply is malformed", async () => {
    const { client, embed } = begin();
    embed.reply = () => ({ code: 0, value: 1.1 });
    await expect(client.ready()).rejects.toMatchObject({ code: "invalid", status: 0 });
    embed.reply = () => undefined;
    await expect(client.ready()).rejects.toMatchObject({ code: "invalid" });
  });

  test.each([
    ["1.1", undefined, true], ["1.1", "1.1", true], ["1.10", "1.9", true], ["2.0", "1.10", true], ["1.9", "1.10", false],
    ["1.1", "2", false], ["10.0", "9.9", true],
  ])("with the plug-in %s where %s is needed is fine: %s", async (value, version, isFine) => {
    const { client, embed } = begin({ version });
    embed.reply = () => ({ ...kVersionReply, value });
    const fate = fateOf(client.ready());
    await later();
    if (isFine) {
      expect(fate.value).toBe(value);
    } else {
      expect(tellOf(fate.error)).toStrictEqual({
        name: "SSOError", code: "wrong-version", command: "sso_plugin_getVersion", cause: value, status: undefined,
        privilege: undefined, retryable: false, message: "sso_plugin_getVersion: wrong-version",
      });
    }
    expect([fate.settled, vi.getTimerCount()]).toEqual([1, 0]);
  });
});
