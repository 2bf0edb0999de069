// An application's tests, with the client on the fake.
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { SSOClient, SSOError } from "../../src/index.js";
import { createFakeEmbed } from "../../src/testing/index.js";
import { treeFile } from "./files.mjs";

const kDemo = { id: "demo-client", secret: "demo-secret" };

const failure = async (call: Promise<unknown>): Promise<SSOError> => call.then(
  () => expect.fail("it succeeds"), error => error);

describe("a client of a fake", () => {
  it("gets what the account has", async () => {
    const client = SSOClient.attach(createFakeEmbed({ delays: false }));
    expect(await client.ready()).toBe("1.1");
    expect(await client.getAccessToken(kDemo)).toBe("access-token-of-demo-client");
    expect(await client.getMappings({ appID: "demo-app" })).toEqual({
      list: [{ appID: "demo-app", cpName: "demo-partner", cpUID: "user-0" }],
      raw: '[{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-0"}]',
    });
    expect(client.getGuidSync()).toBe("guid-robin");
    expect(await client.showTermsPage({ termsId: "terms-1", callerId: "demo" })).toEqual({ state: 0 });
  });

  it("fails as it is told to", async () => {
    const fake = createFakeEmbed({ delays: false });
    const client = SSOClient.attach(fake);
    fake.next("getAccessToken", { token: "" }).next("getAccessToken", { notStarted: true });
    expect((await failure(client.getAccessToken(kDemo))).code).toBe("not-granted");
    expect((await failure(client.getAccessToken(kDemo))).code).toBe("not-started");
    fake.assertDone();
  });

  it("is told that the plug-in has gone, and recovers", async () => {
    const fake = createFakeEmbed({ delays: false });
    const client = SSOClient.attach(fake);
    await client.ready();
    fake.die();
    expect((await failure(client.getGuid())).code).toBe("plug-in-gone");
    expect(await client.recover()).toBe("1.1");
    expect(await client.getGuid()).toBe("guid-robin");
  });

  it("tells why there is no plug-in", async () => {
    const fake = createFakeEmbed();
    const client = SSOClient.attach(fake);
    fake.hide();
    expect((await failure(client.createAccount())).code).toBe("not-shown");
    fake.show();
    fake.uninstall();
    expect((await failure(client.createAccount())).code).toBe("not-installed");
  });

  it("goes through a recording", async () => {
    const recording = treeFile("web/client/test/testing/recordings/partner.jsonl");
    const fake = createFakeEmbed({ recording, delays: false });
    const client = SSOClient.attach(fake);
    await client.ready();
    const login = client.showLoginPage({ data: "login" });
    expect(await client.getAccessToken(kDemo)).toBe("access-token-of-demo-client");
    expect(await client.getGuid()).toBe("guid-robin");
    expect(await login).toEqual({ state: 0 });
    const error = await failure(client.addMapping({ appID: "a", cpName: "b", cpUID: "c" }));
    expect(String(error.cause)).toContain("the request differs from line 11 of the recording");
  });
});

describe("a client of a fake whose time is the test's", () => {
  beforeEach(() => vi.useFakeTimers());
  afterEach(() => vi.useRealTimers());

  it("times out", async () => {
    const client = SSOClient.attach(createFakeEmbed({ preset: "slow" }));
    const error = failure(client.getAccessToken(kDemo, { timeout: 2000 }));
    await vi.advanceTimersByTimeAsync(2000);
    expect((await error).code).toBe("timed-out");
    const token = client.getAccessToken(kDemo);
    await vi.advanceTimersByTimeAsync(4000);
    expect(await token).toBe("access-token-of-demo-client");
  });
});
