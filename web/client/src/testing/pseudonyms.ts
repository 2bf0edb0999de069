import { kCommands, kPaths } from "./data.js";
import { commandNamed } from "./protocol.js";
import { isDictionary, toRecorded, type Dictionary } from "./values.js";

/** What stays in a recording with pseudonyms. All other keys have some, too. */
const kKeys: ReadonlySet<string> = new Set([
  "command", "errorName", "errorMessage",
  ...Object.values(kPaths).map(({ number }) => number),
  ...kCommands.flatMap(({ keys, answer }) => [...keys.map(({ name }) => name), answer.key]),
]);

const kPseudonym = /^[A-Za-z]+-\d+$/;

/** A number that may stand for another one. */
const isPlain = (value: unknown): boolean => Number.isFinite(value) && !Object.is(value, -0);

/** Whether a recorded value may stand for one of the page's. */
function mayStandFor(recorded: unknown, real: unknown): boolean {
  if (typeof recorded === "string") return typeof real === "string" && recorded !== "" && real !== "";
  return isPlain(recorded) && isPlain(real) && Number.isInteger(recorded) === Number.isInteger(real);
}

/** The texts and numbers of a page, and what stands for them in a recording that `--pseudonyms` made: the same for the
 *  same, and another for another. */
export class Pseudonyms {
  /** By their JSON, both ways. */
  #real = new Map<string, unknown>();
  #recorded = new Map<string, unknown>();

  /** Gives a page's request as it would be recorded.
   *  @param recorded  the request that it may be: what is not known yet is taken to be what stands in its place.
   *  @return with what remembers that. */
  translate(recorded: unknown, real: unknown): { value: unknown; keep: () => void } {
    const [toReal, toPseudonym] = [new Map(this.#real), new Map(this.#recorded)];

    function one(recorded: unknown, real: unknown): unknown {
      const known = toPseudonym.get(toRecorded(real));
      if (known !== undefined) return known;
      if (!mayStandFor(recorded, real) || toReal.has(toRecorded(recorded))) return real;
      toReal.set(toRecorded(recorded), real);
      toPseudonym.set(toRecorded(real), recorded);
      return recorded;
    }

    function all(recorded: unknown, real: unknown): unknown {
      if (Array.isArray(real)) {
        const items: unknown[] = Array.isArray(recorded) ? recorded : [];
        return real.map((item, at) => all(items[at], item));
      }
      if (real instanceof ArrayBuffer) return new ArrayBuffer(real.byteLength);
      return isDictionary(real) ? members(isDictionary(recorded) ? recorded : {}, real) : one(recorded, real);
    }

    function members(recorded: Dictionary, real: Dictionary): Dictionary {
      // The recorded ones stand in the order of those that they stand for.
      const others = Object.keys(recorded).filter(key => !kKeys.has(key));
      const own = Object.keys(real).filter(key => !kKeys.has(key)).sort();
      return Object.fromEntries(Object.keys(real).map(key => {
        const name = kKeys.has(key) ? key : (others[own.indexOf(key)] ?? key);
        return [name, all(recorded[name], real[key])];
      }));
    }

    // The name of a command has no pseudonym.
    const isCommand = isDictionary(real) && commandNamed(real["command"]) !== undefined;
    const value = isCommand
      ? { ...(all(recorded, { ...real, command: undefined }) as Dictionary), command: real["command"] }
      : all(recorded, real);
    return { value, keep: () => ([this.#real, this.#recorded] = [toReal, toPseudonym]) };
  }

  /** Gives a recorded answer with the page's own texts, where they are known. A pseudonym that is not stands for itself
   *  from now on. */
  restore(answer: unknown): unknown {
    if (typeof answer === "string") return this.#restoreText(answer);
    if (!isDictionary(answer)) return answer;
    return Object.fromEntries(Object.entries(answer).map(([key, value]) =>
      [key, typeof value === "string" ? this.#restoreText(value) : value]));
  }

  #restoreText(text: string): string {
    let parsed: unknown;
    try {
      parsed = JSON.parse(text);
    } catch {
      // Parts, if there are several.
      return text.split("?").map(part => this.#restoreOne(part)).join("?");
    }
    return Array.isArray(parsed) || isDictionary(parsed)
      ? JSON.stringify(parsed, (_, value: unknown) => (typeof value === "string" ? this.#restoreOne(value) : value))
      : text;
  }

  #restoreOne(text: string): string {
    const key = toRecorded(text);
    if (!this.#real.has(key) && kPseudonym.test(text)) {
      this.#real.set(key, text);
      this.#recorded.set(key, text);
    }
    return (this.#real.get(key) as string | undefined) ?? text;
  }
}
