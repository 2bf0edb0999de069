// The account of the device, for a page: wraps the plug-in's element.

/** An answer that says no. */
export class SsoError extends Error {}

export class Sso {
  /** Puts the element into the page. It has to be shown, if only as one pixel. */
  constructor() {
    this.element = document.createElement("embed");
    this.element.type = "application/x-sso-plugin";
    this.element.width = this.element.height = 1;
    document.body.append(this.element);
  }

  /** Sends an asynchronous command. @return a promise of its answer. */
  ask(request) {
    return new Promise((resolve, reject) => {
      const onMessage = ({ data }) => {
        // Answers to mistakes may lack the command; this page makes one request at a time.
        if (data.command !== undefined && data.command !== request.command) return;
        this.element.removeEventListener("message", onMessage);
        if (data.status === 0) resolve(data);
        else reject(new SsoError(`${request.command}: ${data.errorName}: ${data.errorMessage}`));
      };
      this.element.addEventListener("message", onMessage);
      this.element.postMessage(request);
    });
  }

  /** Sends a blocking command. @return its value. */
  call(request) {
    const { code, value, errorName, errorMessage } = this.element.postMessageAndAwaitResponse(request);
    if (code !== 0) throw new SsoError(`${request.command}: ${errorName}: ${errorMessage}`);
    return value;
  }
}
