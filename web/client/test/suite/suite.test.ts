// The suite on the pages that node has. In the real browser it is run by tests/browser/client_test.cpp.
import { readFileSync } from "node:fs";
import { createFakeEmbed } from "sso-client/testing";
import { describe, test } from "vitest";
import { openHost } from "./host_page.js";
import { cases, runCase } from "./suite.js";

const kAccount = new URL("../../../../account/examples/signed-in.json", import.meta.url);
const kPrivileges = ["sso.partner", "sso.public"] as const;

describe.each(Object.entries(cases))("%s", (_, run) => {
  test("on the fake", async () => {
    const account = JSON.parse(readFileSync(kAccount, "utf8"));
    await runCase(run, { embed: () => createFakeEmbed({ account, privileges: kPrivileges }) });
  }, 20_000);

  const host = process.env.SSO_HOST;
  test.skipIf(!host)("on sso-host (SSO_HOST names it)", async () => {
    const page = openHost(host!, ["--account", kAccount.pathname, "--grant", "partner", "--grant", "public"]);
    try {
      await runCase(run, page);
    } finally {
      await page.close();
    }
  }, 20_000);
});
