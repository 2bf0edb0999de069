// The plug-in in a page, as the tests' scripts use it.

class Embedding {
  constructor() {
    this.element = document.createElement("embed");
    this.element.type = "application/x-sso-plugin";
    this.element.width = 1;
    this.element.height = 1;
    /** What came and was not taken yet, in order. */
    this.messages = [];
    this.received = 0;
    this.waiting = [];
    this.element.addEventListener("message", event => {
      this.received += 1;
      const taker = this.waiting.shift();
      if (taker) taker(event.data);
      else this.messages.push(event.data);
    });
    document.body.append(this.element);
  }

  post(message) { this.element.postMessage(message); }

  /** The next message from the plug-in. */
  next() {
    if (this.messages.length > 0) return Promise.resolve(this.messages.shift());
    return new Promise(resolve => this.waiting.push(resolve));
  }

  /** Posts and waits for one message. */
  ask(message) {
    const answer = this.next();
    this.post(message);
    return answer;
  }

  /** The blocking path: the reply, or { thrown: text } for an exception. */
  call(message) {
    try {
      return this.element.postMessageAndAwaitResponse(message);
    } catch (error) {
      return { thrown: String(error) };
    }
  }

  remove() { this.element.remove(); }
}

/** Waits until `condition` holds; the test's own time limit ends a wait that is in vain. */
async function until(condition) {
  while (!condition()) await new Promise(resolve => setTimeout(resolve, 5));
}
