// Writes the examples of docs/client.md to test/examples/, where they are compiled, and run when they are tests.
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";

const guide = readFileSync(new URL("../../docs/client.md", import.meta.url), "utf8");
const folder = new URL("test/examples/", import.meta.url);
rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });
const examples = [...guide.matchAll(/^```ts\n(.*?)^```$/gms)].map(([, source]) => source);
if (examples.length === 0) throw new Error("docs/client.md shows no example");
examples.forEach((source, index) => {
  const kind = /\btest\(/.test(source) ? ".test.ts" : ".ts";
  writeFileSync(new URL(`example${index + 1}${kind}`, folder), source);
});
console.log(`extract-examples: ${examples.length} of docs/client.md`);
