// What the client keeps on every page: on the fake, in front of sso-host, and in the real browser. Without a test framework, so
// that it runs in each. The account is account/examples/signed-in.json; what a case changes it changes back.
import { SSOClient, SSOError, type CallOptions, type ClientOptions, type Embed } from "sso-client";

/** A page with the plug-in in it, and an application that holds sso.partner, but not sso.platform. */
export interface Page {
  /** The element. Each case has one of its own. */
  embed(): Embed;
}

type Case = (sso: SSOClient, page: Page) => Promise<void>;

function equal(found: unknown, wanted: unknown): void {
  const [a, b] = [JSON.stringify(found), JSON.stringify(wanted)];
  if (a !== b) throw new Error(`it is ${a}, and should be ${b}`);
}

async function failureOf(call: Promise<unknown>): Promise<SSOError> {
  const error = await call.then(
    value => {
      throw new Error(`it resolves to ${JSON.stringify(value)}`);
    },
    error => error,
  );
  if (!(error instanceof SSOError)) throw error;
  return error;
}

const kClient = { id: "demo-client", secret: "demo-secret" };
const kApp = { appID: "demo-app", cpName: "demo-partner" };
const kMapping = { appID: "demo-app", cpName: "demo-partner", cpUID: "user-0" };

export const cases: Record<string, Case> = {
  "each method resolves to what its command answers": async sso => {
    equal(await sso.ready(), "1.1");
    equal(await sso.showLoginPage({ data: "login" }), { state: 0 });
    equal(await sso.createAccount(), { state: 0 });
    equal(await sso.getAccessToken(kClient), "access-token-of-demo-client");
    equal(await sso.showTermsPage({ termsId: "terms-2", callerId: "suite" }), { state: 0 });
    equal(await sso.getMappings(kApp), { list: [kMapping], raw: JSON.stringify([kMapping]) });
    equal(await sso.addMapping({ ...kApp, cpUID: "user-9" }), { result: 0 });
    equal(await sso.addMapping({ ...kApp, cpUID: "user-9" }), { result: -6 });
    equal(await sso.removeMapping({ ...kApp, cpUID: "user-9" }), { result: 0 });
    equal(await sso.getVersion(), "1.1");
    equal(await sso.getGuid(), "guid-robin");
    equal(await sso.getLoginStatus(), 1);
    equal(await sso.getLoginUid(), "uid-robin");
    equal(await sso.getTermsAgreementState({ termsId: "terms-2" }), 1);
  },

  "what is answered at once can be had at once": async sso => {
    equal(sso.getVersionSync(), "1.1");
    equal(sso.getGuidSync(), "guid-robin");
    equal(sso.getLoginStatusSync(), 1);
    equal(sso.getLoginUidSync(), "uid-robin");
    equal(sso.getTermsAgreementStateSync({ termsId: "terms-1" }), 0);
  },

  "a command without its privilege is refused": async sso => {
    const { code, command, status, errorName, errorMessage, privilege, retryable } = await failureOf(sso.getSSOState());
    equal([code, command, status, errorName, errorMessage, privilege, retryable], [
      "refused", "sso_plugin_getSSOState", 18, "SecurityError", "You do not have the privilege", "sso.platform", false,
    ]);
  },

  "a secret that is wrong gets no token": async sso => {
    const { code, status } = await failureOf(sso.getAccessToken({ id: "demo-client", secret: "wrong" }));
    equal([code, status], ["not-granted", 0]);
  },

  "a key that is missing is told": async sso => {
    const { code, errorName, errorMessage } = await failureOf(sso.showTermsPage({ termsId: "terms-1" } as never));
    equal([code, errorName, errorMessage], ["invalid", "paramInvaild", "callerId parameter is invalid"]);
  },

  "a key that holds no text is not sent": async sso => {
    equal((await failureOf(sso.addMapping({ ...kApp, cpUID: 1n as never }))).code, "invalid");
    equal(await sso.getVersion(), "1.1");
  },

  "calls of one command have their own answers": async sso => {
    const mappings = await Promise.all(
      ["demo-partner", "other-partner", "nobody", "demo-partner"].map(cpName => sso.getMappings({ appID: "demo-app", cpName })),
    );
    equal(mappings.map(({ list }) => list?.map(({ cpUID }) => cpUID)), [["user-0"], ["robin@partner.example"], [], ["user-0"]]);
  },

  "many calls of all kinds have their own answers": async sso => {
    const calls = Array.from({ length: 40 }, (_, i) =>
      i % 4 === 0 ? sso.getAccessToken(kClient)
      : i % 4 === 1 ? sso.getMappings(kApp).then(({ list }) => list?.length)
      : i % 4 === 2 ? sso.getLoginUid()
      : sso.removeMapping({ ...kApp, cpUID: `nobody-${i}` }).then(({ result }) => result));
    const wanted = ["access-token-of-demo-client", 1, "uid-robin", -5];
    equal(await Promise.all(calls), calls.map((_, i) => wanted[i % 4]));
  },

  "a call ends by its deadline, and the next of its command gets its own answer": async sso => {
    const late = failureOf(sso.getAccessToken(kClient, { timeout: 10 }));
    const next = sso.getAccessToken({ id: "demo-client", secret: "wrong" });
    const [{ code }, refused] = await Promise.all([late, failureOf(next)]);
    equal([code, refused.code], ["timed-out", "not-granted"]);
  },

  "a signal ends a call": async sso => {
    const leaving = new AbortController();
    const call = failureOf(sso.showLoginPage({ data: "login" }, { signal: leaving.signal } as CallOptions));
    leaving.abort();
    equal((await call).code, "aborted");
    equal((await failureOf(sso.getVersion({ signal: leaving.signal }))).code, "aborted");
  },

  "what is disposed of ends all calls": async (sso, page) => {
    const call = failureOf(sso.showLoginPage({ data: "login" }));
    sso.dispose();
    equal((await call).code, "disposed");
    equal((await failureOf(sso.getVersion())).code, "disposed");
    const other = SSOClient.attach(page.embed());
    equal(await other.ready(), "1.1");
    other.dispose();
  },
};

/** Runs a case on a page. */
export async function runCase(run: Case, page: Page, options?: ClientOptions): Promise<void> {
  const sso = SSOClient.attach(page.embed(), options);
  try {
    await run(sso, page);
  } finally {
    sso.dispose();
  }
}
