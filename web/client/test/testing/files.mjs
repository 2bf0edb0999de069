import { readFileSync } from "node:fs";

export const treeFile = name => readFileSync(new URL(`../../../../${name}`, import.meta.url), "utf8");
