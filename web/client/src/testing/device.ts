import { Account, endOf, PopupEnd, Result } from "./account.js";
import { kVersion, type AsyncOutcomes, type BlockingOutcomes, type Operation } from "./data.js";
import { Orders } from "./orders.js";
import type { MappingEntry, StateFile } from "./state_file.js";

export type AsyncMethod = keyof AsyncOutcomes;
export type BlockingMethod = keyof BlockingOutcomes;
type Texts = readonly string[];
type Outcome = string | number;

/** An operation that was started. */
export interface Operating {
  /** Milliseconds until it ends; Infinity for never. */
  readonly delay: number;
  /** Does it. @return its outcome. */
  end(): Outcome;
}

const kOperations: Record<AsyncMethod, Operation> = {
  showLoginPage: "sso_show",
  createAccount: "sso_show",
  getAccessToken: "sso_request_access_token",
  showTermsPage: "sso_show_term_page",
  getMappings: "sso_get_cp_account_mapping_list",
  addMapping: "sso_add_cp_account_mapping_info",
  removeMapping: "sso_remove_cp_account_mapping_info",
};

/** After which a request that hangs is given up, in milliseconds. */
const kLongestHang = 60000;

const mappingOf = ([appID, cpName, cpUID]: Texts): MappingEntry =>
  ({ appID: appID!, cpName: cpName!, cpUID: cpUID! });

/** The device's client library and the account service behind it. */
export class Device {
  readonly account: Account;
  readonly #state: StateFile;
  readonly #orders: Orders;

  constructor(state: StateFile) {
    this.#state = state;
    this.account = new Account(state.device);
    this.#orders = new Orders(state.orders);
  }

  /** @return undefined for what cannot be started. */
  start(method: AsyncMethod, texts: Texts): Operating | undefined {
    const operation = kOperations[method];
    if (this.#state.device.unavailable?.includes(operation)) return undefined;
    if (this.#orders.takeFailure(operation, true) !== undefined) return undefined;
    const failure = this.#orders.takeFailure(operation, false);
    const { delayMs = 0, hangs } = this.#orders.of(operation);
    if (method === "showLoginPage" || method === "createAccount" || method === "showTermsPage") {
      if (failure !== undefined) return { delay: 0, end: () => PopupEnd.Failed };
      const { state, delay } = this.#endOfPage(method, texts);
      return { delay: hangs ? Infinity : delay, end: () => this.endPage(method, texts, state) };
    }
    const failed = hangs ? Result.Unavailable : failure;
    return {
      delay: hangs ? kLongestHang : (this.#state.device.requestDelayMs ?? 0) + delayMs,
      end: () => (failed === undefined ? this.#done(method, texts) : this.#failed(method, failed)),
    };
  }

  /** A page ends in a state, for the account too. @return the state in which it ended. */
  endPage(method: AsyncMethod, texts: Texts, state: number): number {
    return method === "showTermsPage" ? this.account.endTerms(state, texts[0]!) : this.account.endLogin(state);
  }

  /** What can be read at once. What the device cannot tell is "" or 0. */
  ask(method: BlockingMethod, texts: Texts): Outcome {
    const { account } = this;
    switch (method) {
      case "getVersion":
        return kVersion;
      case "getSSOState": {
        // One that cannot be had ends it: what would be asked next is not.
        const login = this.#identity("sso_get_login_info");
        const guid = login && this.#identity("sso_get_guid");
        const token = guid && this.#identity("sso_get_auth_token");
        return token ? [token.loginId, token.authToken, token.uid, token.guid].join("?") : "";
      }
      case "getGuid":
        return this.#identity("sso_get_guid")?.guid ?? "";
      case "getLoginUid":
        return this.#identity("sso_get_login_info")?.uid ?? "";
      case "getLoginStatus":
        return this.#canTell("sso_get_login_state") && account.current ? 1 : 0;
      case "getTermsAgreementState":
        return this.#canTell("sso_get_term_state") && account.isAgreed(texts[0]!) ? 1 : 0;
    }
  }

  #endOfPage(method: AsyncMethod, texts: Texts) {
    const { login, createAccount, terms } = this.#state.device.popups ?? {};
    if (method === "showTermsPage") return endOf(terms);
    // The login page without a text is that for a new account.
    return endOf(method === "showLoginPage" && texts[0] !== "" ? login : createAccount);
  }

  #done(method: AsyncMethod, texts: Texts): Outcome {
    if (method === "getAccessToken") {
      return this.account.accessToken(texts[0]!, texts[1]!, Date.now() + (this.#state.clockAdvancedMs ?? 0));
    }
    if (method === "getMappings") {
      const mappings = this.account.mappings(texts[0]!, texts[1]!);
      return mappings ? JSON.stringify(mappings) : "";
    }
    const mapping = mappingOf(texts);
    return method === "addMapping" ? this.account.addMapping(mapping) : this.account.removeMapping(mapping);
  }

  #failed(method: AsyncMethod, result: number): Outcome {
    return method === "addMapping" || method === "removeMapping" ? result : "";
  }

  #canTell(operation: Operation): boolean {
    // A query has no start of its own: it fails for orders of both kinds.
    const isRefused = this.#orders.takeFailure(operation, true) !== undefined;
    const isUnavailable = this.#state.device.unavailable?.includes(operation);
    const hasFailed = this.#orders.takeFailure(operation, false) !== undefined;
    return !isRefused && !isUnavailable && !hasFailed && !this.#orders.of(operation).hangs;
  }

  #identity(operation: Operation) {
    return this.#canTell(operation) ? this.account.current : undefined;
  }
}
