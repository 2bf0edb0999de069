// The size gate, on a copy of the client in a temporary folder: it passes what is there, and not one import more.
import { spawnSync } from "node:child_process";
import { appendFileSync, cpSync, mkdtempSync, readFileSync, rmSync, symlinkSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { afterEach, beforeEach, expect, test } from "vitest";

const kHere = join(new URL(".", import.meta.url).pathname, "..");
let copy;

beforeEach(() => {
  copy = mkdtempSync(join(tmpdir(), "client-size-"));
  for (const name of ["src", "build.mjs", "check-size.mjs", "package.json"]) {
    cpSync(join(kHere, name), join(copy, name), { recursive: true });
  }
  symlinkSync(join(kHere, "node_modules"), join(copy, "node_modules"));
});
afterEach(() => rmSync(copy, { recursive: true }));

const run = program => spawnSync(process.execPath, [join(copy, program)], { cwd: copy, encoding: "utf8" });

test("the size gate passes the client as it is", () => {
  expect(run("build.mjs").status).toBe(0);
  const { status, stdout, stderr } = run("check-size.mjs");
  expect(stderr).toBe("");
  expect(stdout).toMatch(/index\.js has \d+ bytes after gzip -9, of 2000\.\n$/);
  expect(status).toBe(0);
});

test("the size gate fails with one import more, and tells how much it is", () => {
  writeFileSync(join(copy, "src/planted.ts"), `export const planted = ${JSON.stringify("The quick brown fox jumps.")};\n`);
  appendFileSync(join(copy, "src/index.ts"), 'export { planted } from "./planted.js";\n');
  expect(run("build.mjs").status).toBe(0);
  expect(readFileSync(join(copy, "dist/index.js"), "utf8")).toContain("The quick brown fox jumps.");
  const { status, stdout, stderr } = run("check-size.mjs");
  expect(stderr).toMatch(/index\.js has 20\d\d bytes after gzip -9; no more than 2000 are allowed\. A command has some 8/);
  expect([status, stdout]).toEqual([1, ""]);
});

test("the size gate counts as gzip does", () => {
  writeFileSync(join(copy, "file.js"), "x".repeat(100000));
  const { stdout } = spawnSync("sh", ["-c", "gzip -9 < file.js | wc -c"], { cwd: copy, encoding: "utf8" });
  const gate = spawnSync(process.execPath, ["check-size.mjs", "file.js"], { cwd: copy, encoding: "utf8" });
  expect(gate.stdout).toBe(`file.js has ${Number(stdout)} bytes after gzip -9, of 2000.\n`);
});
