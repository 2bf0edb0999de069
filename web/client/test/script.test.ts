import { afterEach, expect, test, vi } from "vitest";
import * as all from "../src/index.js";

afterEach(() => vi.unstubAllGlobals());

test("the script gives a page without modules all that a module exports", async () => {
  const page: any = {};
  vi.stubGlobal("self", page);
  await import("../src/script.js");
  expect(page.SSO).toEqual({ ...all });
});
