// Measures calls of the typed client beside the same messages of the bare element, in turns of a few milliseconds.
import { SSOClient } from "sso-client";

const kVersion = { command: "sso_plugin_getVersion" };
const kClient = { id: "demo-client", secret: "demo-secret" };
const kToken = { command: "sso_plugin_getZEVAccessToken", ...kClient };
const kSlices = 20;
const kCalls = 10;

function embed() {
  const element = Object.assign(document.createElement("embed"), {
    type: "application/x-sso-plugin", width: 1, height: 1,
  });
  element.dataset.module = "plugin";  // of the two that bench/modules/both.cpp has
  document.body.append(element);
  return element;
}

/** What a page writes that does without the client: one answer at a time. */
class Bare {
  constructor() {
    this.element = embed();
    this.element.addEventListener("message", ({ data }) => this.resolve(data));
  }
  call(request) {
    return this.element.postMessageAndAwaitResponse(request).value;
  }
  ask(request) {
    return new Promise(resolve => {
      this.resolve = resolve;
      this.element.postMessage(request);
    });
  }
}

/** @return by case and peer the microseconds of one call, one number for each round. */
export async function run(rounds) {
  const bare = new Bare();
  const client = SSOClient.attach(embed());
  await client.ready();
  const cases = {
    "getVersionSync()": { bare: () => bare.call(kVersion), client: () => client.getVersionSync() },
    "await getVersion()": { bare: async () => bare.call(kVersion), client: () => client.getVersion() },
    "await getAccessToken()": { bare: () => bare.ask(kToken), client: () => client.getAccessToken(kClient) },
  };
  const samples = {};
  for (let round = -1; round < rounds; ++round) {  // the first warms up
    for (const [name, peers] of Object.entries(cases)) {
      const sums = { bare: 0, client: 0 };
      for (let slice = 0; slice < kSlices; ++slice) {
        const order = (round + slice) % 2 ? ["bare", "client"] : ["client", "bare"];
        for (const peer of order) {
          const start = performance.now();
          for (let i = 0; i < kCalls; ++i) await peers[peer]();
          sums[peer] += (performance.now() - start) * 1000 / (kSlices * kCalls);
        }
      }
      if (round < 0) continue;
      samples[name] = samples[name] || { bare: [], client: [] };
      for (const peer in sums) samples[name][peer].push(sums[peer]);
    }
  }
  return samples;
}
