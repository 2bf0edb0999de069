// A recording is served as it was made. That in recordings/ was written by sso-host --messages.
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { createFakeEmbed, RecordingDifference, type FakeOptions } from "../../src/testing/index.js";
import { fromRecorded, toRecorded } from "../../src/testing/values.js";
import { treeFile } from "./files.mjs";
import { kCreateAccount, kGuid, kLogin, kState, kToken, kVersion, openPage } from "./page.js";

const kRecording = treeFile("web/client/test/testing/recordings/partner.jsonl");
const kLoginAnswer = { command: kLogin.command, state: 0, status: 0 };
const kTokenAnswer = { command: kToken.command, status: 0, token: "access-token-of-demo-client" };
const kNoCommand = { status: -1, errorName: "commandInvaild", errorMessage: "Parameter command is invalid" };
const kOdd = { data: Uint8Array.of(1, 2).buffer };

/** A recording of messages, each [path, "request" or "answer", value], a second apart. */
const recordingOf = (...entries: [path: string, what: string, value: unknown][]): string =>
  entries.map(([path, what, value], at) =>
    JSON.stringify({ time: new Date(at * 1000).toISOString(), instance: 1, path, [what]: value })).join("\n");

function complaint(recording: string, options: FakeOptions = {}): string {
  try {
    createFakeEmbed({ recording, ...options });
    return "";
  } catch (error) {
    return String(error);
  }
}

describe("a recording", () => {
  it("answers as it was, in its order", async () => {
    const { fake, messages, post, call } = openPage({ recording: kRecording });
    expect(await post(kLogin, kToken)).toEqual([kTokenAnswer]);
    expect(call(kGuid)).toEqual({ code: 0, errorName: "", errorMessage: "", value: "guid-robin" });
    expect(messages).toHaveLength(1);
    expect(await post(kOdd)).toEqual([kLoginAnswer, kNoCommand]);
    expect(call(kState).errorName).toBe("SecurityError");
    expect(await post(kCreateAccount)).toEqual(["Unregister"]);
    fake.assertDone();
    expect(fake.requests.map(({ path, method, answer }) => [path, method, answer?.code])).toEqual([
      ["async", "showLoginPage", undefined], ["async", "getAccessToken", undefined], ["blocking", "getGuid", 0],
      ["async", undefined, undefined], ["blocking", "getSSOState", 18], ["async", "createAccount", undefined],
    ]);
  });

  it("may be asked for the version at any time", () => {
    const { call } = openPage({ recording: kRecording });
    expect([call(kVersion), call(kVersion).value]).toEqual(
      [{ code: 0, errorName: "", errorMessage: "", value: "1.1" }, "1.1"]);
    const other = recordingOf(["blocking", "request", kVersion], ["blocking", "answer", { code: 18 }],
      ["blocking", "request", kGuid], ["blocking", "answer", { code: 0, value: "g" }]);
    const page = openPage({ recording: other });
    expect([page.call(kVersion), page.call(kGuid), page.call(kVersion)]).toEqual(
      [{ code: 18 }, { code: 0, value: "g" }, { code: 18 }]);
    page.fake.assertDone();
    const none = openPage({ recording: recordingOf(["async", "request", {}]) });
    expect(none.call(kVersion)).toEqual({ code: 0, errorName: "", errorMessage: "", value: "1.1" });
    const only = openPage({ recording: recordingOf(["blocking", "request", kVersion], ["blocking", "answer", 1]) });
    expect(only.call(kVersion)).toBe(1);
    const stray = openPage({ recording: recordingOf(
      ["blocking", "answer", 1], ["blocking", "request", 7], ["blocking", "answer", 2]) });
    expect([stray.call(7), stray.call(kVersion).value]).toEqual([2, "1.1"]);
    const posted = openPage({ recording: recordingOf(["async", "request", kVersion]) });
    posted.fake.postMessage(kVersion);
    expect(() => posted.fake.postMessage(kVersion)).toThrow(RecordingDifference);
  });

  it("tells how a request differs, and goes on with the right one", async () => {
    const { fake, post } = openPage({ recording: kRecording });
    expect(() => fake.postMessage({ ...kLogin, data: "logout", more: 1 })).toThrow(new RecordingDifference([
      "the request differs from line 3 of the recording",
      `  recorded posted: {"command":"sso_plugin_show_login_page","data":"login"}`,
      `  came posted: {"command":"sso_plugin_show_login_page","data":"logout","more":1}`,
      `  "data": recorded "login", came "logout"`,
      `  "more": recorded nothing, came 1`,
    ].join("\n")));
    expect(await post(kLogin, kToken)).toEqual([kTokenAnswer]);
    expect(() => fake.postMessage(kGuid)).toThrow(new RecordingDifference([
      "the request differs from line 8 of the recording",
      `  recorded sent blocking: {"command":"sso_plugin_getGuid"}`,
      `  came posted: {"command":"sso_plugin_getGuid"}`,
    ].join("\n")));
    expect(() => fake.postMessageAndAwaitResponse(7 as unknown as object)).toThrow(new RecordingDifference([
      "the request differs from line 8 of the recording",
      `  recorded sent blocking: {"command":"sso_plugin_getGuid"}`,
      "  came sent blocking: 7",
      `  recorded {"command":"sso_plugin_getGuid"}, came 7`,
    ].join("\n")));
    fake.postMessageAndAwaitResponse(kGuid);
  });

  it("has an end", () => {
    const { fake, call } = openPage({ recording: recordingOf(
      ["blocking", "request", kGuid], ["blocking", "answer", 1]) });
    expect(call(kGuid)).toBe(1);
    expect(() => call(kGuid)).toThrow(new RecordingDifference(
      `after the end of the recording, came sent blocking: {"command":"sso_plugin_getGuid"}`));
    expect(() => fake.postMessage(kToken)).toThrow(RecordingDifference);
    try {
      call(kGuid);
    } catch (error) {
      expect((error as Error).name).toBe("RecordingDifference");
    }
  });

  it("names what the page has not sent", () => {
    const { fake } = openPage({ recording: kRecording });
    fake.postMessage(kLogin);
    fake.postMessage(kToken);
    expect(() => fake.assertDone()).toThrow(new Error([
      "the fake is not done:",
      `  line 8, sent blocking: {"command":"sso_plugin_getGuid"}: recorded, not sent`,
      `  line 11, posted: {"data":{"$type":"arraybuffer","bytes":[1,2]}}: recorded, not sent`,
      `  line 13, sent blocking: {"command":"sso_plugin_getSSOState"}: recorded, not sent`,
      `  line 16, posted: {"command":"sso_plugin_createAccount"}: recorded, not sent`,
    ].join("\n")));
  });

  it("leaves out what may differ, where it is at all", async () => {
    const { fake, post } = openPage({ recording: kRecording, ignore: ["secret", "data"] });
    expect(await post({ ...kLogin, data: "other" }, { ...kToken, secret: "other" })).toEqual([kTokenAnswer]);
    const { secret: _, ...without } = kToken;
    const other = createFakeEmbed({ recording: recordingOf(["async", "request", kToken]), ignore: ["secret"] });
    expect(() => other.postMessage(without)).toThrow(`"secret": recorded "demo-secret", came nothing`);
    expect(fake.requests).toHaveLength(2);
  });

  it("takes the messages of one element", () => {
    const one = recordingOf(["blocking", "request", kGuid], ["blocking", "answer", 1]);
    const other = recordingOf(["blocking", "request", kGuid], ["blocking", "answer", 2]);
    const two = `${one}\n${other.replace(/"instance":1/g, '"instance":2')}`;
    expect(openPage({ recording: two, instance: 1 }).call(kGuid)).toBe(1);
    expect(openPage({ recording: two, instance: 2 }).call(kGuid)).toBe(2);
    expect(complaint(two)).toBe(`TypeError: recording: has the elements 1, 2; the option "instance" takes one`);
    expect(complaint(two, { instance: 3 })).toBe("TypeError: recording: has no element 3");
  });

  it("may hold lines that say nothing, and nothing else", () => {
    expect(complaint(`\ufeff# of monday\r\n\r\n  // more\r\n${recordingOf(["async", "request", {}])}\r\n`)).toBe("");
    expect(complaint("")).toBe("TypeError: recording: is empty");
    expect(complaint("\n{")).toBe("TypeError: recording: line 2 is not JSON");
    expect(complaint("7")).toBe("TypeError: recording: line 1 is no object");
    for (const line of [{ call: kGuid }, { path: "async" }, { path: "sync", request: {} }]) {
      expect(complaint(JSON.stringify(line)))
        .toBe("TypeError: recording: line 1 is no request and no answer, as --messages writes them");
    }
  });

  it("lets a plug-in that had gone be gone", () => {
    const { call } = openPage({ recording: recordingOf(["blocking", "request", kGuid]) });
    expect(() => call(kGuid)).toThrow("The plug-in does not reply: it is not there.");
  });

  it("says all that comes", () => {
    const { fake } = openPage({ recording: kRecording });
    expect(() => fake.next("getGuid", { value: "" })).toThrow(new TypeError("a recording says all that comes"));
    expect(() => fake.hold("addMapping")).toThrow(new TypeError("a recording says all that comes"));
  });

  it("may begin with a message", async () => {
    const { messages, post } = openPage({ recording: recordingOf(
      ["blocking", "answer", 1], ["async", "answer", "hello"], ["async", "request", {}]) });
    expect(await post({})).toEqual(["hello"]);
    expect(messages).toEqual(["hello"]);
  });
});

describe("the time that a recorded answer takes", () => {
  beforeEach(() => vi.useFakeTimers());
  afterEach(() => vi.useRealTimers());

  it("is that since the request before it", () => {
    const fake = createFakeEmbed({ recording: kRecording });
    const begin = Date.now();
    const came: unknown[] = [];
    fake.addEventListener("message", ({ data }) => came.push([Date.now() - begin, data]));
    fake.postMessage(kLogin);
    fake.postMessage(kToken);
    vi.advanceTimersByTime(1000);
    expect(came).toEqual([[103, kTokenAnswer]]);
    fake.postMessageAndAwaitResponse(kGuid);
    fake.postMessage(kOdd);
    vi.advanceTimersByTime(1000);
    expect(came.slice(1)).toEqual([[1399, kLoginAnswer], [1399, kNoCommand]]);
  });

  it("is none in a recording without times", () => {
    const fake = createFakeEmbed({ recording:
      `{"instance":1,"path":"async","request":{}}\n{"instance":1,"path":"async","answer":1,"time":"soon"}` });
    const came: unknown[] = [];
    fake.addEventListener("message", ({ data }) => came.push(data));
    fake.postMessage({});
    vi.advanceTimersByTime(0);
    expect(came).toEqual([1]);
  });
});

describe("a recorded value", () => {
  it.each([
    ["7", 7], ["null", null], ['"x"', "x"], ["[1,[true]]", [1, [true]]],
    ['{"a":{"b":1},"c":2}', { c: 2, a: { b: 1 } }], ['[{"a":1,"b":2}]', [{ b: 2, a: 1 }]],
    ['{"$type":"undefined"}', undefined],
    ['{"$type":"double","value":"NaN"}', NaN],
    ['{"$type":"double","value":"-Infinity"}', -Infinity],
    ['{"$type":"double","value":"-0"}', -0],
    ['{"$type":"dictionary","value":{"$type":"undefined"}}', { $type: "undefined" }],
  ])("%s", (text, value) => {
    expect(toRecorded(value)).toBe(text);
    expect(fromRecorded(JSON.parse(text))).toEqual(value);
  });

  it("may be a buffer", () => {
    const text = '{"$type":"arraybuffer","bytes":[0,255]}';
    expect(toRecorded(Uint8Array.of(0, 255).buffer)).toBe(text);
    expect(new Uint8Array(fromRecorded(JSON.parse(text)) as ArrayBuffer)).toEqual(Uint8Array.of(0, 255));
    expect(fromRecorded([JSON.parse(text)])).toEqual([expect.any(ArrayBuffer)]);
  });

  it("may be a whole number that was a fraction", () => {
    expect(fromRecorded({ $type: "double", value: 1.0 })).toBe(1);
  });
});

describe("a recording with pseudonyms", () => {
  const kPseudonyms = treeFile("web/client/test/testing/recordings/pseudonyms.jsonl");
  const kAdd = {
    command: "sso_plugin_addPartnerAccountMappingInfo", appID: "my-app", cpName: "my-client", cpUID: "me",
  };
  const kToken = { command: "sso_plugin_getZEVAccessToken", id: "my-client", secret: "my-secret" };
  const kMappings = { command: "sso_plugin_getPartnerAccountMappingList", appID: "my-app", cpName: "" };
  const kOdd = {
    command: "sso_plugin_signOut", zebra: "guid-1", apple: [1.5, 7, 7, true, null], buffer: new ArrayBuffer(2),
  };

  it("takes the page's own texts, and gives them back", async () => {
    const { fake, post, call } = openPage({ recording: kPseudonyms });
    expect(await post(kToken)).toEqual([{ command: kToken.command, status: 0, token: "token-1" }]);
    expect(await post(kAdd)).toEqual([{ command: kAdd.command, status: 0, result: 0 }]);
    expect(JSON.parse((await post(kMappings))[0].PartnerAccountInfo)).toEqual([
      { appID: "my-app", cpName: "cpName-1", cpUID: "cpUID-2" },
      { appID: "my-app", cpName: "cpName-2", cpUID: "cpUID-3" },
      { appID: "my-app", cpName: "my-client", cpUID: "me" },
    ]);
    expect(call(kState).value).toBe("loginId-1?token-2?uid-1?guid-1");
    expect(call(kOdd).code).toBe(18);
    expect(await post({ ...kLogin, data: "token-1" })).toEqual([kLoginAnswer]);
    fake.assertDone();
  });

  it("tells a text that was another one, or the same as one", async () => {
    const { fake, post, call } = openPage({ recording: kPseudonyms });
    await post(kToken);
    expect(() => fake.postMessage({ ...kAdd, cpName: "other" })).toThrow(`"cpName": recorded "id-1", came "other"`);
    expect(() => fake.postMessage({ ...kAdd, cpUID: "my-secret" }))
      .toThrow(`"cpUID": recorded "cpUID-1", came "secret-1"`);
    expect(() => fake.postMessage({ ...kAdd, cpUID: "" })).toThrow(`"cpUID": recorded "cpUID-1", came ""`);
    expect(() => fake.postMessage({ ...kAdd, cpUID: 7 })).toThrow(`"cpUID": recorded "cpUID-1", came 7`);
    expect(() => fake.postMessage({ ...kToken, appID: "a" })).toThrow(`"command": recorded`);
    // What a difference took for granted is forgotten.
    await post({ ...kAdd, cpUID: "you" });
    await post(kMappings);
    expect(() => call({ command: "sso_plugin_getGuid" })).toThrow(`"command": recorded "sso_plugin_getSSOState"`);
    call(kState);
    for (const [key, value] of [["apple", [1.5, 7, 8, true, null]], ["apple", [2, 7, 7, true, null]], ["apple", "x"],
      ["apple", [1.5, 7, 7, false, null]], ["buffer", new ArrayBuffer(3)], ["zebra", "token-1"], ["more", 1],
    ] as const) {
      expect(() => call({ ...kOdd, [key]: value }), `${key}`).toThrow(RecordingDifference);
    }
    expect(() => call({ ...kOdd, command: kState.command })).toThrow(RecordingDifference);
    call(kOdd);
  });

  it("leaves what is no text alone", () => {
    const recording = [["request", {}], ["answer", 7], ["answer", "id-1"], ["answer", { a: "7", b: [1] }]]
      .map(([what, value]) => ({ instance: 1, path: "async", [what as string]: value, pseudonyms: true }))
      .map(line => JSON.stringify(line)).join("\n");
    const page = openPage({ recording });
    return expect(page.post({})).resolves.toEqual([7, "id-1", { a: "7", b: [1] }]);
  });
});
