// Runs in every document before its own scripts: makes what the page writes to its console readable,
// and tells what the engine keeps to itself, the resources that cannot be loaded.
//
// All goes to the browser through the console, as an argument that the inspector does not show: that
// of a "%c". It begins and ends with a key that the page does not know.
((key, wantsArguments) => {
  const native = {};
  for (const name of ["debug", "log", "info", "warn", "error", "table"]) {
    native[name] = console[name].bind(console);
  }
  const { stringify } = JSON;
  const ownName = "sso-browser-prelude";
  const mostItems = 100;
  const deepest = 6;

  // ---- Values as text ----

  const nameOf = value => {
    const prototype = Object.getPrototypeOf(value);
    const maker = prototype && Object.getOwnPropertyDescriptor(prototype, "constructor");
    return prototype === null ? "[no prototype]" : maker && maker.value && maker.value.name || "";
  };

  const few = (items, show) => {
    const shown = [];
    for (const item of items) {
      if (shown.length === mostItems) { shown.push("..."); break; }
      shown.push(show(item));
    }
    return shown.join(", ");
  };

  const withoutOwnFrames = stack =>
    stack.split("\n").filter(line => !line.includes(ownName)).join("\n");

  const showObject = (value, depth, around) => {
    if (around.includes(value)) return "[circular]";
    const inside = [...around, value];
    const show = item => showValue(item, depth + 1, inside);
    const property = key => {
      const { value: held, get, set } = Object.getOwnPropertyDescriptor(value, key);
      const shown = get || set ? "[getter]" : show(held);
      return `${/^[\w$]+$/.test(key) ? key : stringify(key)}: ${shown}`;
    };
    const properties = () => few(Object.keys(value), property);
    if (value instanceof Error) {
      const own = Object.keys(value);
      return withoutOwnFrames(String(value.stack || value)) + (own.length ? ` { ${properties()} }` : "");
    }
    if (value instanceof Date) return isNaN(value) ? "[invalid date]" : value.toISOString();
    if (value instanceof RegExp) return String(value);
    if (value instanceof Node) {
      return value instanceof Element ? value.cloneNode(false).outerHTML : `[${nameOf(value)} ${value.nodeName}]`;
    }
    const name = nameOf(value);
    if (depth >= deepest) return Array.isArray(value) ? "[array]" : `[${name || "object"}]`;
    if (Array.isArray(value)) return `[${few(value, show)}]`;
    if (ArrayBuffer.isView(value) && !(value instanceof DataView)) return `${name} [${few(value, show)}]`;
    if (value instanceof ArrayBuffer) return `ArrayBuffer of ${value.byteLength} bytes`;
    if (value instanceof Map) return `Map { ${few(value, ([from, to]) => `${show(from)} => ${show(to)}`)} }`;
    if (value instanceof Set) return `Set { ${few(value, show)} }`;
    if (value instanceof String || value instanceof Number || value instanceof Boolean) {
      return `[${name} ${showValue(value.valueOf(), depth + 1, inside)}]`;
    }
    const inner = properties();
    return (name && name !== "Object" ? name + " " : "") + (inner ? `{ ${inner} }` : "{}");
  };

  const showValue = (value, depth = 0, around = []) => {
    try {
      switch (typeof value) {
        case "string": return depth === 0 ? value : stringify(value);
        case "bigint": return `${value}n`;
        case "function": return `[function ${value.name || "without a name"}]`;
        case "object": return value === null ? "null" : showObject(value, depth, around);
        default: return Object.is(value, -0) ? "-0" : String(value);
      }
    } catch (error) {
      return "[a value that cannot be shown]";
    }
  };

  const specifiers = {
    s: value => typeof value === "object" ? showValue(value, 1) : String(value),
    d: value => typeof value === "symbol" ? "NaN" : String(parseInt(value)),
    i: value => typeof value === "symbol" ? "NaN" : String(parseInt(value)),
    f: value => typeof value === "symbol" ? "NaN" : String(parseFloat(value)),
    o: value => showValue(value, 1),
    O: value => showValue(value, 1),
    c: () => "",
  };

  const format = values => {
    const rest = [...values];
    let text = "";
    if (typeof rest[0] === "string") {
      text = rest.shift().replace(/%([sdifoOc%])/g, (whole, letter) =>
        letter === "%" ? "%" : rest.length === 0 ? whole : specifiers[letter](rest.shift()));
      if (rest.length > 0) text += " ";
    }
    return text + rest.map(value => showValue(value)).join(" ");
  };

  const table = data => {
    if (typeof data !== "object" || data === null) return showValue(data);
    const rows = data instanceof Map ? [...data] : Object.keys(data).map(key => [key, data[key]]);
    const columns = new Set();
    let hasValues = false;
    for (const [, row] of rows) {
      if (typeof row === "object" && row !== null) for (const key of Object.keys(row)) columns.add(key);
      else hasValues = true;
    }
    const head = ["(index)", ...columns, ...(hasValues ? ["value"] : [])];
    const cells = rows.slice(0, mostItems).map(([index, row]) => {
      const isObject = typeof row === "object" && row !== null;
      return [showValue(index), ...[...columns].map(key => isObject && key in row ? showValue(row[key], 1) : ""),
        ...(hasValues ? [isObject ? "" : showValue(row, 1)] : [])];
    });
    const widths = head.map((_, i) => Math.max(...[head, ...cells].map(row => row[i].length)));
    return [head, ...cells]
      .map(row => row.map((cell, i) => cell.padEnd(widths[i])).join(" | ").trimEnd()).join("\n");
  };

  // ---- To the browser ----

  /** The line of the page that called, as { file, line }. */
  const caller = () => {
    const frames = String(new Error().stack).split("\n").slice(1);
    const frame = frames.find(line => !line.includes(ownName)) || "";
    const found = frame.match(/\(?([^\s()]+):(\d+):\d+\)?$/);
    return found ? { file: found[1], line: Number(found[2]) } : {};
  };

  const asJson = value => {
    try {
      const text = value instanceof Error ? undefined : stringify(value);
      return text === undefined ? showValue(value, 1) : JSON.parse(text);
    } catch (error) {
      return showValue(value, 1);
    }
  };

  const wrap = message => key + stringify(message) + key;

  /** Calls the engine's function as the page meant it, with the readable text beside it. */
  const pass = (name, level, values, text) => {
    const message = { kind: "entry", level, text, ...caller() };
    if (wantsArguments) message.arguments = Array.from(values, asJson);
    const [first, ...rest] = values;
    if (values.length === 0) native[name]("%c", wrap(message));
    else if (typeof first === "string") native[name]("%c" + first, wrap(message), ...rest);
    else native[name]("%c%o", wrap(message), first, ...rest);
  };

  // What the engine's inspector files under "verbose", which it does not show by itself.
  const tell = message => native.debug("%c", wrap(message));

  let indent = "";
  const indented = text => indent + text.replace(/\n/g, "\n" + indent);
  const replace = (name, level, text = format) => {
    console[name] = { [name](...values) { pass(name, level, values, indented(text(values))); } }[name];
  };
  for (const name of ["debug", "log", "info", "warn", "error"]) replace(name, name);
  console.trace = function trace(...values) {
    const stack = withoutOwnFrames(String(new Error().stack)).replace(/^Error/, "");
    pass("log", "log", values, indented("trace: " + format(values) + stack));
  };
  console.table = function table_(...values) {
    tell({ kind: "entry", level: "log", text: indented(table(values[0])), ...caller(),
      ...(wantsArguments ? { arguments: Array.from(values, asJson) } : {}) });
    tell({ kind: "skip" });  // the engine's own text of the next message says nothing
    native.table(...values);
  };
  console.dir = function dir(value) { pass("log", "log", [value], indented(showValue(value, 1))); };
  console.dirxml = console.dir;
  console.assert = function assert(condition, ...values) {
    if (!condition) pass("error", "error", values, indented("assertion failed" + (values.length ? ": " : "") + format(values)));
  };
  const open = function group(...values) {
    pass("log", "log", values, indented(format(values)));
    indent += "  ";
  };
  console.group = open;
  console.groupCollapsed = open;
  console.groupEnd = function groupEnd() { indent = indent.slice(2); };

  // ---- Failures ----

  // The engine tells of an uncaught error, without its stack.
  const noteStack = error => tell({ kind: "stack",
    text: error instanceof Error ? withoutOwnFrames(String(error.stack)) : format([error]) });
  const noteResource = (what, url, why = "") => tell({ kind: "resource", what, url: String(url), why });
  addEventListener("unhandledrejection", event => noteStack(event.reason), true);
  addEventListener("error", event => {
    const { target } = event;
    if (target === window || !(target instanceof Element)) return event.error && noteStack(event.error);
    const url = target.currentSrc || target.src || target.href || target.data || "";
    if (url) noteResource(target.localName === "link" ? "style sheet" : target.localName, url);
  }, true);

  // Of what a style sheet asks for in vain, images, fonts and imports, the page learns the address alone.
  // So it is asked for again, from the cache if it is there.
  const { fetch: ask } = window;
  const forbidden = new Set();  // by the page's own policy, which may allow the image, and not to ask
  addEventListener("securitypolicyviolation", event => forbidden.add(event.blockedURI));
  const noteFailure = url => {
    const isOwn = new URL(url).origin === origin;
    ask(url, { cache: "force-cache", mode: isOwn ? "same-origin" : "no-cors" }).then(
      ({ status, statusText }) => status >= 400 && noteResource("CSS resource", url, `${status} ${statusText}`),
      // That it was forbidden is told after that it failed, by a task that may have to wait.
      error => setTimeout(() => forbidden.has(url) || noteResource("CSS resource", url, error.message), 500));
  };
  new PerformanceObserver(list => {
    for (const { initiatorType, name } of list.getEntries()) {
      if (initiatorType === "css" && name.startsWith("http")) noteFailure(name);
    }
  }).observe({ type: "resource", buffered: true });

  // An uncaught error of a worker is told twice by the engine, for the worker and for its page.
  const NativeWorker = window.Worker;
  window.Worker = class Worker extends NativeWorker {
    constructor(url, ...options) {
      super(url, ...options);
      this.addEventListener("error", ({ message }) => {
        if (!message) return noteResource("worker", absolute(url));
        tell({ kind: "echo", text: message });
        setTimeout(() => tell({ kind: "echo", text: "" }));  // a listener of the page may keep it
      });
    }
  };

  const absolute = url => { try { return new URL(url, document.baseURI).href; } catch (error) { return url; } };
  if (window.fetch) {
    const nativeFetch = window.fetch;
    window.fetch = function fetch(...request) {
      const url = absolute(request[0] && request[0].url || request[0]);
      return nativeFetch.apply(this, request).then(response => {
        if (response.status >= 400) noteResource("fetch", url, `${response.status} ${response.statusText}`);
        return response;
      }, error => {
        if (!error || error.name !== "AbortError") noteResource("fetch", url, error && error.message);
        throw error;
      });
    };
  }
  const { open: nativeOpen, send: nativeSend } = XMLHttpRequest.prototype;
  const addresses = new WeakMap();
  XMLHttpRequest.prototype.open = function open(method, url, ...rest) {
    addresses.set(this, absolute(url));
    return nativeOpen.call(this, method, url, ...rest);
  };
  XMLHttpRequest.prototype.send = function send(...body) {
    const url = addresses.get(this);
    this.addEventListener("error", () => noteResource("XMLHttpRequest", url), { once: true });
    this.addEventListener("load", () => {
      if (this.status >= 400) noteResource("XMLHttpRequest", url, `${this.status} ${this.statusText}`);
    }, { once: true });
    return nativeSend.apply(this, body);
  };
})("@KEY@", @WANTS_ARGUMENTS@);
//# sourceURL=sso-browser-prelude
