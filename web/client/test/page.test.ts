import { afterEach, describe, expect, test, vi } from "vitest";
import * as all from "../src/index.js";
import { PageEmbed } from "./plain_embed.js";

const { SSOClient } = all;

afterEach(() => vi.unstubAllGlobals());

/** A document that makes one element, and a container that takes it. */
function stubPage() {
  const embed = new PageEmbed();
  const made: string[] = [];
  const taken: unknown[] = [];
  vi.stubGlobal("document", { createElement: (name: string) => (made.push(name), embed) });
  const container: any = { appendChild: (element: unknown) => (taken.push(element), element) };
  return { embed, made, taken, container };
}

describe("create()", () => {
  test("puts an element of one pixel into the container", async () => {
    const { embed, made, taken, container } = stubPage();
    const client = SSOClient.create({ container });
    expect([made, taken]).toEqual([["embed"], [embed]]);
    expect(embed).toMatchObject({ type: "application/x-sso-plugin", width: 1, height: 1 });
    expect(client.embed).toBe(embed);
    await expect(client.ready()).resolves.toBe("1.1");
  });

  test("takes the client's options", async () => {
    const { container } = stubPage();
    const client = SSOClient.create({ container, version: "1.2" });
    await expect(client.ready()).rejects.toMatchObject({ code: "wrong-version" });
  });

  test("makes an element that dispose() takes away, again and again", () => {
    const { embed, container } = stubPage();
    const client = SSOClient.create({ container });
    client.dispose();
    client.dispose();
    expect([embed.removed, embed.listeners.size]).toEqual([2, 0]);
  });
});

test("attach() uses an element that dispose() leaves in the page", () => {
  const embed = new PageEmbed();
  const client = SSOClient.attach(embed);
  expect([client.embed, embed.listeners.size]).toEqual([embed, 1]);
  client.dispose();
  expect([embed.removed, embed.listeners.size]).toEqual([0, 0]);
});

test.each([["application/x-sso-plugin", true], ["application/pdf", false]])(
  "isSupported() is, in a browser that has %s, %s", (type, isSupported) => {
    vi.stubGlobal("navigator", { mimeTypes: { [type]: {} } });
    expect(SSOClient.isSupported()).toBe(isSupported);
  });

test("the numbers of the desk have names", () => {
  expect(all.PopupState).toEqual({ done: 0, closed: 1, failed: 2, ended: 3 });
  expect(all.ChangeResult).toEqual({ done: 0, signedOut: -2, ended: -3, empty: -4, unknown: -5, duplicate: -6 });
});
