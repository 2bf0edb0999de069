import { expect, test } from "vitest";
import { SSOClient } from "../src/index.js";
import { CountedSignal, PlainEmbed } from "./plain_embed.js";

declare function setImmediate(act: () => void): unknown;
const flush = () => new Promise<void>(done => void setImmediate(done));

type Call = (client: SSOClient, mark: string) => Promise<unknown>;
const kCalls: Call[] = [
  (c, data) => c.showLoginPage({ data }),
  (c, id) => c.getAccessToken({ id, secret: "s" }),
  (c, termsId) => c.showTermsPage({ termsId, callerId: "c" }),
  (c, appID) => c.getMappings({ appID }),
  (c, cpUID) => c.addMapping({ appID: "a", cpName: "c", cpUID }),
  (c, cpUID) => c.removeMapping({ appID: "a", cpName: "c", cpUID }),
  (c, termsId) => c.getTermsAgreementState({ termsId }),
];

/** The mark of a request, in an answer with all of the outcomes' keys. */
function answerTo({ command, data, id, termsId, cpUID, appID }: any) {
  const mark = data ?? id ?? termsId ?? cpUID ?? appID;
  const number = Number(mark);
  const isMapping = command === "sso_plugin_getPartnerAccountMappingList";
  return { command, status: 0, state: number, result: number, token: mark, ...(isMapping && { PartnerAccountInfo: mark }) };
}
const resultOf = (index: number) => {
  const mark = String(index);
  const number = index;
  return [{ state: number }, mark, { state: number }, { list: undefined, raw: mark }, { result: number },
    { result: number }, number][index % kCalls.length];
};

/** Answers what it got, in any order, some turns later, and remembers nothing. */
class BusyEmbed extends PlainEmbed {
  readonly #owed: object[] = [];
  #seed = 1;

  override postMessage(request: object): void {
    this.#owed.push(request);
  }
  override postMessageAndAwaitResponse({ termsId }: { termsId?: string }): unknown {
    return { code: 0, errorName: "", errorMessage: "", value: termsId === undefined ? "1.1" : Number(termsId) };
  }

  get owes(): boolean {
    return this.#owed.length > 0;
  }
  answerOne(): void {
    this.#seed = (this.#seed * 16807) % 2147483647;
    const [request] = this.#owed.splice(this.#seed % this.#owed.length, 1);
    this.answer(answerTo(request));
  }
}

async function settleAll(embed: BusyEmbed, calls: Promise<unknown>[]): Promise<unknown[]> {
  for (const all = Promise.all(calls); ; await flush()) {
    if (!embed.owes) return all;
    while (embed.owes) embed.answerOne();
  }
}

test("10,000 calls of all commands at once each get their own answer", async () => {
  const embed = new BusyEmbed();
  const client = SSOClient.attach(embed);
  const calls = Array.from({ length: 10000 }, (_, index) => kCalls[index % kCalls.length]!(client, String(index)));
  const results = await settleAll(embed, calls);
  expect(results).toEqual(results.map((_, index) => resultOf(index)));
  client.dispose();
});

declare const process: { memoryUsage(): { heapUsed: number } };

/** Bytes in use when nothing more can be freed. */
async function heap(): Promise<number> {
  const collect = (globalThis as { gc?: () => void }).gc;
  if (!collect) throw new Error("The heap is measured under --expose-gc.");
  for (let round = 0; round < 5; ++round) {
    await flush();
    collect();
  }
  return process.memoryUsage().heapUsed;
}

/** Of 100,000 calls: not three bytes each. An object for each would be at least 1,600,000. */
const kLeft = 256 * 1024;

async function bytesLeftBy(each: (promise: Promise<unknown>) => void): Promise<number> {
  const embed = new BusyEmbed();
  const client = SSOClient.attach(embed, { timeout: 60000 });
  const round = async (count: number) => {
    const calls: Promise<unknown>[] = [];
    for (let index = 0; index < count; ++index) {
      const promise = kCalls[index % kCalls.length]!(client, String(index));
      each(promise);
      calls.push(promise);
    }
    await settleAll(embed, calls);
  };
  // What is compiled and grown once is no object of a call.
  for (let warm = 0; warm < 20; ++warm) await round(1000);
  const before = await heap();
  for (let hundred = 0; hundred < 100; ++hundred) await round(1000);
  const left = (await heap()) - before;
  client.dispose();
  return left;
}

test("100,000 calls leave no object behind", async () => {
  const left = await bytesLeftBy(() => {});
  console.log(`100,000 calls left ${left} bytes; allowed: ${kLeft}`);
  expect(left).toBeLessThan(kLeft);
}, 60000);

test("the measure notices when something of each call is kept", async () => {
  const kept: unknown[] = [];
  expect(await bytesLeftBy(promise => kept.push(promise))).toBeGreaterThan(10 * kLeft);
}, 60000);

test("a signal that lives on keeps nothing of 10,000 calls", async () => {
  const embed = new BusyEmbed();
  const client = SSOClient.attach(embed);
  const signal = new CountedSignal();
  const calls = Array.from({ length: 10000 }, (_, index) => client.getAccessToken({ id: String(index), secret: "s" }, { signal }));
  expect(signal.listeners.size).toBe(10000);
  await settleAll(embed, calls);
  expect(signal.listeners.size).toBe(0);
  client.dispose();
});
