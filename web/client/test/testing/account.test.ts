// The accounts of a fake: what account/src/account.cpp does.
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { presets, type AccountFile, type FakeOptions } from "../../src/testing/index.js";
import { treeFile } from "./files.mjs";
import {
  kAdd, kAgreed, kCreateAccount, kGuid, kLogin, kMappings, kRemove, kState, kStatus, kTerms, kToken, kUid, openPage,
} from "./page.js";

const example = (name: string): AccountFile => JSON.parse(treeFile(`account/examples/${name}.json`));
const person = (name: string) =>
  ({ loginId: name, uid: `uid-${name}`, guid: `guid-${name}`, authToken: `auth-${name}` });

const kRobin = "robin@user.example?auth-token-of-robin?uid-robin?guid-robin";
const kToken1 = "access-token-of-demo-client";

async function outcomes(options: FakeOptions, key: string, ...requests: object[]): Promise<unknown[]> {
  return (await openPage(options).post(...requests)).map(answer => answer[key]);
}

describe("somebody", () => {
  it("is signed in by the login page, and stays when it is gone through again", async () => {
    const { fake, post, call } = openPage({ preset: "signed-out" });
    expect(call(kStatus).value).toBe(0);
    await post(kLogin);
    expect([call(kStatus).value, call(kState).value, call(kUid).value]).toEqual([1, kRobin, "uid-robin"]);
    fake.signOut();
    expect([call(kStatus).value, call(kState).value, call(kUid).value, call(kGuid).value]).toEqual([0, "", "", ""]);
    await post(kCreateAccount);
    expect(call(kGuid).value).toBe("guid-robin");
    const full = openPage({ preset: "full" });
    full.fake.signIn("kim@user.example");
    await full.post(kLogin);
    expect(full.call(kUid).value).toBe("uid-kim");
  });

  it("is signed in by a page that is gone through only", async () => {
    const account = example("signed-out");
    const { post, call } = openPage({ account });
    expect(await post(kCreateAccount)).toEqual([{ command: kCreateAccount.command, status: 0, state: 1 }]);
    expect(call(kStatus).value).toBe(0);
    // Without a text it is the page for a new account.
    expect(await post({ ...kLogin, data: "" })).toEqual([{ command: kLogin.command, status: 0, state: 1 }]);
    expect(await post(kLogin)).toEqual([{ command: kLogin.command, status: 0, state: 0 }]);
    expect(call(kStatus).value).toBe(1);
  });

  it("may be any of several", () => {
    const device: AccountFile = { account: person("one"), accounts: [person("two")] };
    expect(openPage({ account: device }).call(kUid).value).toBe("uid-one");
    expect(openPage({ account: { ...device, signedInAs: "two" } }).call(kUid).value).toBe("uid-two");
    expect(openPage({ account: { accounts: [person("two")] } }).call(kUid).value).toBe("uid-two");
    const { fake, call } = openPage({ account: { ...device, signedIn: false } });
    expect(call(kUid).value).toBe("");
    fake.signIn();
    expect(call(kUid).value).toBe("uid-one");
    fake.signIn("two");
    expect(call(kUid).value).toBe("uid-two");
    expect(() => fake.signIn("three")).toThrow(new TypeError("there is no account three"));
    expect(call(kUid).value).toBe("uid-two");
    expect(() => openPage({ account: {} }).fake.signIn()).toThrow(new TypeError("there is no account"));
  });
});

describe("terms", () => {
  it("are agreed to by their page, in the version that is shown", async () => {
    const { fake, post, call } = openPage({ preset: "terms-outdated" });
    expect(call(kAgreed).value).toBe(0);
    expect(call({ ...kAgreed, termsId: "terms-2" }).value).toBe(1);
    fake.next("showTermsPage", { state: 1 });
    await post(kTerms);
    expect(call(kAgreed).value).toBe(0);
    await post(kTerms);
    expect(call(kAgreed).value).toBe(1);
    fake.signOut();
    expect(call(kAgreed).value).toBe(0);
  });

  it("are not agreed to by nobody, and not when nobody knows them", async () => {
    const { fake, post, call } = openPage({ preset: "signed-out" });
    await post(kTerms, { ...kTerms, termsId: "constructor" });
    fake.signIn();
    expect(call(kAgreed).value).toBe(0);
    expect(call({ ...kAgreed, termsId: "constructor" }).value).toBe(0);
  });

  it("have a first version, which the first account may have agreed to", () => {
    const terms = {
      "a": "agreed", "b": "notAgreed", "c": { agreedVersion: "1" }, "d": { version: "", agreedVersion: "" },
    } as const;
    const { fake, call } = openPage({ account: {
      account: person("one"), terms, accounts: [{ ...person("two"), agreements: { b: "1", c: "2" } }],
    } });
    const agreed = (): number[] => ["a", "b", "c", "d"].map(termsId => call({ ...kAgreed, termsId }).value);
    expect(agreed()).toEqual([1, 0, 1, 1]);
    fake.signIn("two");
    expect(agreed()).toEqual([0, 1, 0, 0]);
  });
});

describe("a token", () => {
  beforeEach(() => vi.useFakeTimers({ now: 1e12, toFake: ["Date"] }));
  afterEach(() => vi.useRealTimers());

  it("is the client's until it expires, and then the next", async () => {
    const { post } = openPage();
    const token = async (): Promise<string> => (await post(kToken))[0].token;
    expect(await token()).toBe(kToken1);
    vi.setSystemTime(1e12 + 86400000 - 1);
    expect(await token()).toBe(kToken1);
    vi.setSystemTime(1e12 + 86400000);
    expect(await token()).toBe(`${kToken1}-2`);
    expect(await token()).toBe(`${kToken1}-2`);
    vi.setSystemTime(1e12 + 2 * 86400000);
    expect(await token()).toBe(`${kToken1}-3`);
  });

  it("is each user's own", async () => {
    const { fake, post } = openPage({ preset: "full" });
    fake.signIn("kim@user.example");
    expect((await post(kToken, kToken)).map(({ token }) => token))
      .toEqual([`${kToken1}-uid-kim`, `${kToken1}-uid-kim`]);
    fake.signIn("robin@user.example");
    expect((await post(kToken))[0].token).toBe(kToken1);
  });

  it("that a client has had stays good without an expiry", async () => {
    const device = { ...presets["signed-in"].device };
    device.tokens = [{ loginId: "robin@user.example", client: "demo-client", token: "had", number: 4 }];
    expect(await outcomes({ account: device }, "token", kToken)).toEqual(["had"]);
    device.tokens = [{ ...device.tokens[0]!, expiry: 1e12 }];
    expect(await outcomes({ account: device }, "token", kToken)).toEqual([`${kToken1}-5`]);
    device.tokens = [{ ...device.tokens[0]!, expiry: 1e12 + 1 }];
    expect(await outcomes({ account: device }, "token", kToken)).toEqual(["had"]);
    expect(await outcomes({ account: { device, clockAdvancedMs: 1 } }, "token", kToken)).toEqual([`${kToken1}-5`]);
  });

  it("is not given to strangers", async () => {
    expect(await outcomes({}, "token", { ...kToken, secret: "x" }, { ...kToken, id: "x" }, { ...kToken, id: "" }))
      .toEqual(["", "", ""]);
    expect(await outcomes({ preset: "signed-out" }, "token", kToken)).toEqual([""]);
  });
});

describe("mappings", () => {
  const of = (...texts: string[]): string =>
    JSON.stringify(texts.map(text => text.split("/")).map(([cpName, cpUID]) => ({ appID: "demo-app", cpName, cpUID })));

  it("are listed the oldest first; one that comes back is the youngest", async () => {
    const { post } = openPage({ account: example("signed-in") });
    const first = ["demo-partner/user-0", "other-partner/robin@partner.example"];
    const list = async (more: object = {}): Promise<string> =>
      (await post({ ...kMappings, ...more }))[0].PartnerAccountInfo;
    expect(await list()).toBe(of(...first));
    const changes = await post(kAdd, { ...kRemove, cpUID: "user-0" }, { ...kAdd, cpUID: "user-0" });
    expect(changes.map(({ result }) => result)).toEqual([0, 0, 0]);
    expect(await list()).toBe(of("other-partner/robin@partner.example", "demo-partner/user-1", "demo-partner/user-0"));
    expect(await list({ cpName: "demo-partner" })).toBe(of("demo-partner/user-1", "demo-partner/user-0"));
    expect(await list({ cpName: "nobody" })).toBe("[]");
    expect(await list({ appID: "other-app" })).toBe("[]");
  });

  it("are there once, and have no empty text", async () => {
    expect(await outcomes({}, "result", kAdd, kAdd, { ...kAdd, cpUID: "" }, { ...kAdd, cpName: "" },
      { ...kAdd, appID: "" }, { ...kAdd, appID: "\0x" })).toEqual([0, -6, -4, -4, -4, -4]);
  });

  it("go one by one, or all with a partner", async () => {
    const all = { ...kRemove, cpUID: "" };
    expect(await outcomes({}, "result", kAdd, { ...kRemove, cpUID: "user-9" }, { ...all, cpName: "" }, kRemove,
      kRemove, kAdd, all, all)).toEqual([0, -5, -5, 0, -5, 0, 0, -5]);
  });

  it("are each user's own, and nobody's", async () => {
    const { fake, post } = openPage({ preset: "full" });
    fake.signIn("kim@user.example");
    expect((await post(kMappings))[0].PartnerAccountInfo).toBe(of("demo-partner/user-kim"));
    fake.signOut();
    const { command: _, ...list } = (await post(kMappings))[0];
    expect(list).toEqual({ status: 0, PartnerAccountInfo: "" });
    expect((await post(kAdd, { ...kAdd, cpUID: "" }, kRemove)).map(({ result }) => result)).toEqual([-2, -2, -2]);
  });

  it("are the fake's own: what the page does to one is not in the next", async () => {
    const account = example("signed-in");
    await openPage({ account }).post(kAdd, { ...kRemove, cpUID: "user-0" });
    expect(account).toEqual(example("signed-in"));
    const { fake, call } = openPage({ account });
    account.account!.uid = "changed";
    account.popups!.terms = { state: "closed" };
    expect(call(kUid).value).toBe("uid-robin");
    fake.signOut();
    fake.signIn();
    expect(call(kUid).value).toBe("uid-robin");
    account.account!.uid = "uid-robin";
    expect((await openPage({ account }).post(kMappings))[0].PartnerAccountInfo)
      .toBe(of("demo-partner/user-0", "other-partner/robin@partner.example"));
  });
});

describe("a service that cannot be reached", () => {
  it("starts nothing and tells nothing", async () => {
    const { post, call } = openPage({ account: example("everything-fails") });
    const answers = await post(kLogin, kTerms, kToken, kMappings, kAdd, kRemove);
    expect(answers.map(({ errorMessage }) => errorMessage)).toEqual([
      "show login failed", "show terms page failed", "request access token failed",
      "get cp account mapping list failed",
      "add cp account mapping info failed", "remove cp account mapping info failed",
    ]);
    expect([kState, kGuid, kUid, kStatus, kAgreed].map(request => call(request).value)).toEqual(["", "", "", 0, 0]);
  });
});

describe("the preset flaky", () => {
  it("fails each function once", async () => {
    const { post, call } = openPage({ preset: "flaky" });
    const twice = async (request: object, key: string): Promise<unknown[]> =>
      [(await post(request))[0][key], (await post(request))[0][key]];
    expect(await twice(kLogin, "state")).toEqual([2, 0]);
    expect(await twice(kCreateAccount, "state")).toEqual([0, 0]);  // the same function
    expect(await twice(kTerms, "state")).toEqual([2, 0]);
    expect(await twice(kToken, "token")).toEqual(["", kToken1]);
    expect(await twice(kMappings, "PartnerAccountInfo")).toEqual(["", of0]);
    expect(await twice(kAdd, "result")).toEqual([-7, 0]);
    expect(await twice(kRemove, "result")).toEqual([-7, 0]);
    expect([call(kStatus).value, call(kStatus).value]).toEqual([0, 1]);
    expect([call(kAgreed).value, call(kAgreed).value]).toEqual([0, 1]);
  });

  it("fails the state of the account three times: it asks for three things", () => {
    const { call } = openPage({ preset: "flaky" });
    expect([1, 2, 3, 4].map(() => call(kState).value)).toEqual(["", "", "", kRobin]);
    expect([call(kUid).value, call(kGuid).value]).toEqual(["uid-robin", "guid-robin"]);
  });

  const of0 = '[{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-0"}]';
});

describe("orders", () => {
  it("may forbid a start, for good or so often", async () => {
    const orders = { sso_request_access_token: { failure: -1, times: 2 }, sso_get_guid: { failure: -1 } };
    const { post, call } = openPage({ account: { ...presets["signed-in"], orders } });
    const notStarted =
      { command: kToken.command, status: -1, errorName: "error", errorMessage: "request access token failed" };
    expect(await post(kToken, kToken, kToken)).toEqual(
      [notStarted, notStarted, { command: kToken.command, status: 0, token: kToken1 }]);
    expect([call(kGuid).value, call(kGuid).value]).toEqual(["", ""]);
  });

  it("are used up by the fake alone", async () => {
    expect(await outcomes({ preset: "flaky" }, "token", kToken, kToken)).toEqual(["", kToken1]);
    expect(await outcomes({ preset: "flaky" }, "token", kToken)).toEqual([""]);
  });

  it("may let things hang: pages for ever, queries cannot tell, and requests fail in the end", async () => {
    const hangs = { hangs: true };
    const orders = {
      sso_show: hangs, sso_get_guid: hangs, sso_request_access_token: hangs, sso_add_cp_account_mapping_info: hangs,
    };
    const { post, call } = openPage({ account: { ...presets["signed-in"], orders } });
    expect(call(kGuid).value).toBe("");
    expect(await post(kLogin, kToken, kAdd)).toEqual([
      { command: kToken.command, status: 0, token: "" },
      { command: kAdd.command, status: 0, result: -7 },
    ]);
  });
});
