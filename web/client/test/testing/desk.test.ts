// The fake has the outcomes that the desk's account service has: the table of docs/desk.md, row by row.
import { describe, expect, it } from "vitest";
import { presets, type Operation, type Preset, type StateFile } from "../../src/testing/index.js";
import { treeFile } from "./files.mjs";
import { openPage, type Page } from "./page.js";

interface Command {
  name: string;
  method: string;
  path: string;
  asks: Operation[];
  keys: { name: string; example: string }[];
}

const kCommands: Command[] = JSON.parse(treeFile("protocol/protocol.json")).commands;

const guide = treeFile("docs/desk.md");

/** The functions that the guide's names of operations stand for. */
const kOperations: Record<string, Operation[]> =
  Object.fromEntries(kCommands.map(({ method, asks }) => [method, asks]));
const kPopups = { login: "showLoginPage", createAccount: "createAccount", terms: "showTermsPage" } as const;
/** One that is completed ends by itself here. */
const kPopupStates: Record<string, number> = { close: 1, fail: 2, cancel: 3 };
const kMappingCommand = "PartnerAccountMappingInfo";

/** A new state of the desk has a client and nobody. */
const kNew: StateFile = { device: { clients: presets["signed-in"].device.clients } };

/** The state that verbs of `ssoctl` leave, and what else they do to the page. */
function afterVerbs(verbs: readonly string[]): { state: StateFile; then: ((page: Page) => unknown)[] } {
  let state = structuredClone(kNew);
  const then: ((page: Page) => unknown)[] = [];
  for (const verb of verbs) {
    const [noun = "", what = "", third = "", ...rest] = verb.split(" ");
    if (verb.startsWith("preset use ")) {
      state = structuredClone(presets[third as Preset]);
    } else if (noun === "fail") {
      const failure = third === "--code" ? Number(rest[0]) : -7;
      state.orders = Object.fromEntries(kOperations[what]!.map(name => [name, { failure }]));
    } else if (noun === "popup") {
      const ends = kPopupStates[what];
      if (ends !== undefined) then.push(({ fake }) => fake.next(kPopups[third as "login"], { state: ends }));
    } else if (noun === "mapping") {
      const [cpName, cpUID] = rest;
      then.push(page => page.post({ command: `sso_plugin_${what}${kMappingCommand}`, appID: third, cpName, cpUID }));
    } else if (verb === "client remove demo-client") {
      state.device.clients = [];
    } else if (verb === "terms reset terms-1") {
      delete (state.device.terms!["terms-1"] as { agreedVersion?: string }).agreedVersion;
    } else {
      throw new Error(`what does "${verb}" do?`);
    }
  }
  return { state, then };
}

const kRows = guide.slice(guide.indexOf("\n## Outcomes"), guide.indexOf("\n## Scenarios")).split("\n")
  .filter(line => line.startsWith("| `sso_plugin_"))
  .map(line => line.split(/(?<!\\)\|/).slice(1, -1).map(cell => cell.trim()))
  .map(([command = "", what = "", verbs = "", answer = ""]) =>
    ({ command: command.slice(1, -1), what, verbs: verbs.slice(1, -1).split("`, `"), answer: answer.slice(1, -1) }));

describe("the desk's outcomes", () => {
  it("are all there", () => {
    expect(new Set(kRows.map(row => row.command))).toEqual(new Set(kCommands.map(command => command.name)));
  });

  it.each(kRows)("$command: $what, after $verbs", async ({ command: name, verbs, answer }) => {
    const { state, then } = afterVerbs(verbs);
    const page = openPage({ account: state });
    for (const step of then) await step(page);
    const command = kCommands.find(one => one.name === name)!;
    const request = { command: name, ...Object.fromEntries(command.keys.map(key => [key.name, key.example])) };
    if (command.path === "async") {
      expect(await page.post(request)).toEqual([{ command: name, ...JSON.parse(answer) }]);
    } else {
      expect(page.call(request)).toEqual(JSON.parse(answer));
    }
  });
});
