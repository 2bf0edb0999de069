import { kAccountSchema, kOperations, type Operation } from "./data.js";
import { findMistake, placeText } from "./schema.js";
import { isDictionary } from "./values.js";

/** A mapping between an account and a partner's user. */
export interface MappingEntry {
  appID: string;
  cpName: string;
  cpUID: string;
}

/** How a popup ends by itself. */
export interface PopupEntry {
  /** `completed`: the user goes through it; `closed`: the user closes it; `failed`: it cannot be shown to its end.
   *  Default: completed. */
  state?: "completed" | "closed" | "failed";
  /** Default: 200. */
  delayMs?: number;
}

/** Who can be signed in. */
export interface AccountEntry {
  loginId: string;
  uid: string;
  guid: string;
  authToken: string;
  displayName?: string;
  password?: string;
}

/** A terms document. */
export interface TermsEntry {
  /** Default: "1". */
  version?: string;
  title?: string;
  text?: string;
  /** What the first account has agreed to; that of another version is no agreement. */
  agreedVersion?: string;
}

/** Accounts, and how the service that has them behaves: an account file of the desk, such as
 *  `account/examples/signed-in.json`. Without an account nobody can sign in. */
export interface AccountFile {
  $schema?: string;
  account?: AccountEntry;
  /** Default: true when there is an account. */
  signedIn?: boolean;
  /** The loginId of who is signed in. Default: the first account's. */
  signedInAs?: string;
  popups?: { login?: PopupEntry; createAccount?: PopupEntry; terms?: PopupEntry };
  /** How long requests for tokens and mappings take. Default: 0. */
  requestDelayMs?: number;
  /** Who gets tokens. A lifetime is by `Date.now()`; without one a token is good for ever. */
  clients?: { id: string; secret: string; token: string; lifetimeSeconds?: number }[];
  /** The first account's, the oldest first. */
  mappings?: MappingEntry[];
  /** The terms documents by their ids. The first account has agreed to `agreedVersion`. */
  terms?: Record<string, "agreed" | "notAgreed" | TermsEntry>;
  /** Further accounts. */
  accounts?: (AccountEntry & { mappings?: MappingEntry[]; agreements?: Record<string, string> })[];
  /** Tokens that clients have got. */
  tokens?: { loginId: string; client: string; token: string; number?: number; expiry?: number }[];
  /** For what the service cannot be reached: operations are not started, queries cannot tell. */
  unavailable?: Operation[];
}

/** What operations are ordered to do. */
export interface Order {
  /** The result, as in sso_api.h; -1 for what cannot be started. */
  failure?: number;
  /** How often it fails; 0, which is the default: always. */
  times?: number;
  /** Of requests. Pages end when they end, and what blocks cannot be delayed here. */
  delayMs?: number;
  /** A page never ends, a request fails after a minute, and what blocks cannot tell. */
  hangs?: boolean;
}

/** What `ssoctl state save` writes: accounts and orders. */
export interface StateFile {
  about?: string;
  device: AccountFile;
  orders?: Partial<Record<Operation, Order>>;
  /** How much later than `Date.now()` it is on the device. */
  clockAdvancedMs?: number;
}

const kStateMembers = ["about", "device", "orders", "clockAdvancedMs"];

function fail(place: string, what: string): never {
  throw new TypeError(`account${place && ": "}${place} ${what}`);
}

/** What a schema cannot say. */
function checkNames(file: AccountFile): void {
  const unique = (names: readonly string[], place: string): void => {
    for (const [at, name] of names.entries()) {
      if (names.indexOf(name) < at) fail(place.replace("#", String(at)), "is there twice");
    }
  };
  const logins = [file.account, ...(file.accounts ?? [])].flatMap(entry => entry?.loginId ?? []);
  unique(logins, "a loginId");
  unique((file.clients ?? []).map(client => client.id), "clients[#].id");
  unique((file.tokens ?? []).map(token => JSON.stringify([token.loginId, token.client])), "tokens[#]");
  for (const [at, { loginId, client }] of (file.tokens ?? []).entries()) {
    if (!logins.includes(loginId)) fail(`tokens[${at}].loginId`, "is no account's here");
    if (!file.clients?.some(({ id }) => id === client)) fail(`tokens[${at}].client`, "is no client's id here");
  }
  if (file.signedIn && logins.length === 0) fail("signedIn", "must not be true without an account");
  if (file.signedInAs !== undefined) {
    if (file.signedIn === false) fail("signedInAs", "must not be there when nobody is signed in");
    if (!logins.includes(file.signedInAs)) fail("signedInAs", "is no account's here");
  }
}

/** Reads either kind of file, and makes a copy. Throws a TypeError that says what is wrong with it, and where. */
export function readState(file: AccountFile | StateFile): StateFile {
  const copy: unknown = JSON.parse(JSON.stringify(file));
  const isState = isDictionary(copy) && "device" in copy;
  const state = (isState ? copy : { device: copy }) as unknown as StateFile;
  for (const name of Object.keys(state)) {
    if (!kStateMembers.includes(name)) fail(name, "is none of a state's members");
  }
  const mistake = findMistake(state.device, kAccountSchema);
  if (mistake) fail(placeText(mistake.place), mistake.what);
  checkNames(state.device);
  for (const name of Object.keys(state.orders ?? {})) {
    if (!kOperations.includes(name)) fail(`orders.${name}`, "is no function of sso_api.h that can fail");
  }
  return state;
}
