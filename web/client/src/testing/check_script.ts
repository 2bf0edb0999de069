import type { Command } from "./protocol.js";

/** What a request can be scripted with beside its outcome, by path, and the type of that. */
const kWords: Record<Command["path"], [key: string, type: string][]> = {
  async: [["delay", "number"], ["notStarted", "boolean"], ["lost", "boolean"]],
  blocking: [],
};
const kAnything = "answer";

/** Throws when a script says something that does not become of a request: the type checker does not look at JavaScript. */
export function checkScript({ method, path, answer }: Command, script: object): void {
  const words = new Map([[answer.key, answer.type === "text" ? "string" : "number"], ...kWords[path]]);
  for (const [key, value] of Object.entries(script)) {
    if (key === kAnything || value === undefined) continue;
    const type = words.get(key);
    if (!type) throw new TypeError(`${method} has no ${key}, but ${[...words.keys(), kAnything].join(", ")}`);
    if (typeof value !== type) throw new TypeError(`${method}: ${key} must be a ${type}, not ${JSON.stringify(value)}`);
  }
}
