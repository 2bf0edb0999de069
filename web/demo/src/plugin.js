import { SSOClient } from "sso-client";

/** The plug-in of the page. What is sent goes to its element as it is, mistakes and all; the client does the rest. */
export class Plugin {
  /**
   * @param holder     the element that the plug-in element is put into
   * @param onMessage  called with each value that the plug-in posts
   * @param onState    called with "up" or "down" and a sentence, when that is known anew
   */
  constructor(holder, onMessage, onState) {
    this.client = SSOClient.create({ container: holder });
    this.client.embed.tabIndex = -1;
    this.client.embed.addEventListener("message", event => onMessage(event.data));
    this.onState = onState;
  }

  /** Sends a message that is answered by a message event, if at all. */
  send(message) {
    this.client.embed.postMessage(message);
  }

  /** Sends a message, blocks the page until the reply is there, and returns it. Throws what the
   *  browser throws, as when nothing is there to reply. */
  sendAndWait(message) {
    return this.client.embed.postMessageAndAwaitResponse(message);
  }

  /** Looks whether the plug-in is there, and tells. @param timeout  milliseconds until it has to be. */
  look(timeout) {
    return this.tell(this.client.ready(timeout));
  }

  /** Embeds it anew, which starts a plug-in process when there is none, and tells. */
  restart() {
    return this.tell(this.client.recover());
  }

  async tell(ready) {
    try {
      const version = await ready;
      this.onState("up", `Plug-in ${version} is up`);
    } catch (error) {
      this.onState("down", error.code === "plug-in-gone" ? "Plug-in does not answer" : "Plug-in is not there");
    }
  }
}
