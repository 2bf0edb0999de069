// Writes commands.ts into the sources, or into a copy of them in the folder that is given. It is made of the protocol's data:
// the client's methods, their types, and what the client has to know of each command.
import { readFileSync, writeFileSync } from "node:fs";
import "./generate_testing.mjs";
import { sources } from "./sources.mjs";

const protocol = JSON.parse(readFileSync(new URL("../../protocol/protocol.json", import.meta.url), "utf8"));

const kResults = { state: "{ state: number }", result: "{ result: number }", PartnerAccountInfo: "Mappings" };
const typeOf = ({ key, type }) => kResults[key] ?? { text: "string", number: "number" }[type];

function keysOf(command) {
  if (command.keys.length === 0) return "";
  return `keys: { ${command.keys.map(key => `${key.name}${key.required ? "" : "?"}: string`).join("; ")} }`;
}

function methodsOf(command) {
  const keys = keysOf(command);
  const about = `  /** ${command.about} Needs the privilege \`${command.privilege}\`. */`;
  const result = typeOf(command.answer);
  const options = `options?: CallOptions`;
  const methods = [about, `  ${command.method}(${[keys, options].filter(Boolean).join(", ")}): Promise<${result}>;`];
  if (command.path === "blocking") {
    methods.push(`${about.slice(0, -3)} The page waits; throws an \`SSOError\`. */`,
      `  ${command.method}Sync(${keys}): ${result};`);
  }
  return methods.join("\n");
}

const kPrefix = "sso_plugin_";
const kPrivileges = [...new Set(protocol.commands.map(command => command.privilege))];
const kFlags = { number: 1, keys: 2, popup: 4, privilegeShift: 3 };

function rowOf(command) {
  let flags = 0;
  if (command.answer.type === "number") flags |= kFlags.number;
  if (command.keys.length > 0) flags |= kFlags.keys;
  if (command.popup) flags |= kFlags.popup;
  flags |= kPrivileges.indexOf(command.privilege) << kFlags.privilegeShift;
  const row = [flags];
  const name = command.name.slice(kPrefix.length);
  if (command.path === "async") row.push(command.answer.key);
  if (name !== command.method) row.push(name);
  return `  ${command.method}: ${JSON.stringify(row).replaceAll(",", ", ")},`;
}

writeFileSync(`${sources}/commands.ts`, `// Made of protocol/protocol.json by generate.mjs.
import type { Mappings } from "./outcome.js";
import type { CallOptions } from "./options.js";

/** A method for each command of the protocol. */
export interface Methods {
${protocol.commands.map(methodsOf).join("\n")}
}

/** A command, in few bytes: flags; the key of the outcome in an answer, if it has answers; its name after the prefix,
 *  unless that is the method's. */
export type Row = [flags: number, key?: string, name?: string];

/** All of the commands' names begin so. */
export const kPrefix = ${JSON.stringify(kPrefix)};
/** What commands need. */
export const kPrivileges = ${JSON.stringify(kPrivileges)};

/** What a command's flags say: the outcome is a number, keys go with it, it waits for a person; above, which privilege. */
export const enum Flag {
  Number = ${kFlags.number},
  Keys = ${kFlags.keys},
  Popup = ${kFlags.popup},
  PrivilegeShift = ${kFlags.privilegeShift},
}

/** The commands by their methods. */
export const kCommands: Record<string, Row> = {
${protocol.commands.map(rowOf).join("\n")}
};

/** What the plug-in posts when its handler is taken away. */
export const kUnregistered = ${JSON.stringify(protocol.unregistered)};
`);
