// What must not compile. It is compiled with the tests, and never run.
import { createFakeEmbed, type FakeEmbed } from "../../src/testing/index.js";
import type { Embed } from "../../src/index.js";

export function mistakes(fake: FakeEmbed): Embed {
  // @ts-expect-error  there is no such preset
  createFakeEmbed({ preset: "signedin" });
  // @ts-expect-error  there is no such privilege
  createFakeEmbed({ privileges: ["partner"] });
  // @ts-expect-error  there is no such member
  createFakeEmbed({ account: { acount: {} } });
  // @ts-expect-error  there is no such function of the device's
  createFakeEmbed({ account: { unavailable: ["sso_get_uid"] } });
  // @ts-expect-error  there is no such method
  fake.next("signOut", {});
  // @ts-expect-error  a token is a text
  fake.next("getAccessToken", { token: 1 });
  // @ts-expect-error  it has another outcome
  fake.next("getAccessToken", { state: 1 });
  // @ts-expect-error  what blocks takes no time
  fake.next("getGuid", { delay: 1 });
  // @ts-expect-error  what blocks cannot wait
  fake.hold("getGuid");
  // @ts-expect-error  it has another outcome
  fake.hold("addMapping").release({ token: "" });
  return fake;
}
