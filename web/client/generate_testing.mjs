// Writes src/testing/data.ts, made of the protocol's data, the presets of the desk's account service and the schema of
// account files: what the fake plug-in knows, which has its home elsewhere.
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { sources } from "./sources.mjs";

const read = name => JSON.parse(readFileSync(new URL(`../../${name}`, import.meta.url), "utf8"));

const protocol = read("protocol/protocol.json");
const { nobody } = read("protocol/contract.json");

const kPresets = "service/data/presets";
const presets = Object.fromEntries(
  readdirSync(new URL(`../../${kPresets}`, import.meta.url)).filter(file => file.endsWith(".json")).sort()
    .map(file => [file.slice(0, -".json".length), read(`${kPresets}/${file}`)]));

/** A schema without what is for people. */
function bare(schema) {
  if (Array.isArray(schema)) return schema.map(bare);
  if (typeof schema !== "object" || schema === null) return schema;
  const kept = Object.entries(schema).filter(([key, value]) =>
    !["$schema", "title", "description", "default"].includes(key) || typeof value === "object");
  return Object.fromEntries(kept.map(([key, value]) => [key, bare(value)]));
}

const schema = bare(read("account/account.schema.json"));
const operations = schema.properties.unavailable.items.enum;

const union = names => names.map(name => JSON.stringify(name)).join(" | ");

function outcomesOf(path) {
  return protocol.commands.filter(command => command.path === path).map(({ method, about, answer }) =>
    `  /** ${about} */\n  ${method}: { ${answer.key}: ${answer.type === "number" ? "number" : "string"} };`).join("\n");
}

const { unregistered } = protocol;
// What a fake needs of them, and no more.
const paths = Object.fromEntries(Object.entries(protocol.paths).map(([path, { number, success, errors }]) =>
  [path, { number, success, errors: errors.map(({ when, ...error }) => error) }]));
const commands = protocol.commands.map(({ name, method, path, privilege, keys, answer, notStarted }) =>
  ({ name, method, path, privilege, notStarted,
    keys: keys.map(({ example, ...key }) => key), answer: { key: answer.key, type: answer.type } }));

const data = (name, type, value) => `export const ${name}: ${type} = ${JSON.stringify(value, null, 2)};`;

writeFileSync(`${sources}/testing/data.ts`, `// Made by generate_testing.mjs.
import type { Command, Path, PathRules } from "./protocol.js";
import type { Schema } from "./schema.js";
import type { StateFile } from "./state_file.js";

/** What an application's manifest may ask for. */
export type Privilege = ${union(protocol.privileges.map(({ name }) => name))};

/** A situation of the desk's account service:
${Object.entries(presets).map(([name, { about }]) => ` *  - \`${name}\`: ${about}`).join(";\n")}. */
export type Preset = ${union(Object.keys(presets))};

/** A function of the device's client library that can be ordered to fail. */
export type Operation = ${union(operations)};

/** The outcomes of what a page posts, by the client's methods. */
export interface AsyncOutcomes {
${outcomesOf("async")}
}

/** The outcomes of what a page waits for, by the client's methods. */
export interface BlockingOutcomes {
${outcomesOf("blocking")}
}

${data("kPrivileges", "readonly Privilege[]", protocol.privileges.map(({ name }) => name))}

${data("kPaths", "Record<Path, PathRules>", paths)}

${data("kCommands", "readonly Command[]", commands)}

export const kUnregistered = ${JSON.stringify(unregistered)};

/** The plug-in's, which is the same on every device. */
export const kVersion = ${JSON.stringify(nobody[protocol.commands.find(({ method }) => method === "getVersion").name])};

${data("kPresets", "Record<Preset, StateFile>", presets)}

${data("kOperations", "readonly string[]", operations)}

${data("kAccountSchema", "Schema", schema)}
`);
