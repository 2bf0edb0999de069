/** A message that the plug-in posts to the page. */
export interface EmbedMessage {
  readonly data: unknown;
}

/** The plug-in's element, or whatever takes its place. */
export interface Embed {
  addEventListener(type: "message", listener: (message: EmbedMessage) => void): void;
  removeEventListener(type: "message", listener: (message: EmbedMessage) => void): void;
  /** Sends a request that is answered by a "message" event. */
  postMessage(request: object): void;
  /** Sends a request, blocks until the reply is there, and returns it. */
  postMessageAndAwaitResponse(request: object): unknown;
}

/** What the plug-in is embedded as. */
export const kMimeType = "application/x-sso-plugin";
