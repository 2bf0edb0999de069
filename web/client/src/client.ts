import { Flag, kCommands, kPrefix, kUnregistered, type Methods } from "./commands.js";
import { kMimeType, type Embed, type EmbedMessage } from "./embed.js";
import { SSOError, type SSOErrorCode } from "./error.js";
import type { CallOptions, ClientOptions, CreateOptions } from "./options.js";
import { outcomeOf } from "./outcome.js";

/** What listeners are told. */
export interface SSOEvents {
  /** The browser took the plug-in's handler away: nothing is answered from now on. */
  unregister: void;
  /** The plug-in has gone, with all that was under way. */
  gone: SSOError;
  /** It is there again. */
  recovered: void;
}

/** The device's account, for a page. Each call is settled exactly once. */
export interface SSOClient extends Methods {
  /** The plug-in's embed. */
  readonly embed: Embed;
  /** Calls a function at each event. @return what ends that. */
  on<E extends keyof SSOEvents>(event: E, listener: (detail: SSOEvents[E]) => void): () => void;
  /** Waits until the plug-in answers. @param timeout  in milliseconds; default: 30,000; Infinity for none.
   *  @return its version; "" when the application may not ask for it. */
  ready(timeout?: number): Promise<string>;
  /** Embeds the element anew, which starts a plug-in that has gone. What is under way rejects. As `ready()`. An embed
   *  that is in no page cannot be embedded anew: it is only waited for, and must owe no answers. */
  recover(timeout?: number): Promise<string>;
  /** Ends the client: what is under way rejects, and so does every later call. An element that it made is removed. */
  dispose(): void;
}

type Keys = Record<string, unknown>;
type Timer = ReturnType<typeof setTimeout>;

/** A request from its call until its answer, or until that is no longer waited for. */
interface Request {
  _command: string;
  _message: object;
  /** Whether it was sent, and so may be answered. */
  _isSent?: boolean;
  _resolve(answer: unknown): void;
  _reject(error: SSOError): void;
}

/** What an element in a page has, and another embed need not have. */
type Place = Pick<HTMLElement, "getClientRects" | "nextSibling" | "parentNode" | "remove">;

/** What any plug-in replies to. */
const kProbe = { command: `${kPrefix}getVersion` };
const kTimeout = 30000;
/** Milliseconds, of which a timer can count little more. */
const kForever = 2e9;
const kPause = 50;

/** Calls a function later, unless that is further away than a timer can count. */
const after = (time: number, act: (what: any) => void, what?: unknown): Timer | 0 =>
  time < kForever ? setTimeout(act, time, what) : 0;

const connect = (embed: Embed & Partial<Place>, options: ClientOptions = {}, isOwn?: boolean): SSOClient => {
  const listeners = new Set<[event: string, listener: (detail: never) => void]>();
  /** What waits for its turn, and what was sent, which is no two of one command. Each in the order in which it came. */
  const requests = new Set<Request>();
  /** Unknown until the plug-in has said something. */
  let isUp: boolean | undefined;
  let isDisposed: boolean;
  let watch: Timer | 0;

  /** The oldest of the requests with this name, or of all, that are sent or not. */
  const first = (isSent: boolean | undefined, name?: unknown): Request | undefined => {
    for (const request of requests) {
      if (isSent === request._isSent && (!name || name === request._command)) return request;
    }
    return undefined;
  };

  const emit = (event: keyof SSOEvents, detail?: SSOError): void => {
    for (const [wanted, listener] of listeners) {
      // Each of its own, so that one that throws harms no other.
      if (wanted === event) Promise.resolve(detail as never).then(listener);
    }
  };

  /** Rejects all that is under way. */
  const rejectAll = (code: SSOErrorCode, cause?: unknown): void => {
    for (const request of requests) {
      requests.delete(request);
      request._reject(new SSOError(code, request._command, cause));
    }
  };

  const isThere = (): void => {
    if (isUp === false) emit("recovered");
    isUp = true;
  };

  /** Why the element takes no request. */
  const failure = (command: string, cause?: unknown): SSOError =>
    new SSOError(
      (embed.postMessage as unknown)
        ? "plug-in-gone"
        : embed.getClientRects?.().length! < 1
          ? "not-shown"
          : "not-installed",
      command,
      cause,
    );

  /** Sends a request and blocks until the reply. */
  const exchange = (message = kProbe, command = message.command): unknown => {
    try {
      const reply = embed.postMessageAndAwaitResponse(message);
      isThere();
      return reply;
    } catch (cause) {
      const error = failure(command, cause);
      if (isUp ?? first(true)) {
        isUp = false;
        emit("gone", error);
      }
      rejectAll("plug-in-gone", error);
      throw error;
    }
  };
  /** Sends the next request of a command, unless one is under way. */
  const send = (name: string): void => {
    const request = !first(true, name) && first(undefined, name);
    if (!request) return;
    try {
      // Behind what was sent before it.
      requests.delete(request);
      requests.add(request);
      request._isSent = true;
      embed.postMessage(request._message);
    } catch (cause) {
      request._reject(failure(name, cause));
      end(request);
    }
  };

  /** A request is answered, or not waited for any longer. */
  const end = (request: Request): void => {
    requests.delete(request);
    // Not at once: what is answered within postMessage() would come here deeper and deeper.
    Promise.resolve(request._command).then(send);
  };

  const receive = ({ data }: EmbedMessage): void => {
    if (data === kUnregistered) emit("unregister");
    const { status, command } = Object(data);
    // An answer without a command belongs to the oldest request.
    const request = typeof status === "number" && first(true, command);
    if (!request) return;
    isThere();
    request._resolve(data);
    end(request);
  };

  /** Looks now and then whether the plug-in is still there, as long as something is under way. */
  const keepWatch = (): void => {
    watch ||= after((options.probe ?? 1000) || kForever, () => {
      watch = 0;
      if (!first(true)) return;
      try {
        exchange();
        keepWatch();
      } catch {
        // All has been rejected.
      }
    });
  };

  const client = {
    embed,
    on(event, listener) {
      const entry: [string, typeof listener] = [event, listener];
      listeners.add(entry);
      return () => listeners.delete(entry);
    },
    async ready(timeout = kTimeout) {
      for (const last = Date.now() + timeout - kPause; ; await new Promise(done => setTimeout(done, kPause))) {
        try {
          const version = client.getVersionSync();
          // "1.10" is newer than "1.9".
          if (version.localeCompare(options.version ?? "", [], { numeric: true }) >= 0) return version;
          throw new SSOError("wrong-version", kProbe.command, version);
        } catch (error) {
          if ((error as SSOError).status) return "";
          if (!(error as SSOError).retryable || last < Date.now()) throw error;
        }
      }
    },
    recover(timeout) {
      rejectAll("plug-in-gone");
      isUp = false;
      // This takes it out, too.
      if (!isDisposed) embed.parentNode?.insertBefore(embed as unknown as Node, embed.nextSibling!);
      return client.ready(timeout);
    },
    dispose() {
      isDisposed = true;
      embed.removeEventListener("message", receive);
      clearTimeout(watch);
      rejectAll("disposed");
      if (isOwn) embed.remove!();
    },
  } as Partial<SSOClient> as SSOClient & Record<string, unknown>;

  for (const method in kCommands) {
    const [flags, key, name = method] = kCommands[method]!;
    const command = kPrefix + name;

    const messageOf = (keys: Keys): typeof kProbe => {
      if (isDisposed) throw new SSOError("disposed", command);
      for (const key in keys) {
        if (typeof (keys[key] ?? "") !== "string") throw new SSOError("invalid", command, key);
      }
      return { ...keys, command };
    };

    /** Sends a request, in its turn. @return a promise of the outcome of its answer. */
    const start = async (keys: Keys, { signal, timeout }: CallOptions = {}): Promise<unknown> => {
      const message = messageOf(keys);
      let request: Request;
      const giveUp = (code: SSOErrorCode): void => {
        request._reject(new SSOError(code, command, signal?.reason));
        if (request._isSent) after(options.grace ?? 10000, end, request);
        else requests.delete(request);
      };
      const abort = (): void => giveUp("aborted");
      const limit = timeout ?? options.timeout ?? (flags & Flag.Popup ? kForever : kTimeout);
      // What blocks is over before a timer could be.
      const timer = key && after(limit, giveUp, "timed-out");
      signal?.addEventListener("abort", abort);
      try {
        const answer = await new Promise((resolve, reject) => {
          request = { _command: command, _message: message, _resolve: resolve, _reject: reject };
          if (signal?.aborted) {
            abort();
          } else if (key) {
            if (isUp === false) exchange(kProbe, command);
            requests.add(request);
            send(command);
            keepWatch();
          } else {
            resolve(exchange(message));
          }
        });
        return outcomeOf(command, key, flags, answer);
      } finally {
        clearTimeout(timer as Timer);
        signal?.removeEventListener("abort", abort);
      }
    };

    client[method] = flags & Flag.Keys ? start : (options: CallOptions) => start({}, options);
    if (!key) client[method + "Sync"] = (keys: Keys) => outcomeOf(command, key, flags, exchange(messageOf(keys)));
  }
  embed.addEventListener("message", receive);
  if (options.autoRecover) client.on("gone", () => client.recover().catch(() => {}));
  return client;
};

export const SSOClient = {
  /** Whether this browser has the plug-in. */
  isSupported: (): boolean => kMimeType in navigator.mimeTypes,

  /** Uses an element that is in the page. */
  attach: connect as (embed: Embed, options?: ClientOptions) => SSOClient,

  /** Puts an element of its own into the page. */
  create(options: CreateOptions): SSOClient {
    const embed = Object.assign(document.createElement("embed"), { type: kMimeType, width: 1, height: 1 });
    return connect(options.container.appendChild(embed) as unknown as Embed, options, true);
  },
};
