// Fails when the client has grown too big: `node check-size.mjs [FILE]`.
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { gzipSync } from "node:zlib";

/** Of all that a page loads, minified and packed. */
const kMost = 2000;

const file = process.argv[2] ?? new URL("dist/index.js", import.meta.url).pathname;
const source = readFileSync(file);
// A server packs as gzip does; where that is missing, zlib packs nearly as well.
const { stdout } = spawnSync("gzip", ["-9"], { input: source });
const size = (stdout ?? gzipSync(source, { level: 9 })).length;
if (size > kMost) {
  console.error(`${file} has ${size} bytes after gzip -9; no more than ${kMost} are allowed. A command has some 8 of them; ` +
    "what it no longer fits has to be saved in src/.");
  process.exit(1);
}
console.log(`${file} has ${size} bytes after gzip -9, of ${kMost}.`);
