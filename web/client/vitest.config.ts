import { defineConfig } from "vitest/config";

declare const process: { env: Record<string, string | undefined> };

/** The tests of what the client does can be run on what a page loads, too: SSO_CLIENT_BUILT=module or script. */
const kBuilt: Record<string, string> = { module: "dist/index.js", script: "test/built_script.mjs" };
const built = kBuilt[process.env.SSO_CLIENT_BUILT ?? ""];
const pathOf = (file: string): string => new URL(file, import.meta.url).pathname;

export default defineConfig({
  resolve: {
    alias: [
      ...(built ? [{ find: /^\.\.\/src\/index\.js$/, replacement: pathOf(built) }] : []),
      // As an application imports it.
      { find: /^sso-client\/testing$/, replacement: pathOf("src/testing/index.ts") },
      { find: /^sso-client$/, replacement: pathOf("src/index.ts") },
    ],
  },
  test: {
    include: built ? ["test/{methods,calls,life,page,model}.test.ts"] : ["test/**/*.test.{ts,mjs}"],
    // A call whose failure nobody looks at, or a listener that throws, must not pass unseen.
    dangerouslyIgnoreUnhandledErrors: false,
    // The load tests measure the heap.
    pool: "forks",
    poolOptions: { forks: { execArgv: ["--expose-gc"] } },
    coverage: {
      provider: "v8",
      include: ["src/**"],
      exclude: ["src/testing/**"],
      reporter: ["text"],
      thresholds: { lines: 100, branches: 100, functions: 100, statements: 100 },
    },
  },
});
