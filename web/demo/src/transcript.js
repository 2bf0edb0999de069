/** Any value as one line of text, for people. Most are JSON; what is not is named. */
export function asText(value) {
  const named = (key, part) => {
    if (part instanceof ArrayBuffer) return `ArrayBuffer of ${part.byteLength} bytes`;
    if (part === undefined || typeof part === "number" && !isFinite(part)) return String(part);
    return part;
  };
  return JSON.stringify(value, named, 1).replace(/\n */g, " ");
}

function timeOfDay(date) {
  const two = number => String(number).padStart(2, "0");
  return [date.getHours(), date.getMinutes(), date.getSeconds()].map(two).join(":") +
    "." + String(date.getMilliseconds()).padStart(3, "0");
}

/**
 * What was sent and what came back, in order.
 *
 * Answers carry no identifier of their request. One with a command belongs to the oldest
 * unanswered request of that command; one without belongs to none that could be told.
 */
export class Transcript {
  /** @param onChange  called with the new entry, or with nothing when all have gone */
  constructor(onChange) {
    this.onChange = onChange;
    this.clear();
  }

  clear() {
    this.entries = [];
    this.unanswered = [];
    this.onChange();
  }

  /** Answers to what was sent so far will not come. */
  forgetUnanswered() {
    this.unanswered = [];
  }

  addRequest(path, message) {
    const request = this.add({ kind: "request", path, value: message });
    if (path === "async" && request.command) this.unanswered.push(request);
    return request;
  }

  /** An answer that the plug-in posted. */
  addPosted(value) {
    const command = value && value.command;
    const index = this.unanswered.findIndex(request => request.command === command);
    const [request] = index < 0 ? [] : this.unanswered.splice(index, 1);
    return this.add({ kind: "answer", path: "async", value, request });
  }

  /** The reply to a blocking request. */
  addReply(request, value) {
    return this.add({ kind: "answer", path: "blocking", value, request });
  }

  /** What was thrown instead of a reply. */
  addException(request, error) {
    return this.add({ kind: "exception", path: request.path, value: String(error), request });
  }

  add({ kind, path, value, request }) {
    const now = performance.now();
    const entry = {
      kind, path, value, now,
      time: timeOfDay(new Date()),
      command: Transcript.commandOf(value) || (request && request.command) || null,
      elapsedMs: request ? now - request.now : null,
      error: kind === "request" ? null : Transcript.errorOf(kind, value),
    };
    this.entries.push(entry);
    this.onChange(entry);
    return entry;
  }

  /** One line. */
  static toText(entry) {
    const sign = { request: "->", answer: "<-", exception: "!!" }[entry.kind];
    const way = entry.path === "blocking" ? "blocking" : "async   ";
    const elapsed = entry.elapsedMs === null ? "" : ` (${entry.elapsedMs.toFixed(1)} ms)`;
    const value = entry.kind === "exception" ? entry.value : asText(entry.value);
    return `${entry.time} ${sign} ${way} ${value}${elapsed}`;
  }

  static commandOf(value) {
    return value && typeof value.command === "string" ? value.command : null;
  }

  /** What went wrong, in a few words; null when nothing did. */
  static errorOf(kind, value) {
    if (kind === "exception") return "exception";
    if (!value || typeof value !== "object") return null;
    for (const key of ["status", "code"]) {
      if (typeof value[key] === "number" && value[key] !== 0) {
        return [`${key} ${value[key]}`, value.errorName].filter(Boolean).join(" · ");
      }
    }
    return value.errorName || null;
  }
}
