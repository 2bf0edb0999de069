import { describe, expect, it } from "vitest";
import { Pseudonyms } from "../../src/testing/pseudonyms.js";

/** What requests are recorded as, one after the other, each beside the one that it may be. */
function translated(...pairs: [recorded: unknown, real: unknown][]): unknown[] {
  const pseudonyms = new Pseudonyms();
  return pairs.map(([recorded, real]) => {
    const { value, keep } = pseudonyms.translate(recorded, real);
    keep();
    return value;
  });
}

describe("a text", () => {
  it("is what stands in its place, once and for all", () => {
    expect(translated(
      [["a-1", "b-1"], ["x", "y"]], [["b-1", "a-1", "c-1"], ["y", "x", "x"]], ["c-1", "z"], ["a-1", "w"]))
      .toEqual([["a-1", "b-1"], ["b-1", "a-1", "a-1"], "c-1", "w"]);
  });

  it("is not empty, and nothing else", () => {
    expect(translated(["", "x"], ["a-1", ""], ["a-1", 7], ["a-1", null], [7, "x"], [null, "x"], [undefined, "x"]))
      .toEqual(["x", "", 7, null, "x", "x", "x"]);
  });
});

describe("a number", () => {
  it("stands for another one, a fraction for a fraction", () => {
    expect(translated([[1, 1.5], [700, 0.25]], [[1, 1, 1.5], [700, 701, 0.25]], [2, 2.5], [2.5, 2], [0, 0]))
      .toEqual([[1, 1.5], [1, 701, 1.5], 2.5, 2, 0]);
  });

  it("that is odd stays", () => {
    expect(translated([1, NaN], [1, Infinity], [1, -0], [NaN, 1], [Infinity, 2], [-0, 3]))
      .toEqual([NaN, Infinity, -0, 1, 2, 3]);
  });
});

describe("a request", () => {
  it("keeps the name of a command, and has another one's pseudonym", () => {
    const command = "sso_plugin_getGuid";
    expect(translated(
      [{ command: "x-1" }, { command }], [{ command: "x-1" }, { command: "mine" }],
      [{ data: "y-1" }, { data: command }]))
      .toEqual([{ command }, { command: "x-1" }, { data: "y-1" }]);
  });

  it("keeps the keys that the protocol knows", () => {
    for (const key of ["command", "errorName", "errorMessage", "status", "code", "data", "id", "secret", "termsId",
      "callerId", "appID", "cpName", "cpUID", "state", "token", "PartnerAccountInfo", "result", "value"]) {
      expect(translated([{ "key-1": "a-1" }, { [key]: "x" }])).toEqual([{ [key]: "x" }]);
    }
    expect(translated([{ "key-1": "a-1", "key-2": "b-1" }, { zebra: "x", apple: "y", zoo: "w" }]))
      .toEqual([{ "key-2": "b-1", "key-1": "a-1", zoo: "w" }]);
  });

  it("has buffers of zeros", () => {
    const buffers = translated([new ArrayBuffer(2), Uint8Array.of(1, 2).buffer], ["x", Uint8Array.of(1).buffer]);
    // Buffers alone are all alike.
    expect(buffers.map(buffer => new Uint8Array(buffer as ArrayBuffer)))
      .toEqual([Uint8Array.of(0, 0), Uint8Array.of(0)]);
  });

  it("that was another one teaches nothing", () => {
    const pseudonyms = new Pseudonyms();
    pseudonyms.translate("a-1", "x");
    expect(pseudonyms.restore("a-1")).toBe("a-1");
  });
});

describe("an answer", () => {
  it("has the page's own texts, as a whole, in parts and in JSON", () => {
    const pseudonyms = new Pseudonyms();
    pseudonyms.translate(["a-1", "b-22"], ["x", "y"]).keep();
    const texts = ["a-1", "c-1?a-1?b-22", '[{"a-1":["a-1",1,"c-1"]}]', '{"a":"b-22"}', "a-1 b-22", "1", '"a-1"'];
    expect(texts.map(text => pseudonyms.restore(text)))
      .toEqual(["x", "c-1?x?y", '[{"a-1":["x",1,"c-1"]}]', '{"a":"y"}', "a-1 b-22", "1", '"a-1"']);
    expect(pseudonyms.restore({ token: "a-1", more: { token: "a-1" }, list: ["a-1"], status: 0 }))
      .toEqual({ token: "x", more: { token: "a-1" }, list: ["a-1"], status: 0 });
    expect([7, null, undefined, ["a-1"]].map(value => pseudonyms.restore(value)))
      .toEqual([7, null, undefined, ["a-1"]]);
  });

  it("has pseudonyms that are the page's from now on, and other texts that are not", () => {
    const pseudonyms = new Pseudonyms();
    pseudonyms.restore(["token-12", "a b-1", "a-1b", "guid-3"].join("?"));
    expect(["token-12", "a b-1", "a-1b"].map(text => pseudonyms.translate("z-1", text).value))
      .toEqual(["token-12", "z-1", "z-1"]);
    expect(pseudonyms.translate("guid-3", "x").value).toBe("x");
  });
});
