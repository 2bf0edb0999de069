import { SSOClient } from "sso-client";
import { createFakeEmbed } from "sso-client/testing";
import { expect, test } from "vitest";
import { explain, signIn } from "./session.js";

const client = { id: "demo-client", secret: "demo-secret" };

test("somebody who is signed in gets a session", async () => {
  const sso = SSOClient.attach(createFakeEmbed({ preset: "signed-in", delays: false }));
  expect(await signIn(sso, client)).toEqual({ uid: "uid-robin", token: "access-token-of-demo-client" });
});

test("somebody who closes the login page gets none", async () => {
  const fake = createFakeEmbed({ preset: "signed-out", delays: false }).next("showLoginPage", { state: 1 });
  expect(await signIn(SSOClient.attach(fake), client)).toBeNull();
});

test("what failed is explained", async () => {
  const fake = createFakeEmbed({ delays: false }).next("getAccessToken", { notStarted: true });
  const error = await signIn(SSOClient.attach(fake), client).catch(error => error);
  expect(explain(error)).toBe("The account cannot be reached now. Try again.");
});
