import type { AccountEntry, AccountFile, MappingEntry, PopupEntry } from "./state_file.js";

/** The state in which a page ended, as the desk counts. */
export const enum PopupEnd {
  Completed = 0,
  Closed = 1,
  Failed = 2,
}

/** How an operation on an account ended, as in sso_api.h. */
export const enum Result {
  Ok = 0,
  NotStarted = -1,
  NoAccount = -2,
  Invalid = -4,
  Unknown = -5,
  Duplicate = -6,
  Unavailable = -7,
}

interface Token {
  text: string;
  expiry?: number;
  number: number;
}

interface Profile {
  identity: AccountEntry;
  mappings: MappingEntry[];
  agreements: Map<string, string>;
  tokens: Map<string, Token>;
}

const kVersion = "1";
const kSecond = 1000;

const mappingOf = ({ appID, cpName, cpUID }: MappingEntry): MappingEntry => ({ appID, cpName, cpUID });

function popupEnd({ state = "completed" }: PopupEntry): PopupEnd {
  return { completed: PopupEnd.Completed, closed: PopupEnd.Closed, failed: PopupEnd.Failed }[state];
}

/** How a page ends by itself. */
export function endOf(popup: PopupEntry = {}): { state: PopupEnd; delay: number } {
  return { state: popupEnd(popup), delay: popup.delayMs ?? 200 };
}

/** Accounts as their users see and change them. What needs somebody who is signed in says so before it looks at its
 *  arguments. */
export class Account {
  readonly #profiles: Profile[];
  readonly #clients: Map<string, NonNullable<AccountFile["clients"]>[number]>;
  /** The versions of the documents. */
  readonly #terms = new Map<string, string>();
  #current: Profile | undefined;

  /** @param file  a good one. */
  constructor(file: AccountFile) {
    const firsts = file.account ? [{ ...file.account, mappings: file.mappings }] : [];
    this.#profiles = [...firsts, ...(file.accounts ?? [])].map(({ mappings = [], ...entry }) => ({
      identity: entry,
      mappings: mappings.map(mappingOf),
      agreements: new Map(Object.entries(("agreements" in entry && entry.agreements) || {})),
      tokens: new Map(),
    }));
    const first = file.account && this.#profiles[0];
    this.#clients = new Map((file.clients ?? []).map(client => [client.id, { ...client }]));
    for (const [id, entry] of Object.entries(file.terms ?? {})) {
      const { version = kVersion, agreedVersion } =
        typeof entry === "object"
          ? entry
          : { version: kVersion, agreedVersion: entry === "agreed" ? kVersion : undefined };
      this.#terms.set(id, version);
      if (agreedVersion !== undefined) first?.agreements.set(id, agreedVersion);
    }
    for (const { loginId, client, token, number = 1, expiry } of file.tokens ?? []) {
      this.#find(loginId)!.tokens.set(client, { text: token, number, expiry });
    }
    if (file.signedIn ?? true) this.#current = this.#find(file.signedInAs) ?? this.#profiles[0];
  }

  get current(): Readonly<AccountEntry> | undefined {
    return this.#current?.identity;
  }

  /** @param loginId  undefined for who was created first. @return whether there is such an account. */
  signIn(loginId?: string): boolean {
    const profile = loginId === undefined ? this.#profiles[0] : this.#find(loginId);
    this.#current = profile ?? this.#current;
    return !!profile;
  }

  signOut(): void {
    this.#current = undefined;
  }

  /** The page for a login or a new account ends. Who goes through it is signed in: who was it before, or the first.
   *  Without an account there is nothing to go through. @return the state in which it ended. */
  endLogin(state: number): number {
    if (state !== PopupEnd.Completed || this.#current || this.signIn()) return state;
    return PopupEnd.Failed;
  }

  /** The page with terms ends. Who goes through it has agreed to them. */
  endTerms(state: number, termsId: string): number {
    const version = this.#terms.get(termsId);
    if (state === PopupEnd.Completed && version !== undefined) this.#current?.agreements.set(termsId, version);
    return state;
  }

  /** @return undefined when there is no such document, or nobody to agree. */
  isAgreed(termsId: string): boolean | undefined {
    const version = this.#terms.get(termsId);
    if (!this.#current || version === undefined) return undefined;
    return this.#current.agreements.get(termsId) === version;
  }

  /** A token that is good: the one that the client had, or the next when that has expired. */
  accessToken(id: string, secret: string, now: number): string {
    const client = this.#clients.get(id);
    if (!this.#current || client?.secret !== secret) return "";
    const had = this.#current.tokens.get(id);
    if (had && !(had.expiry !== undefined && had.expiry <= now)) return had.text;
    const number = had ? had.number + 1 : 1;
    // The first user's first token is the client's own; all others tell whose they are.
    let text = client.token;
    if (this.#current !== this.#profiles[0]) text += `-${this.#current.identity.uid}`;
    if (number > 1) text += `-${number}`;
    const expiry = client.lifetimeSeconds === undefined ? undefined : now + client.lifetimeSeconds * kSecond;
    this.#current.tokens.set(id, { text, number, expiry });
    return text;
  }

  /** The mappings of an application, the oldest first. @param cpName  "" for all partners.
   *  @return undefined when nobody is signed in. */
  mappings(appID: string, cpName: string): MappingEntry[] | undefined {
    return this.#current?.mappings.filter(one => one.appID === appID && (cpName === "" || one.cpName === cpName));
  }

  addMapping(mapping: MappingEntry): Result {
    if (!this.#current) return Result.NoAccount;
    if (Object.values(mapping).includes("")) return Result.Invalid;
    if (this.#meant(mapping).length > 0) return Result.Duplicate;
    this.#current.mappings.push(mapping);
    return Result.Ok;
  }

  /** Without a `cpUID` all of the application's with the partner go. */
  removeMapping(mapping: MappingEntry): Result {
    if (!this.#current) return Result.NoAccount;
    const meant = this.#meant(mapping);
    if (meant.length === 0) return Result.Unknown;
    this.#current.mappings = this.#current.mappings.filter(one => !meant.includes(one));
    return Result.Ok;
  }

  #find(loginId: string | undefined): Profile | undefined {
    return this.#profiles.find(({ identity }) => identity.loginId === loginId);
  }

  #meant({ appID, cpName, cpUID }: MappingEntry): MappingEntry[] {
    return this.mappings(appID, cpName)!.filter(one => one.cpName === cpName && (cpUID === "" || one.cpUID === cpUID));
  }
}
