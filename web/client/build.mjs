// Makes dist/ beside the types: the modules, and a classic script for pages without modules and for old engines.
import { mkdirSync, writeFileSync } from "node:fs";
import { build } from "esbuild";
import { minify } from "terser";

async function make(entry, target, ecma) {
  const { outputFiles } = await build({
    entryPoints: [entry], bundle: true, mangleProps: /^_/, write: false, outdir: "dist", logLevel: "warning",
    format: "esm", target,
  });
  // All that does not change is let, too: one word packs better than two.
  const source = outputFiles[0].text.replace(/\b(const|var)\b/g, "let");
  return (await minify(source, { ecma, module: true, compress: { passes: 3 }, format: { comments: false } })).code;
}

mkdirSync("dist", { recursive: true });
writeFileSync("dist/index.js", await make("src/index.ts", "es2021", 2020));
// Chromium 56 has no modules, so what is made for it is a script.
writeFileSync("dist/sso-client.js", `(()=>{${await make("src/script.ts", "chrome56", 2016)}})();`);

// As it is written: who reads a failed test's stack finds the fake's own names in it.
await build({ entryPoints: ["src/testing/index.ts"], bundle: true, outdir: "dist/testing", logLevel: "warning",
  format: "esm", target: "es2021" });
