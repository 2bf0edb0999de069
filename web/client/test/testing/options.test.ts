// A mistake in what a fake is made of is told with its place.
import { describe, expect, it } from "vitest";
import { createFakeEmbed, presets, type FakeOptions } from "../../src/testing/index.js";
import { treeFile } from "./files.mjs";

const kRobin = { loginId: "robin", uid: "u", guid: "g", authToken: "a" };
const kClient = { id: "c", secret: "s", token: "t" };
const kMapping = { appID: "a", cpName: "b", cpUID: "c" };

function complaint(options: unknown): string {
  try {
    createFakeEmbed(options as FakeOptions);
    return "";
  } catch (error) {
    return String(error);
  }
}

describe("an account", () => {
  it.each([
    [{ acount: kRobin }, `account has "acount", which is none of its members`],
    [[], "account must be an object"],
    [null, ""],
    [{ account: { ...kRobin, uid: undefined } }, `account: account lacks "uid"`],
    [{ account: { ...kRobin, uid: 7 } }, "account: account.uid must be a text"],
    [{ account: { ...kRobin, uid: "a\0" } }, "account: account.uid must not hold a NUL"],
    [{ account: { ...kRobin, uid: "ä".repeat(128) } }, "account: account.uid must not be longer than 255 bytes"],
    [{ account: { ...kRobin, uid: "ä".repeat(127) + "u" } }, ""],
    [{ account: null }, "account: account must be an object"],
    [{ signedIn: true }, "account: signedIn must be false"],
    [{ signedIn: true, accounts: [] }, "account: signedIn must not be true without an account"],
    [{ account: kRobin, signedIn: "no" }, "account: signedIn must be true or false"],
    [{ account: kRobin, signedIn: false, signedInAs: "robin" },
      "account: signedInAs must not be there when nobody is signed in"],
    [{ account: kRobin, signedInAs: "kim" }, "account: signedInAs is no account's here"],
    [{ account: kRobin, accounts: [kRobin] }, "account: a loginId is there twice"],
    [{ clients: [kClient, { ...kClient, secret: "x" }] }, "account: clients[1].id is there twice"],
    [{ clients: [{ id: "c", secret: "s" }] }, `account: clients[0] lacks "token"`],
    [{ clients: [{ ...kClient, lifetimeSeconds: 1.5 }] }, "account: clients[0].lifetimeSeconds must be a whole number"],
    [{ clients: [{ ...kClient, lifetimeSeconds: -1 }] },
      "account: clients[0].lifetimeSeconds must be from 0 to 1000000000"],
    [{ clients: {} }, "account: clients must be an array"],
    [{ mappings: [kMapping, { cpUID: "c", cpName: "b", appID: "a" }] }, "account: mappings[1] is there twice"],
    [{ mappings: [{ ...kMapping, cpUID: "" }] }, "account: mappings[0].cpUID must not be empty"],
    [{ terms: { "x": "agreed", "y": {} } }, ""],
    [{ terms: { "a.b": "agred" } }, `account: terms.a.b must be "agreed" or "notAgreed"`],
    [{ terms: { "x": { version: 1 } } }, "account: terms.x.version must be a text"],
    [{ terms: { "x\0": "agreed" } }, "account: terms.x\0 must not hold a NUL"],
    [{ popups: { login: { state: "close" } } },
      `account: popups.login.state must be "completed" or "closed" or "failed"`],
    [{ popups: { login: { delayMs: 600001 } } }, "account: popups.login.delayMs must be from 0 to 600000"],
    [{ requestDelayMs: 600000 }, ""],
    [{ account: kRobin, clients: [kClient], tokens: [{ loginId: "kim", client: "c", token: "t" }] },
      "account: tokens[0].loginId is no account's here"],
    [{ account: kRobin, clients: [kClient], tokens: [{ loginId: "robin", client: "d", token: "t" }] },
      "account: tokens[0].client is no client's id here"],
    [{ account: kRobin, clients: [kClient],
      tokens: [1, 2].map(number => ({ loginId: "robin", client: "c", token: "t", number })) },
      "account: tokens[1] is there twice"],
    [{ device: {}, orders: { sso_get_uid: {} } },
      "account: orders.sso_get_uid is no function of sso_api.h that can fail"],
    [{ account: kRobin, accounts: [{ ...kRobin, loginId: "kim" }], clients: [kClient, { ...kClient, id: "d" }],
      tokens: [["robin", "c"], ["robin", "d"], ["kim", "c"]]
        .map(([loginId, client]) => ({ loginId, client, token: "t" })) }, ""],
    [{ account: kRobin, tokens: [{ loginId: "robin", client: "c", token: "t" }] },
      "account: tokens[0].client is no client's id here"],
    [{ terms: { "a": { version: "1" }, "b": 7 } }, `account: terms.b must be "agreed" or "notAgreed"`],
    [{ device: {}, order: {} }, "account: order is none of a state's members"],
    ["signed-in", "account must be an object"],
    [{ device: { account: 7 } }, "account: account must be an object"],
  ])("%j: %s", (account, expected) => {
    expect(complaint({ account })).toBe(expected && `TypeError: ${expected}`);
  });

  it.each(["everything-fails", "signed-in", "signed-out"])("may be the example %s", name => {
    expect(complaint({ account: JSON.parse(treeFile(`account/examples/${name}.json`)) })).toBe("");
  });

  it.each(Object.keys(presets))("may be the preset %s, which is the desk's", name => {
    expect(complaint({ preset: name })).toBe("");
    expect(presets[name as "full"]).toEqual(JSON.parse(treeFile(`service/data/presets/${name}.json`)));
  });
});

describe("an option", () => {
  it("names one of what there is", () => {
    expect(complaint({ preset: "signedin" })).toBe(`TypeError: there is no preset "signedin", but ${
      "flaky, full, offline, signed-in, signed-out, slow, terms-outdated, token-expired"}`);
    expect(complaint({ preset: "toString" })).toContain(`TypeError: there is no preset "toString", but `);
    expect(complaint({ privileges: ["sso.partner", "partner"] }))
      .toBe(`TypeError: there is no privilege "partner", but sso.partner, sso.platform, sso.public`);
  });

  it("says what another one does not", () => {
    expect(complaint({ preset: "full", account: {} })).toBe(`TypeError: "account" is there instead of a preset`);
    expect(complaint({ recording: "", account: {} }))
      .toBe(`TypeError: "recording" is there instead of an account or a preset`);
    expect(complaint({ recording: "", preset: "full" }))
      .toBe(`TypeError: "recording" is there instead of an account or a preset`);
  });
});
