// Random pages with random accounts, each on the client's fake and on the plug-in, which must answer the same.
// Arguments: the module of the fake, sso-host, how many pages, and the number that they are made of. Prints how many
// requests were answered; for the first that were answered differently both answers, and exits with 1.
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { pathToFileURL } from "node:url";

const [, , fakeModule, host, pages, firstSeed] = process.argv;
const { createFakeEmbed } = await import(pathToFileURL(fakeModule).href);
const read = name => JSON.parse(readFileSync(new URL(`../../${name}`, import.meta.url), "utf8"));
const { commands } = read("protocol/protocol.json");
const functions = read("account/account.schema.json").properties.unavailable.items.enum;

const kRequests = 60;
const kTexts = ["", "a", "b", "demo-app", "terms-1", "constructor", "__proto__", "ä\u0001\"\\/\u2028?", "a\0b", "\0"];
const kOddities = [null, 7, 1.5, true, [], {}, ["a"]];

let seed = Number(firstSeed);
/** A whole number below a bound. */
function random(bound) {
  seed = (Math.imul(seed, 1103515245) + 12345) & 0x7fffffff;
  return Math.floor((seed / 0x80000000) * bound);
}
const chance = (times, of) => random(of) < times;
const pick = list => list[random(list.length)];
const list = (most, make) => Array.from({ length: random(most + 1) }, make);

const fileText = () => pick(kTexts.filter(text => !text.includes("\0")));
const filledText = () => pick(kTexts.filter(text => text && !text.includes("\0")));
const unique = values => [...new Map(values.map(value => [JSON.stringify(value), value])).values()];
const mappings = () => unique(list(5, () => ({ appID: filledText(), cpName: filledText(), cpUID: filledText() })));
const person = loginId => ({ loginId, uid: fileText(), guid: fileText(), authToken: fileText() });
const popup = () => ({ delayMs: 0, state: pick(["completed", "closed", "failed"]) });
const version = () => pick(["1", "2", ""]);
const document = () =>
  pick(["agreed", "notAgreed", {}, { agreedVersion: "1" }, { version: version(), agreedVersion: version() }]);

/** An account file, in which nothing takes time. */
function randomAccount() {
  const file = { popups: { login: popup(), createAccount: popup(), terms: popup() } };
  if (chance(4, 5)) Object.assign(file, { account: person("one"), mappings: mappings() });
  if (chance(1, 2)) {
    file.accounts = [{ ...person("two"), mappings: mappings(), agreements: { "terms-1": version() } }];
  }
  const logins = [file.account, ...(file.accounts ?? [])].flatMap(entry => entry?.loginId ?? []);
  if (logins.length === 0 || chance(1, 3)) file.signedIn = false;
  else if (chance(1, 2)) file.signedInAs = pick(logins);
  file.clients = unique([fileText(), fileText(), "demo-client"])
    .map(id => ({ id, secret: pick([fileText(), "demo-secret"]), token: fileText() }));
  file.terms = Object.fromEntries(list(3, () => [pick(["terms-1", "constructor", "a"]), document()]));
  if (logins.length > 0 && chance(1, 2)) {
    file.tokens = [{ loginId: pick(logins), client: pick(file.clients).id, token: fileText(), number: random(4) }];
  }
  if (chance(1, 4)) file.unavailable = functions.filter(() => chance(1, 4));
  return file;
}

/** Mostly a good request. */
function randomRequest() {
  const command = pick(commands);
  const request = { command: chance(29, 30) ? command.name : pick(kTexts) };
  for (const key of command.keys) {
    if (chance(1, 25)) continue;
    request[key.name] = chance(1, 25) ? pick(kOddities) : pick([key.example, pick(kTexts)]);
  }
  return { path: chance(19, 20) ? command.path : pick(["async", "blocking"]), request };
}

function answersOfPlugin(account, privileges, requests, file) {
  writeFileSync(file, JSON.stringify(account));
  const lines = ({ path, request }) =>
    path === "async" ? `${JSON.stringify({ post: request })}\n{"wait":1}\n` : `${JSON.stringify({ call: request })}\n`;
  const input = requests.map(lines).join("");
  const options = ["--account", file, ...privileges.flatMap(name => ["--grant", name])];
  const { status, stdout, stderr } = spawnSync(host, options, { input, encoding: "utf8" });
  if (status !== 0) throw new Error(`${host}: ${stderr}`);
  return stdout.trim().split("\n").map(line => JSON.parse(line)).filter(line => "message" in line || "reply" in line)
    .map(({ message, reply }) => message ?? reply);
}

async function answersOfFake(account, privileges, requests) {
  const fake = createFakeEmbed({ account, privileges, delays: false });
  const answers = [];
  fake.addEventListener("message", ({ data }) => answers.push(data));
  for (const { path, request } of requests) {
    if (path === "blocking") answers.push(fake.postMessageAndAwaitResponse(request));
    else fake.postMessage(request);
    await new Promise(resolve => setTimeout(resolve));
  }
  return answers;
}

/** The same for the same members, in whatever order. */
const shown = value => JSON.stringify(value, Object.keys(Object(value)).sort());

const folder = mkdtempSync(join(tmpdir(), "random-pages-"));
let answered = 0;
try {
  for (let page = 0; page < Number(pages) && !process.exitCode; ++page) {
    const account = randomAccount();
    const privileges = ["sso.partner", "sso.platform"].filter(() => chance(5, 6));
    const requests = Array.from({ length: kRequests }, randomRequest);
    const expected = answersOfPlugin(account, privileges, requests, join(folder, "account.json"));
    const came = await answersOfFake(account, privileges, requests);
    const differing = requests.findIndex((_, at) => shown(expected[at]) !== shown(came[at]));
    answered += differing < 0 ? requests.length : differing;
    if (differing >= 0 || came.length !== expected.length) {
      console.log(`page ${page}, request ${differing}: ${JSON.stringify(requests[differing])}
  plug-in: ${shown(expected[differing])}\n  fake:    ${shown(came[differing])}
  privileges: ${privileges}\n  account: ${JSON.stringify(account)}`);
      process.exitCode = 1;
    }
  }
} finally {
  rmSync(folder, { recursive: true });
}
console.log(`${answered} answered alike`);
