// What is made for pages: the script in the syntax of Chromium 56, and both without a word that only the sources need.
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { parse } from "acorn";
import { beforeAll, expect, test } from "vitest";

const kHere = join(new URL(".", import.meta.url).pathname, "..");
const read = name => readFileSync(join(kHere, "dist", name), "utf8");

beforeAll(() => {
  expect(spawnSync(process.execPath, ["build.mjs"], { cwd: kHere }).status).toBe(0);
});

test("the script is one of the syntax that Chromium 56 knows, which the module is not", () => {
  expect(() => parse(read("sso-client.js"), { ecmaVersion: 2017, sourceType: "script" })).not.toThrow();
  expect(() => parse(read("index.js"), { ecmaVersion: 2021, sourceType: "module" })).not.toThrow();
  expect(() => parse(read("index.js"), { ecmaVersion: 2017, sourceType: "module" })).toThrow(SyntaxError);
});

test("neither needs anything else, nor names what is its own", () => {
  for (const name of ["index.js", "sso-client.js"]) {
    expect(read(name)).not.toMatch(/\bimport\b|\brequire\b|\b_(command|message|resolve|reject)\b/);
  }
  expect(read("index.js")).toMatch(/export\s*\{[^}]*\bas SSOClient\b[^}]*\};?$/);
  expect(read("sso-client.js")).not.toMatch(/\bexport\b/);
});
