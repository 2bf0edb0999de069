import { Flag, kPrivileges } from "./commands.js";
import { SSOError } from "./error.js";

/** A mapping between the account and a partner's user, as the desk's account service lists it. */
export interface Mapping {
  appID: string;
  cpName: string;
  cpUID: string;
}

/** The mappings of an account. */
export interface Mappings {
  /** What `raw` lists; undefined when it is no list in JSON, as when the device could not tell. */
  list?: Mapping[];
  /** The device's own text. */
  raw: string;
}

/** What the desk's account service means by the "state" in which a page ended. A device has numbers of its own. */
export const PopupState = { done: 0, closed: 1, failed: 2, ended: 3 } as const;

/** What the desk's account service means by the "result" of a change. A device has numbers of its own. */
export const ChangeResult = {
  done: 0,
  signedOut: -2,
  ended: -3,
  empty: -4,
  unknown: -5,
  duplicate: -6,
} as const;

const listIn = (text: string): Mapping[] | undefined => {
  try {
    const list: unknown = JSON.parse(text);
    if (Array.isArray(list)) return list;
  } catch {
    // It is the device's own form, or empty.
  }
  return undefined;
};

/** What a call is settled with by an answer or a reply. Throws the `SSOError` that it tells of.
 *  @param key  of the outcome in an answer; undefined in a reply. */
export const outcomeOf = (command: string, key: string | undefined, flags: number, answer: unknown): unknown => {
  const valueKey = key ?? "value";
  // Whatever it is; what is no answer has none of this.
  const { code, status = code, errorName, [valueKey]: value } = Object(answer);
  const isNumber = flags & Flag.Number;
  const failure =
    status === 18
      ? "refused"
      : status === -2 || errorName === "commandInvaild"
        ? "unknown-command"
        : status && errorName === "error"
          ? "not-started"
          : status !== 0 || typeof value !== (isNumber ? "number" : "string")
            ? "invalid"
            : key === "token" && !value && "not-granted";
  if (failure) throw new SSOError(failure, command, answer, status, kPrivileges[flags >> Flag.PrivilegeShift]);
  return key === "PartnerAccountInfo" ? { list: listIn(value), raw: value } : key && isNumber ? { [key]: value } : value;
};
