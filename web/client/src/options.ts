/** The part of an `AbortSignal` that a call needs. */
export interface Signal {
  readonly aborted: boolean;
  readonly reason?: unknown;
  addEventListener(type: "abort", listener: () => void): void;
  removeEventListener(type: "abort", listener: () => void): void;
}

/** Of one call. */
export interface CallOptions {
  /** Ends the call, which then rejects with `aborted`. What the device has begun goes on. */
  signal?: Signal;
  /** Milliseconds until the call rejects with `timed-out`; Infinity for none. The time in which it waits for an earlier
   *  request of its command counts. */
  timeout?: number;
}

/** Of a client. */
export interface ClientOptions {
  /** The `timeout` of calls that have none of their own. Default: 30,000; none for those that show a page. */
  timeout?: number;
  /** Milliseconds for which the answer to a call that was given up is waited for before the next request of its command
   *  is sent. One that comes later than this is taken for the next request's. Default: 10,000. */
  grace?: number;
  /** Milliseconds between two looks whether the plug-in is still there, while an answer is awaited; 0 for none.
   *  Default: 1,000. A look that is due when nothing is awaited any more is not made. */
  probe?: number;
  /** Whether the element is embedded anew as soon as the plug-in is gone. Default: false. */
  autoRecover?: boolean;
  /** The oldest version of the plug-in that the application can use, as "1.1"; see `ready()`. */
  version?: string;
}

/** Of `SSOClient.create()`. */
export interface CreateOptions extends ClientOptions {
  /** Where the element is put. It has to be shown, if only as one pixel. */
  container: Node;
}
