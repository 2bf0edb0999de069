import { kCommands, kPaths, kPrivileges, type AsyncOutcomes, type BlockingOutcomes, type Privilege } from "./data.js";
import { isDictionary, type Dictionary } from "./values.js";

/** How a request is sent. */
export type Path = "async" | "blocking";

/** The client's name of a command. */
export type Method = keyof AsyncOutcomes | keyof BlockingOutcomes;

export interface ProtocolError {
  readonly kind: string;
  readonly number: number;
  readonly errorName: string;
  readonly errorMessage?: string;
  /** Whether the answer has the command of the request. */
  readonly namesCommand?: boolean;
}

export interface PathRules {
  readonly number: string;
  readonly success: number;
  readonly errors: readonly ProtocolError[];
}

export interface Command {
  readonly name: string;
  readonly method: Method;
  readonly path: Path;
  readonly privilege: Privilege;
  readonly keys: readonly { readonly name: string; readonly required: boolean; readonly errorMessage?: string }[];
  readonly answer: { readonly key: string; readonly type: string };
  readonly notStarted?: string;
}

/** A request that may be done. */
export interface Request {
  readonly command: Command;
  /** Those of the command's keys, in their order; "" for what is not there. */
  readonly texts: readonly string[];
}

/** A text of a page's, or of a device's: it ends at its first NUL. */
const cut = (text: string): string => text.split("\0", 1)[0]!;

export const commandNamed = (name: unknown): Command | undefined => kCommands.find(command => command.name === name);

function errorAnswer(path: Path, kind: string, name = "", message?: string): Dictionary {
  const { number, errors } = kPaths[path];
  const error = errors.find(one => one.kind === kind)!;
  return {
    [number]: error.number,
    // An empty name is not there either.
    ...(error.namesCommand && name && { command: name }),
    errorName: error.errorName,
    errorMessage: message ?? error.errorMessage!,
  };
}

export const notStarted = ({ path, name, notStarted }: Command): Dictionary =>
  errorAnswer(path, "notStarted", name, notStarted);

/** What answers a command that was done. */
export function doneAnswer({ path, name, answer }: Command, outcome: string | number): Dictionary {
  const { number, success } = kPaths[path];
  const value = typeof outcome === "string" ? cut(outcome) : outcome;
  if (path === "async") return { [number]: success, command: name, [answer.key]: value };
  return { [number]: success, errorName: "", errorMessage: "", [answer.key]: value };
}

/** What the plug-in makes of a message that a page has sent, before it asks the device. */
export function examine(path: Path, message: unknown, held: readonly Privilege[]): Request | { refusal: Dictionary } {
  const refuse = (kind: string, name?: string, text?: string) => ({ refusal: errorAnswer(path, kind, name, text) });
  if (!isDictionary(message)) return refuse("noDictionary");
  const name = message["command"];
  if (typeof name !== "string") return refuse("noCommand");
  const command = commandNamed(name);
  if (!command || !held.includes(command.privilege)) return refuse("noPrivilege", name);
  if (command.path !== path) return refuse("otherPath", name);
  const texts: string[] = [];
  for (const key of command.keys) {
    const text = message[key.name];
    if (key.required && typeof text !== "string") return refuse("badKey", name, key.errorMessage);
    texts.push(typeof text === "string" ? cut(text) : "");
  }
  return { command, texts };
}

/** Throws when one is none. */
export function checkPrivileges(names: readonly string[]): void {
  for (const name of names) {
    if (!(kPrivileges as readonly string[]).includes(name)) {
      throw new TypeError(`there is no privilege ${JSON.stringify(name)}, but ${kPrivileges.join(", ")}`);
    }
  }
}
