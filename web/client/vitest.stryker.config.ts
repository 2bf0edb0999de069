import { defineConfig } from "vitest/config";

// What finds a changed line: neither the load nor what runs other programs.
export default defineConfig({
  test: {
    include: ["test/{methods,calls,life,page,model}.test.ts"],
    env: { SSO_CLIENT_RUNS: "100", SSO_CLIENT_WAITING: "3000" },
    testTimeout: 5000,
  },
});
