// What the compiler says to those who use the client: each mistake with its number and text, beside a twin that is right.
import { join } from "node:path";
import ts from "typescript";
import { beforeAll, describe, expect, test } from "vitest";
import { treeFile } from "./testing/files.mjs";

const kHere = join(new URL(".", import.meta.url).pathname, "..");

const kWith = `import { SSOClient, SSOError, ChangeResult, PopupState } from "../src/index.js";
import type { Embed, Mappings, SSOErrorCode } from "../src/index.js";
declare const client: SSOClient;
declare const embed: HTMLEmbedElement;
`;

/** A switch over all codes but those that are left out; what is left is no \`never\`. */
const kCodes = ["refused", "unknown-command", "invalid", "not-started", "not-granted", "timed-out", "aborted",
  "disposed", "plug-in-gone", "not-shown", "not-installed", "wrong-version"];
const switchOver = codes => `export function tell(code: SSOErrorCode): string {
  switch (code) {
${codes.map(code => `    case "${code}": return "";`).join("\n")}
  }
  const forgotten: never = code;
  return forgotten;
}`;

const kRight = {
  "all methods": `
    const pages: { state: number }[] = [await client.showLoginPage({ data: "login" }), await client.createAccount(),
      await client.showTermsPage({ termsId: "t", callerId: "c" }, { timeout: 1 })];
    const token: string = await client.getAccessToken({ id: "i", secret: "s" }, { signal: new AbortController().signal });
    const mappings: Mappings = await client.getMappings({ appID: "a" });
    const uid: string | undefined = mappings.list?.[0]?.cpUID;
    const raw: string = (await client.getMappings({ appID: "a", cpName: "c" })).raw;
    const results: { result: number }[] = [await client.addMapping({ appID: "a", cpName: "c", cpUID: "u" }),
      await client.removeMapping({ appID: "a", cpName: "c" })];
    const texts: string[] = [await client.getVersion({ timeout: 1 }), await client.getSSOState(), await client.getGuid(),
      await client.getLoginUid(), client.getVersionSync(), client.getSSOStateSync(), client.getGuidSync(),
      client.getLoginUidSync()];
    const numbers: number[] = [await client.getLoginStatus(), await client.getTermsAgreementState({ termsId: "t" }),
      client.getLoginStatusSync(), client.getTermsAgreementStateSync({ termsId: "t" })];
    export { pages, token, uid, raw, results, texts, numbers };`,
  "events": `
    client.on("gone", error => error.code === "not-shown");
    client.on("unregister", () => {});
    export const end: () => void = client.on("recovered", () => {});`,
  "making a client": `
    const options = { timeout: 1, grace: 1, probe: 0, autoRecover: true, version: "1.1" };
    export const clients: SSOClient[] = [SSOClient.attach(embed), SSOClient.attach(embed as Embed, options),
      SSOClient.create({ container: document.body, ...options })];
    export const version: Promise<string> = client.recover(1).then(() => client.ready());
    export const can: boolean = SSOClient.isSupported();
    client.dispose();`,
  "the numbers of the desk": `
    export const closed: boolean = (await client.createAccount()).state === PopupState.closed;
    export const duplicate: -6 = ChangeResult.duplicate;`,
  "a switch over all codes": switchOver(kCodes),
  "an error": `
    export function tell(error: unknown): [string, number | undefined, boolean, string | undefined] {
      if (!(error instanceof SSOError)) throw error;
      return [error.command, error.status, error.retryable, error.privilege];
    }`,
  "the script's global": `
    import type {} from "../src/script.js";
    export const page: SSOClient = SSO.SSOClient.attach(embed);
    export const isDone: boolean = (await page.createAccount()).state === SSO.PopupState.done;`,
  "the bare element": `
    embed.postMessage({ command: "sso_plugin_createAccount" });
    const value: string | number | undefined = embed.postMessageAndAwaitResponse({ command: "sso_plugin_getGuid" }).value;
    embed.addEventListener("message", ({ data }) => {
      if (data !== "Unregister" && data.status === 0) console.log(data.token?.length, data.state);
    });
    export { value };`,
};

/** The mistake, and what the compiler has to say to it. */
const kWrong = {
  "a wrong command": ["await client.signOut();", 2339, "Property 'signOut' does not exist on type 'SSOClient'"],
  "a wrong key": ['await client.getAccessToken({ id: "i", secrets: "s" });', 2561, "'secrets' does not exist"],
  "a key too many": ['await client.showLoginPage({ data: "d", more: "m" });', 2353, "'more' does not exist"],
  "a missing key": ['await client.getAccessToken({ id: "i" });', 2345, "Property 'secret' is missing"],
  "missing keys": ["await client.getMappings();", 2554, "Expected 1-2 arguments, but got 0"],
  "a key that is no text": ["await client.showLoginPage({ data: 7 });", 2322, "'number' is not assignable to type 'string'"],
  "a wrong result type": ['const token: number = await client.getAccessToken({ id: "i", secret: "s" }); export { token };',
    2322, "Type 'string' is not assignable to type 'number'"],
  "a result that is an object": ["const state: number = await client.createAccount(); export { state };",
    2322, "Type '{ state: number; }' is not assignable to type 'number'"],
  "a list that may be missing": ['const list = (await client.getMappings({ appID: "a" })).list.length; export { list };',
    2532, "Object is possibly 'undefined'"],
  "a promise that is not awaited": ["const guid: string = client.getGuid(); export { guid };",
    2322, "Type 'Promise<string>' is not assignable to type 'string'"],
  "a Sync of what is answered later": ["client.createAccountSync();", 2551, "Property 'createAccountSync' does not exist"],
  "a wrong option": ["await client.createAccount({ timeouts: 1 });", 2561, "'timeouts' does not exist in type 'CallOptions'"],
  "a wrong option of the client": ["SSOClient.attach(embed, { probes: 1 });", 2561, "'probes' does not exist"],
  "a client without a container": ["SSOClient.create({});", 2345, "Property 'container' is missing"],
  "an embed that is none": ["SSOClient.attach(document.body);", 2345, "is not assignable to parameter of type 'Embed'"],
  "a wrong event": ['client.on("lost", () => {});', 2345, `Argument of type '"lost"' is not assignable`],
  "an event's detail": ['client.on("recovered", (error: Error) => error);', 2345, "is not assignable to parameter of type"],
  "a code that is none": ['export const isSo = (error: SSOError) => error.code === "timeout";', 2367, "have no overlap"],
  "an error that is written to": ['export const set = (error: SSOError) => { error.code = "invalid"; };', 2540, "read-only"],
  "a request of the bare element without a command": ['embed.postMessage({ data: "login" });', 2345, "Property 'command' is missing"],
  "a request of the bare element with a number": ['embed.postMessage({ command: "c", data: 7 });', 2322,
    "Type 'number' is not assignable to type 'string'"],
  "a reply of the bare element": ['embed.postMessageAndAwaitResponse({ command: "c" }).state;', 2339, "'state' does not exist on type 'SSOReply'"],
  "an answer of the bare element": ['embed.addEventListener("message", ({ data }) => data !== "Unregister" && data.value);',
    2339, "'value' does not exist on type 'SSOAnswer'"],
  ...Object.fromEntries(kCodes.map(left => [`a switch that forgets ${left}`,
    [switchOver(kCodes.filter(code => code !== left)), 2322, `Type '"${left}"' is not assignable to type 'never'`]])),
};

/** What the compiler says, by the name of the example. */
let said;

beforeAll(() => {
  const { config } = ts.readConfigFile(join(kHere, "tsconfig.json"), ts.sys.readFile);
  const { options } = ts.parseJsonConfigFileContent({ ...config, files: [], include: [] }, ts.sys, kHere);
  const examples = new Map([...Object.entries(kRight), ...Object.entries(kWrong).map(([name, [code]]) => [name, code])]
    .map(([name, code], index) => [join(kHere, `test/example-${index}.ts`), { name, text: `${kWith}${code}\nexport {};\n` }]));
  const host = ts.createCompilerHost(options);
  const { fileExists, readFile } = host;
  host.fileExists = file => examples.has(file) || fileExists(file);
  host.readFile = file => examples.get(file)?.text ?? readFile(file);
  const { getSourceFile } = host;
  host.getSourceFile = (file, language) => examples.has(file)
    ? ts.createSourceFile(file, examples.get(file).text, language) : getSourceFile(file, language);
  // Examples import all there is, and use what they need.
  const program = ts.createProgram([join(kHere, "global.d.ts"), ...examples.keys()],
    { ...options, target: ts.ScriptTarget.ES2022, noUnusedLocals: false }, host);
  said = new Map([...examples].map(([file, { name }]) => [name,
    ts.getPreEmitDiagnostics(program, program.getSourceFile(file)).map(({ code, messageText }) =>
      [code, ts.flattenDiagnosticMessageText(messageText, " ")])]));
}, 60000);

describe("the compiler takes", () => {
  test.each(Object.keys(kRight))("%s", name => expect(said.get(name)).toEqual([]));
});

// A command that has come since then is in the example, too.
test.each(JSON.parse(treeFile("protocol/protocol.json")).commands)("the compiler saw $method", ({ method, path }) => {
  for (const name of path === "blocking" ? [method, method + "Sync"] : [method]) {
    expect(kRight["all methods"]).toContain(`client.${name}(`);
  }
});

describe("the compiler refuses", () => {
  test.each(Object.entries(kWrong))("%s", (name, [, code, text]) => {
    expect(said.get(name)).toEqual([[code, expect.stringContaining(text)]]);
  });
});
