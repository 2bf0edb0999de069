// Values on their way from a page to the plug-in, and in recordings.

/** An object as the plug-in gets it. */
export interface Dictionary {
  [key: string]: unknown;
}

export const isDictionary = (value: unknown): value is Dictionary =>
  typeof value === "object" && value !== null && !Array.isArray(value) && !(value instanceof ArrayBuffer);

/** Half of a character, which no text in UTF-8 can have. */
const kLoneSurrogate = /\p{Surrogate}/u;

/** An object that is being copied. */
interface Copying {
  readonly source: object;
  readonly names: readonly string[];
  readonly take: (name: string, value: unknown) => void;
}

/** What an object is in a message, if not something with members. */
function plainOf(object: object): unknown {
  if (object instanceof ArrayBuffer) return object.slice(0);
  if (object instanceof String || object instanceof Number || object instanceof Boolean) return object.valueOf();
  return undefined;
}

/** Begins a copy, which has no members yet. */
function beginCopy(source: object): { copy: object; copying: Copying } {
  if (Array.isArray(source)) {
    const copy: unknown[] = [];
    const take = (_: string, value: unknown): unknown => copy.push(value);
    return { copy, copying: { source, names: Array.from(source, (_, at) => String(at)), take } };
  }
  const copy = {};
  const names = Object.keys(source).filter(name => !kLoneSurrogate.test(name));
  // Not assigned: "__proto__" is a name like any other.
  const take = (name: string, value: unknown): unknown =>
    Object.defineProperty(copy, name, { value, configurable: true, enumerable: true, writable: true });
  return { copy, copying: { source, names, take } };
}

/** What arrives at the plug-in: a copy, as it is now. Throws for what a browser cannot convert. */
export function arriving(message: unknown): unknown {
  const copies = new Map<object, unknown>();
  // Not by recursion, so that a message may be as deep as in a browser. What is in here holds what comes after it.
  const stack: (Copying & { at: number })[] = [];
  const open = new Set<object>();

  function convert(value: unknown): unknown {
    if (typeof value === "symbol" || typeof value === "bigint") throw new TypeError(`a ${typeof value} cannot be sent`);
    if (typeof value === "string") return kLoneSurrogate.test(value) ? null : value;
    if ((typeof value !== "object" && typeof value !== "function") || value === null) return value;
    const plain = plainOf(value);
    if (plain !== undefined) return typeof plain === "object" ? plain : convert(plain);
    if (open.has(value)) throw new TypeError("an object that holds itself cannot be sent");
    if (!copies.has(value)) {
      const { copy, copying } = beginCopy(value);
      copies.set(value, copy);
      open.add(value);
      stack.push({ ...copying, at: 0 });
    }
    return copies.get(value);
  }

  const copy = convert(message);
  for (let top; (top = stack[stack.length - 1]);) {
    const name = top.names[top.at++];
    if (name === undefined) {
      open.delete(top.source);
      stack.pop();
    } else {
      top.take(name, convert((top.source as Dictionary)[name]));
    }
  }
  return copy;
}

const kType = "$type";
const kNumbers: Readonly<Record<string, number>> = { NaN, Infinity, "-Infinity": -Infinity, "-0": -0 };

/** The value that a recording's JSON stands for: what JSON lacks is an object with "$type". */
export function fromRecorded(node: unknown): unknown {
  if (Array.isArray(node)) return node.map(fromRecorded);
  if (!isDictionary(node)) return node;
  const { [kType]: type, value, bytes } = node;
  if (type === "undefined") return undefined;
  if (type === "double") return typeof value === "string" ? kNumbers[value] : value;
  if (type === "arraybuffer") return Uint8Array.from(bytes as number[]).buffer;
  const members = type === "dictionary" ? (value as Dictionary) : node;
  return Object.fromEntries(Object.entries(members).map(([key, member]) => [key, fromRecorded(member)]));
}

/** A value in a recording's JSON, with its keys in order: the same for the same value. */
export function toRecorded(value: unknown): string {
  if (value === undefined) return `{"${kType}":"undefined"}`;
  if (typeof value === "number" && (!Number.isFinite(value) || Object.is(value, -0))) {
    return `{"${kType}":"double","value":"${Object.is(value, -0) ? "-0" : value}"}`;
  }
  if (Array.isArray(value)) return `[${value.map(toRecorded).join(",")}]`;
  if (value instanceof ArrayBuffer) return `{"${kType}":"arraybuffer","bytes":[${new Uint8Array(value).join(",")}]}`;
  if (!isDictionary(value)) return JSON.stringify(value);
  const members = Object.keys(value).sort().map(key => `${JSON.stringify(key)}:${toRecorded(value[key])}`);
  const text = `{${members.join(",")}}`;
  return kType in value ? `{"${kType}":"dictionary","value":${text}}` : text;
}
