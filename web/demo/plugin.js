"use strict";

/** The plug-in element of the page. */
class Plugin {
  /**
   * @param holder     the element that the plug-in element is put into
   * @param onMessage  called with each value that the plug-in posts
   */
  constructor(holder, onMessage) {
    this.holder = holder;
    this.onMessage = onMessage;
    this.start();
  }

  /** Makes the plug-in element anew, which starts a plug-in process when there is none. */
  start() {
    // One pixel, not hidden: an element that is not laid out gets no plug-in.
    const element = document.createElement("embed");
    element.type = "application/x-sso-plugin";
    element.width = 1;
    element.height = 1;
    element.tabIndex = -1;
    element.addEventListener("message", event => this.onMessage(event.data));
    this.holder.replaceChildren(element);
    this.element = element;
  }

  /** Whether the element takes messages. It goes on to when the plug-in's process has ended. */
  isUp() {
    return typeof this.element.postMessage === "function";
  }

  /** Sends a message that is answered by a message event, if at all. */
  send(message) {
    this.element.postMessage(message);
  }

  /** Sends a message, blocks the page until the reply is there, and returns it. Throws what the
   *  browser throws, as when nothing is there to reply. */
  sendAndWait(message) {
    return this.element.postMessageAndAwaitResponse(message);
  }
}
