/** Why a call failed:
 *  - `refused`: the application lacks the privilege, which `privilege` names;
 *  - `unknown-command`: this plug-in does not know the command;
 *  - `invalid`: the request or the answer is malformed;
 *  - `not-started`: the device could not start the operation;
 *  - `not-granted`: the account gives this client no token;
 *  - `timed-out`: no answer came in time;
 *  - `aborted`: the caller's signal ended the call;
 *  - `disposed`: the client was disposed of;
 *  - `plug-in-gone`: the plug-in's process ended, or the element was embedded anew;
 *  - `not-shown`: the element is not in the page, or not laid out;
 *  - `not-installed`: the browser has no such plug-in;
 *  - `wrong-version`: the plug-in is older than the application needs. */
export type SSOErrorCode =
  | "refused"
  | "unknown-command"
  | "invalid"
  | "not-started"
  | "not-granted"
  | "timed-out"
  | "aborted"
  | "disposed"
  | "plug-in-gone"
  | "not-shown"
  | "not-installed"
  | "wrong-version";

/** A call that failed. */
export class SSOError extends Error {
  declare readonly code: SSOErrorCode;
  /** The command, by the protocol's name. */
  declare readonly command: string;
  /** What lies behind it: what was thrown, the signal's reason, the name of a key that holds no text, or the answer. */
  declare readonly cause: unknown;
  /** Whether the same call may succeed when it is made again. */
  declare readonly retryable: boolean;
  /** The answer's "status", or the reply's "code". */
  declare readonly status?: number;
  /** The answer's, letter for letter. */
  declare readonly errorName?: string;
  /** The answer's, letter for letter. */
  declare readonly errorMessage?: string;
  /** The privilege that the command needs, where an answer told of the failure. */
  declare readonly privilege?: string;

  /** @param cause  when there is a status other than 0, the answer.
   *  @param privilege  that the command needs. */
  constructor(code: SSOErrorCode, command: string, cause?: any, status?: number, privilege?: string) {
    super(`${command}: ${cause?.errorMessage || code}`);
    const retryable = /^(t|p|not-s)/.test(code);
    Object.assign(this, status && cause, { name: "SSOError", code, command, cause, status, privilege, retryable });
  }
}
