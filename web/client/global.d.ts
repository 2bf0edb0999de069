// The plug-in's element, for pages that use it without the client.

/** A request: an object whose "command" names what to do. All other keys hold texts. */
interface SSORequest {
  command: string;
  [key: string]: string | undefined;
}

/** An answer to a posted request, as the "data" of a "message" event. */
interface SSOAnswer {
  command?: string;
  /** 0 when the operation has ended, 18 when the privilege is missing, -1 otherwise. */
  status: number;
  errorName?: string;
  errorMessage?: string;
  state?: number;
  token?: string;
  PartnerAccountInfo?: string;
  result?: number;
}

/** A reply to a blocking request. */
interface SSOReply {
  /** 0 for success. */
  code: number;
  errorName: string;
  errorMessage: string;
  value?: string | number;
}

interface HTMLEmbedElement {
  /** Sends a request that is answered by a "message" event; "Unregister" comes when nothing will answer any more. */
  postMessage(request: SSORequest): void;
  /** Sends a request, blocks until the reply is there, and returns it. */
  postMessageAndAwaitResponse(request: SSORequest): SSOReply;
  addEventListener(type: "message", listener: (event: MessageEvent<SSOAnswer | "Unregister">) => void): void;
}
