import type { Embed, EmbedMessage } from "../src/index.js";

type Request = Record<string, unknown>;

export const kVersionReply = { code: 0, errorName: "", errorMessage: "", value: "1.1" };

/** An embed that does only what a test tells it to, and remembers what reached it. */
export class PlainEmbed implements Embed {
  readonly posted: Request[] = [];
  readonly asked: Request[] = [];
  readonly listeners = new Set<(message: EmbedMessage) => void>();
  /** Called with each posted request. */
  onPost: (request: Request) => void = () => {};
  /** What a blocking request gets. */
  reply: (request: Request) => unknown = () => kVersionReply;

  addEventListener(type: string, listener: (message: EmbedMessage) => void): void {
    if (type === "message") this.listeners.add(listener);
  }
  removeEventListener(type: string, listener: (message: EmbedMessage) => void): void {
    if (type === "message") this.listeners.delete(listener);
  }
  postMessage(request: object): void {
    this.posted.push(request as Request);
    this.onPost(request as Request);
  }
  postMessageAndAwaitResponse(request: object): unknown {
    this.asked.push(request as Request);
    return this.reply(request as Request);
  }

  /** Posts to the page. */
  answer(data: unknown): void {
    for (const listener of this.listeners) listener({ data });
  }
  /** From now on a blocking request throws, and posted ones are lost. */
  die(thrown: unknown = kThrown): void {
    this.reply = () => {
      throw thrown;
    };
  }
  /** It replies again. */
  rise(): void {
    this.reply = () => kVersionReply;
  }
}

/** What a browser throws when there is nothing behind the element. */
export const kThrown = new Error("Error: Error calling method on NPObject.");

/** An embed with the part of a page around it that re-embedding needs. */
export class PageEmbed extends PlainEmbed {
  readonly placed: unknown[][] = [];
  removed = 0;
  /** 0 when the element is not laid out. */
  rects = 1;
  readonly nextSibling = { isNext: true };
  parentNode: { insertBefore(...what: unknown[]): void } | null = {
    insertBefore: (...what) => {
      this.placed.push(what);
      this.onPlace();
    },
  };
  /** Called each time it is embedded anew. */
  onPlace: () => void = () => {};

  getClientRects(): object[] {
    return new Array(this.rects).fill({});
  }
  remove(): void {
    ++this.removed;
    this.parentNode = null;
  }
  /** Without a plug-in the element has no functions. */
  hide(rects: number): void {
    this.rects = rects;
    Object.assign(this, { postMessage: undefined, postMessageAndAwaitResponse: undefined });
  }
  show(): void {
    this.rects = 1;
    const bare = this as Partial<PlainEmbed>;
    delete bare.postMessage;
    delete bare.postMessageAndAwaitResponse;
  }
}

/** What has become of a promise by now. */
export interface Fate {
  settled: number;
  value?: unknown;
  error?: any;
}

export function fateOf(promise: Promise<unknown>): Fate {
  const fate: Fate = { settled: 0 };
  promise.then(
    value => Object.assign(fate, { settled: fate.settled + 1, value }),
    error => Object.assign(fate, { settled: fate.settled + 1, error }),
  );
  return fate;
}

/** All that an error tells. */
export function tellOf(error: any): Record<string, unknown> {
  return { ...error, message: error.message };
}

/** A signal that counts who listens. */
export class CountedSignal {
  aborted = false;
  reason: unknown;
  readonly listeners = new Set<() => void>();

  addEventListener(type: "abort", listener: () => void): void {
    if (type === "abort") this.listeners.add(listener);
  }
  removeEventListener(type: "abort", listener: () => void): void {
    if (type === "abort") this.listeners.delete(listener);
  }
  abort(reason?: unknown): void {
    this.aborted = true;
    this.reason = reason;
    for (const listener of [...this.listeners]) listener();
  }
}
