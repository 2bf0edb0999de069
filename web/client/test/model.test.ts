// Random sequences of whatever may happen to a client, on a plug-in that does its worst, against a model that keeps the
// books: who was called when, what reached the plug-in, what it posted, and what may have become of each call.
//
// What the plug-in never does here, as no client could tell: it does not answer a request twice, for the second answer
// looks as the next request's; it does not answer one later than `grace` after its call was given up, as is said there;
// and an answer without "command" is only that of the oldest request, to which the protocol gives it.
//
// SSO_CLIENT_RUNS says how many sequences.
import * as fc from "fast-check";
import { expect, test } from "vitest";
import { SSOClient, SSOError, type ClientOptions } from "../src/index.js";
import { PageEmbed, kThrown } from "./plain_embed.js";
import { SimulatedClock, flush } from "./simulated_clock.js";

const kRuns = Number((globalThis as any).process.env.SSO_CLIENT_RUNS ?? 2000);

/** A posting command: its method, its keys with a mark in one of them, its outcome with that mark, and the result. */
interface Kind {
  method: string;
  command: string;
  keys?: (mark: string) => Record<string, string>;
  part: (id: number) => object;
  /** The key of the outcome. */
  key: string;
  result: (id: number) => unknown;
  isPopup?: boolean;
}
const kMarked = (id: number) => JSON.stringify([{ appID: `of ${id}` }]);
const kKinds: Kind[] = [
  { method: "showLoginPage", command: "sso_plugin_show_login_page", keys: data => ({ data }), key: "state",
    part: state => ({ state }), result: state => ({ state }), isPopup: true },
  { method: "createAccount", command: "sso_plugin_createAccount", key: "state", part: state => ({ state }),
    result: state => ({ state }), isPopup: true },
  { method: "getAccessToken", command: "sso_plugin_getZEVAccessToken", keys: id => ({ id, secret: "s" }), key: "token",
    part: id => ({ token: `of ${id}` }), result: id => `of ${id}` },
  { method: "showTermsPage", command: "sso_plugin_showTermsPage", keys: termsId => ({ termsId, callerId: "c" }),
    key: "state", part: state => ({ state }), result: state => ({ state }), isPopup: true },
  { method: "getMappings", command: "sso_plugin_getPartnerAccountMappingList", keys: appID => ({ appID }),
    key: "PartnerAccountInfo", part: id => ({ PartnerAccountInfo: kMarked(id) }),
    result: id => ({ list: [{ appID: `of ${id}` }], raw: kMarked(id) }) },
  { method: "addMapping", command: "sso_plugin_addPartnerAccountMappingInfo",
    keys: cpUID => ({ appID: "a", cpName: "c", cpUID }), key: "result", part: result => ({ result }),
    result: result => ({ result }) },
  { method: "removeMapping", command: "sso_plugin_removePartnerAccountMappingInfo",
    keys: cpUID => ({ appID: "a", cpName: "c", cpUID }), key: "result", part: result => ({ result }),
    result: result => ({ result }) },
];
/** The blocking methods, and whether the plug-in replies with a number or a text. */
const kBlocking = {
  getVersion: String, getSSOState: String, getGuid: String, getLoginStatus: Number, getLoginUid: String,
  getTermsAgreementState: Number,
};
type Blocking = keyof typeof kBlocking;
const kBlockingMethods = Object.keys(kBlocking) as Blocking[];
const kBlockingPrefix = "sso_plugin_";

interface Call {
  id: number;
  kind: Kind;
  startedAt: number;
  deadline: number;
  abort?: AbortController;
  abortedAt?: number;
  /** Whether the plug-in got its request, and still has to answer it. */
  isPosted: boolean;
  isOwed: boolean;
  /** The answer that was made for it. */
  answer?: Record<string, unknown>;
  settledAt?: number;
  settlements: number;
  /** Until when an answer to it is waited for, after it was given up. */
  awaitedUntil: number;
}

const kShapes = ["good", "refused", "notStarted", "badKey", "wrongType", "noOutcome", "noStatus", "textStatus"] as const;
type Shape = (typeof kShapes)[number];

type Step =
  | { do: "call"; kind: number; timeout?: number; abortable: boolean }
  | { do: "abort"; which: number; }
  | { do: "answer"; which: number; shape: Shape; later?: boolean }
  | { do: "answerWithoutCommand"; shape: Shape }
  | { do: "lose"; which: number }
  | { do: "foreign"; data: unknown }
  | { do: "unregister" }
  | { do: "ask"; which: number; isSync: boolean }
  | { do: "die"; how: "crash" | "hide" }
  | { do: "reload" }
  | { do: "recover"; timeout: number; startsAfter: number }
  | { do: "dispose" }
  | { do: "wait"; time: number };

/** The test runner's own checks are too slow for what is done some million times. */
function must(isSo: boolean, what: unknown, fault: string): void {
  if (!isSo) throw new Error(`${JSON.stringify(what)} ${fault}`);
}

/** How long a plug-in that was embedded anew by the client takes to start, unless a step says otherwise. */
const kStart = 120;

class World {
  readonly clock = new SimulatedClock();
  readonly embed = new PageEmbed();
  readonly calls: Call[] = [];
  readonly heard: string[] = [];
  readonly client: SSOClient;
  /** Since when there is no plug-in. */
  deadSince: number | undefined;
  /** What a plug-in of before leaves undone is never done, though the client may still wait for it. */
  startsAfter = kStart;
  /** Whether the step embeds the element anew, which may reject all. */
  isRecovering = false;
  isDisposed = false;
  /** Promises of ready(): settled by when. */
  readonly recoveries: { until: number; settledAt?: number }[] = [];
  unregistered = 0;
  #asked = 0;
  #failure: { what: unknown } | undefined;

  constructor(readonly options: Required<Pick<ClientOptions, "timeout" | "grace" | "probe" | "autoRecover">>) {
    this.embed.onPost = request => this.#judge(() => this.#receive(request));
    this.#live();
    this.embed.onPlace = () => {
      this.isRecovering = true;
      this.#sent = [];
      this.#forget();
      this.#die("crash");
      if (this.startsAfter === 0) this.#live();
      else setTimeout(() => this.#live(), this.startsAfter);
    };
    this.client = SSOClient.attach(this.embed, options);
    for (const event of ["gone", "recovered", "unregister"] as const) {
      this.client.on(event, () => {
        this.heard.push(event);
        // From a plug-in that it knows to be gone the client awaits nothing.
        if (event === "gone") this.#sent = [];
      });
    }
  }

  /** Keeps what is wrong until the step is over: the client, or a promise, would swallow it. */
  #judge(check: () => void): void {
    try {
      check();
    } catch (what) {
      this.#failure ??= { what };
    }
  }

  /** What the client has sent and what can still be answered, or will be waited for: in the order of sending. */
  #sent: Call[] = [];
  #awaited(): Call[] {
    return this.#sent.filter(call =>
      call.isPosted && !call.answer && this.clock.now < (call.settledAt === undefined ? Infinity : call.awaitedUntil));
  }
  #waiting(command?: string): Call[] {
    return this.calls.filter(call => !call.isPosted && call.settledAt === undefined && call.abortedAt === undefined &&
      (command === undefined || call.kind.command === command));
  }

  #receive(request: Record<string, unknown>): void {
    // In the order of the calls, whole, and one of a command at a time.
    const call = this.#waiting(request.command as string)[0]!;
    expect(call, `nobody waits for ${request.command}`).toBeDefined();
    expect(request).toEqual({ ...call.kind.keys?.(String(call.id)), command: call.kind.command });
    for (const other of this.#awaited()) must(other.kind !== call.kind, [call, other], "are under way together");
    call.isPosted = true;
    call.isOwed = this.deadSince === undefined;
    this.#sent.push(call);
  }

  /** The plug-in's process has ended, or the element is a new one: nothing is owed any more. */
  #forget(): void {
    for (const call of this.calls) call.isOwed = false;
  }
  #die(how: "crash" | "hide"): void {
    this.#forget();
    this.deadSince ??= this.clock.now;
    if (how === "hide") this.embed.hide(0);
    else this.embed.die(kThrown);
  }
  #live(): void {
    this.deadSince = undefined;
    this.embed.show();
    this.embed.reply = ({ command }) => ({
      code: 0, errorName: "", errorMessage: "",
      value: kBlocking[String(command).slice(kBlockingPrefix.length) as Blocking](++this.#asked),
    });
  }

  #start({ kind: index, timeout, abortable }: Step & { do: "call" }): void {
    const kind = kKinds[index]!;
    const limit = timeout ?? (this.options.timeout || (kind.isPopup ? Infinity : 30000));
    const call: Call = {
      id: this.calls.length + 1, kind, startedAt: this.clock.now, deadline: this.clock.now + Math.max(limit, 1), isPosted: false, isOwed: false,
      settlements: 0, awaitedUntil: -Infinity, ...(abortable && { abort: new AbortController() }),
    };
    this.calls.push(call);
    const options = { timeout, signal: call.abort?.signal };
    const method = (this.client as any)[kind.method];
    const promise: Promise<unknown> = kind.keys ? method(kind.keys(String(call.id)), options) : method(options);
    promise.then(value => this.#judge(() => this.#settle(call, value, undefined)),
      error => this.#judge(() => this.#settle(call, undefined, error)));
  }

  #settle(call: Call, value: unknown, error: any): void {
    ++call.settlements;
    call.settledAt = this.clock.now;
    must(this.clock.now <= call.deadline, call, "is settled after its deadline");
    if (error === undefined) {
      expect(call.answer, `call ${call.id} was answered`).toBeDefined();
      expect(value).toEqual(call.kind.result(call.id));
      expect(call.answer!.status).toBe(0);
      return;
    }
    expect(error).toBeInstanceOf(SSOError);
    expect(error.command).toBe(call.kind.command);
    switch (error.code as SSOError["code"]) {
      case "refused":
      case "invalid":
      case "not-started":
        // It is the very answer that was made for it.
        expect(call.answer, `the answer of call ${call.id}`).toBeDefined();
        expect(error.cause).toBe(call.answer);
        break;
      case "timed-out":
        expect(this.clock.now).toBe(call.deadline);
        call.awaitedUntil = this.clock.now + Math.max(this.options.grace, 1);
        break;
      case "aborted":
        expect(call.abortedAt).toBe(this.clock.now);
        call.awaitedUntil = this.clock.now + Math.max(this.options.grace, 1);
        break;
      case "disposed":
        expect(this.isDisposed).toBe(true);
        break;
      case "plug-in-gone":
      case "not-shown":
        expect(this.deadSince !== undefined || this.isRecovering, `call ${call.id}: the plug-in is there`).toBe(true);
        break;
      default:
        expect.fail(`call ${call.id}: ${error.code}`);
    }
  }

  #answerOf(call: Call, shape: Shape): Record<string, unknown> {
    const { command, part, key } = call.kind;
    const good = { command, status: 0, ...part(call.id) };
    switch (shape) {
      case "good": return good;
      case "refused": return { command, status: 18, errorName: "PrivilegeInvalid", errorMessage: `of ${call.id}` };
      case "notStarted": return { command, status: -1, errorName: "error", errorMessage: `of ${call.id}` };
      case "badKey": return { command, status: -1, errorName: "paramInvaild", errorMessage: `of ${call.id}` };
      case "wrongType": return { ...good, [key]: { of: call.id } };
      case "noOutcome": return { command, status: 0 };
      case "noStatus": return { ...good, status: undefined };
      case "textStatus": return { ...good, status: "0" };
    }
  }

  #answer(call: Call, shape: Shape, hasCommand = true): void {
    const { command, ...rest } = this.#answerOf(call, shape);
    const data = hasCommand ? { command, ...rest } : rest;
    call.isOwed = false;
    // What has no status is no answer: the call has lost its own.
    if (typeof data.status === "number") call.answer = data;
    this.embed.answer(data);
  }

  #ask({ which, isSync }: Step & { do: "ask" }): void {
    const method = kBlockingMethods[which]!;
    const check = (value: unknown) => this.#judge(() => expect(value).toBe(kBlocking[method](this.#asked)));
    const fail = (error: any) => this.#judge(() => {
      expect(error, String(error)).toBeInstanceOf(SSOError);
      expect(error.command).toBe(kBlockingPrefix + method);
      expect(error.code).toMatch(this.isDisposed ? /^disposed$/ : /^(plug-in-gone|not-shown)$/);
      expect(this.isDisposed || this.deadSince !== undefined).toBe(true);
    });
    if (!isSync) {
      (this.client as any)[method]({ termsId: "t" }).then(check, fail);
      return;
    }
    let value: unknown;
    try {
      value = (this.client as any)[method + "Sync"]({ termsId: "t" });
    } catch (error) {
      return fail(error);
    }
    check(value);
  }

  async run(step: Step): Promise<void> {
    const owed = this.calls.filter(call => call.isOwed &&
      (call.settledAt === undefined || this.clock.now < call.awaitedUntil));
    const pick = <T>(list: T[], which: number): T | undefined => list[which % Math.max(list.length, 1)];
    switch (step.do) {
      case "call":
        this.#start(step);
        break;
      case "abort": {
        const call = pick(this.calls.filter(call => call.abort && call.settledAt === undefined), step.which);
        if (call) {
          call.abortedAt = this.clock.now;
          call.abort!.abort();
        }
        break;
      }
      case "answer": {
        const late = owed.filter(call => call.settledAt !== undefined);
        const call = pick(step.later && late.length ? late : owed, step.which);
        if (call) this.#answer(call, step.shape);
        break;
      }
      case "answerWithoutCommand": {
        const oldest = this.#awaited()[0];
        if (oldest?.isOwed) this.#answer(oldest, step.shape, false);
        break;
      }
      case "lose": {
        const call = pick(owed, step.which);
        if (call) call.isOwed = false;
        break;
      }
      case "foreign":
        this.embed.answer(step.data);
        break;
      case "unregister":
        if (!this.isDisposed) ++this.unregistered;
        this.embed.answer("Unregister");
        break;
      case "ask":
        this.#ask(step);
        break;
      case "die":
        this.#die(step.how);
        break;
      case "reload":
        // Nobody tells: the page has done it, or the element was hidden and is shown again.
        this.#forget();
        this.#live();
        break;
      case "recover": {
        this.startsAfter = step.startsAfter;
        const recovery: World["recoveries"][number] = { until: this.clock.now + step.timeout };
        this.recoveries.push(recovery);
        const settle = () => void (recovery.settledAt = this.clock.now);
        this.client.recover(step.timeout).then(settle, settle);
        this.startsAfter = kStart;
        await flush();
        for (const call of this.calls) must(call.settledAt !== undefined, call, "is open after recover()");
        break;
      }
      case "dispose":
        this.isDisposed = true;
        this.client.dispose();
        break;
      case "wait":
        // Step by step, so that what was embedded anew on the way is known to have been.
        await this.clock.move(step.time);
        break;
    }
    await flush();
    this.isRecovering = false;
    this.#check();
  }

  /** What holds after each step. */
  #check(): void {
    if (this.#failure) throw this.#failure.what;
    const { now } = this.clock;
    const { probe } = this.options;
    const awaited = this.#awaited();
    for (const call of this.calls) {
      must(call.settlements <= 1, call, "is settled twice");
      if (call.settledAt !== undefined) continue;
      must(now < call.deadline, call, "is open after its deadline");
      must(call.abortedAt === undefined, call, "is open after it was aborted");
      must(!call.answer, call, "is open after its answer");
      must(!this.isDisposed, call, "is open after the client's end");
      must(this.deadSince === undefined || !probe || now - Math.max(this.deadSince, call.startedAt) < probe,
        call, "is open though nobody is there");
      must(call.isPosted || awaited.some(other => other.kind === call.kind), call, "waits for nothing");
    }
    for (const recovery of this.recoveries) {
      must((recovery.settledAt ?? now) <= recovery.until, recovery, "takes longer than it may");
    }
    // Each death is told of once.
    const told = this.heard.filter(event => event !== "unregister");
    must(told.every((event, index) => event !== "gone" || told[index - 1] !== "gone"), told, "tells of one death twice");
    must(this.heard.length - told.length === this.unregistered, this.heard, "tells otherwise of the handler's end");
  }

  /** Nothing is left over. */
  async close(): Promise<void> {
    await this.run({ do: "dispose" });
    await this.run({ do: "wait", time: 31000 });
    expect(this.calls.filter(call => call.settlements !== 1)).toEqual([]);
    expect(this.clock.timers).toBe(0);
    expect(this.embed.listeners.size).toBe(0);
  }
}

const which = fc.nat(20);
const shape = fc.oneof({ weight: 4, arbitrary: fc.constant<Shape>("good") },
  { weight: 3, arbitrary: fc.constantFrom<Shape>(...kShapes) });
const step: fc.Arbitrary<Step> = fc.oneof(
  { weight: 24, arbitrary: fc.record({
    do: fc.constant("call" as const), kind: fc.nat(kKinds.length - 1),
    timeout: fc.constantFrom(undefined, undefined, undefined, 1, 30, 100, 1000, Infinity), abortable: fc.boolean() }) },
  // The same command again and again, so that queues get long.
  { weight: 8, arbitrary: fc.record({ do: fc.constant("call" as const), kind: fc.constant(2),
    timeout: fc.constantFrom(undefined, 50), abortable: fc.boolean() }) },
  { weight: 22, arbitrary: fc.record({ do: fc.constant("answer" as const), which, shape, later: fc.boolean() }) },
  { weight: 16, arbitrary: fc.record({ do: fc.constant("wait" as const),
    time: fc.constantFrom(1, 2, 10, 29, 30, 49, 50, 99, 100, 250, 999, 1000, 5000) }) },
  { weight: 5, arbitrary: fc.record({ do: fc.constant("abort" as const), which }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("answerWithoutCommand" as const), shape }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("lose" as const), which }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("foreign" as const), data: fc.constantFrom<unknown>(
    undefined, null, "text", 7, {}, [], { status: 0, command: "sso_plugin_signOut" }, { command: kKinds[2]!.command },
    { status: null, command: kKinds[2]!.command, token: "foreign" }, { status: 0n }, { status: 0, command: {} }) }) },
  { weight: 1, arbitrary: fc.constant<Step>({ do: "unregister" }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("ask" as const), which: fc.nat(kBlockingMethods.length - 1), isSync: fc.boolean() }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("die" as const), how: fc.constantFrom("crash" as const, "hide" as const) }) },
  { weight: 2, arbitrary: fc.constant<Step>({ do: "reload" }) },
  { weight: 3, arbitrary: fc.record({ do: fc.constant("recover" as const), timeout: fc.constantFrom(0, 60, 500),
    startsAfter: fc.constantFrom(0, 1, 80, 700) }) },
  { weight: 1, arbitrary: fc.constant<Step>({ do: "dispose" }) },
);

const options = fc.record({
  timeout: fc.constantFrom(undefined, undefined, 40, 1000), grace: fc.constantFrom(0, 30, 500, 10000),
  probe: fc.constantFrom(0, 40, 1000), autoRecover: fc.boolean(),
}) as fc.Arbitrary<World["options"]>;

test("the sequences have the methods of all commands", () => {
  const client = SSOClient.attach(new PageEmbed());
  client.dispose();
  const others = ["embed", "on", "ready", "recover", "dispose"];
  const sampled = [...kKinds.map(({ method }) => method), ...kBlockingMethods.flatMap(method => [method, method + "Sync"])];
  expect(sampled.sort()).toEqual(Object.keys(client).filter(name => !others.includes(name)).sort());
});

test(`each call is settled once, in time, and by its own answer, in ${kRuns} sequences`, async () => {
  await fc.assert(fc.asyncProperty(options, fc.array(step, { minLength: 1, maxLength: 40, size: "max" }), async (options, steps) => {
    const world = new World(options);
    try {
      for (const step of steps) await world.run(step);
      await world.close();
    } finally {
      world.clock.end();
    }
  }), { numRuns: kRuns, includeErrorInReport: true });
}, 3600000);
