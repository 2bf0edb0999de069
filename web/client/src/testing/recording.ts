import { kCommands, kVersion } from "./data.js";
import { doneAnswer, type Path } from "./protocol.js";
import { Pseudonyms } from "./pseudonyms.js";
import { fromRecorded, isDictionary, toRecorded } from "./values.js";

/** A page does not do what the recording has. */
export class RecordingDifference extends Error {
  constructor(message: string) {
    super(message);
    this.name = "RecordingDifference";
  }
}

/** A message of a recording. */
interface Entry {
  readonly line: number;
  readonly isRequest: boolean;
  readonly path: Path;
  readonly value: unknown;
  readonly hasPseudonyms: boolean;
  /** In milliseconds since 1970. */
  readonly time: number;
}

/** What the plug-in posts in answer, some time after the request. */
export interface RecordedPost {
  readonly value: unknown;
  readonly delay: number;
}

/** How a request was answered. */
export interface Answers {
  /** Of a request that blocked; none when there was none. */
  readonly reply?: { readonly value: unknown };
  /** Whatever was posted until the next request. */
  readonly posts: readonly RecordedPost[];
}

function readEntries(text: string, wanted: number | undefined): Entry[] {
  const entries: Entry[] = [];
  const instances = new Set<unknown>();
  for (const [at, source] of text.split(/\r?\n/).entries()) {
    // As sso-host reads its input: a line may say nothing.
    if (/^[\s\ufeff]*(#|\/\/|$)/.test(source)) continue;
    const fail = (what: string): never => {
      throw new TypeError(`recording: line ${at + 1} ${what}`);
    };
    let node: unknown;
    try {
      node = JSON.parse(source);
    } catch {
      fail("is not JSON");
    }
    if (!isDictionary(node)) return fail("is no object");
    const { path, instance, time } = node;
    const isRequest = "request" in node;
    if ((path !== "async" && path !== "blocking") || (!isRequest && !("answer" in node))) {
      fail("is no request and no answer, as --messages writes them");
    }
    instances.add(instance);
    if (wanted !== undefined && wanted !== instance) continue;
    const value = fromRecorded(isRequest ? node["request"] : node["answer"]);
    entries.push({
      line: at + 1, isRequest, path: path as Path, value,
      hasPseudonyms: node["pseudonyms"] === true, time: Date.parse(String(time)) || 0,
    });
  }
  if (wanted === undefined && instances.size > 1) {
    throw new TypeError(`recording: has the elements ${[...instances].join(", ")}; the option "instance" takes one`);
  }
  if (entries.length === 0) {
    throw new TypeError(wanted === undefined ? "recording: is empty" : `recording: has no element ${wanted}`);
  }
  return entries;
}

const kSent: Record<Path, string> = { async: "posted", blocking: "sent blocking" };

const kGetVersion = kCommands.find(({ method }) => method === "getVersion")!;

/** The client asks for the version now and then, by itself: that is no part of the comparison. */
const isProbe = (path: Path, value: unknown): boolean =>
  path === "blocking" && isDictionary(value) && value["command"] === kGetVersion.name;

/** The entries that are compared, and the last reply to one that is not. */
function withoutProbes(entries: readonly Entry[]): { kept: Entry[]; version?: { value: unknown } } {
  let isProbing = false;
  let version: Entry | undefined;
  const kept = entries.filter(entry => {
    if (entry.path === "async") return true;
    // What blocks has its reply before the next one.
    if (entry.isRequest) isProbing = isProbe(entry.path, entry.value);
    else if (isProbing) version = entry;
    return !isProbing;
  });
  return { kept, version };
}

/** Where two requests differ, one place a line. */
function differences(recorded: unknown, came: unknown, ignored: readonly string[]): string[] {
  if (!isDictionary(recorded) || !isDictionary(came)) {
    const texts = [toRecorded(recorded), toRecorded(came)] as const;
    return texts[0] === texts[1] ? [] : [`recorded ${texts[0]}, came ${texts[1]}`];
  }
  const shown = (value: object, key: string): string =>
    key in value ? toRecorded((value as Record<string, unknown>)[key]) : "nothing";
  return [...new Set([...Object.keys(recorded), ...Object.keys(came)])]
    .filter(key => !(ignored.includes(key) && key in recorded && key in came))
    .filter(key => shown(recorded, key) !== shown(came, key))
    .map(key => `${JSON.stringify(key)}: recorded ${shown(recorded, key)}, came ${shown(came, key)}`);
}

/** A recording that `sso-host` or `sso-browser` wrote, as it is served to a page. */
export class Recording {
  readonly #entries: readonly Entry[];
  readonly #ignored: readonly string[];
  readonly #version: Answers["reply"];
  readonly #pseudonyms = new Pseudonyms();
  #next = 0;

  /** @param ignored  keys of requests whose values may differ. */
  constructor(text: string, instance: number | undefined, ignored: readonly string[]) {
    const { kept, version } = withoutProbes(readEntries(text, instance));
    this.#entries = kept;
    this.#version = version ?? { value: doneAnswer(kGetVersion, kVersion) };
    this.#ignored = ignored;
  }

  /** What the plug-in posted before the first request. */
  begin(): readonly RecordedPost[] {
    return this.#posts(this.#entries[0]?.time ?? 0);
  }

  /** A page sends its next request. Throws when it differs from the recorded one. */
  answer(path: Path, value: unknown): Answers {
    if (isProbe(path, value)) return { reply: this.#version, posts: [] };
    const recorded = this.#entries[this.#next];
    const came = `${kSent[path]}: ${toRecorded(value)}`;
    if (!recorded) throw new RecordingDifference(`after the end of the recording, came ${came}`);
    const { value: coming, keep } =
      recorded.hasPseudonyms ? this.#pseudonyms.translate(recorded.value, value) : { value, keep: () => {} };
    const places = differences(recorded.value, coming, this.#ignored);
    if (path !== recorded.path || places.length > 0) {
      throw new RecordingDifference([
        `the request differs from line ${recorded.line} of the recording`,
        `  recorded ${kSent[recorded.path]}: ${toRecorded(recorded.value)}`,
        `  came ${came}`,
        ...places.map(place => `  ${place}`),
      ].join("\n"));
    }
    keep();
    ++this.#next;
    let reply: Answers["reply"];
    const posts = this.#posts(recorded.time, value => (reply = { value }));
    return { reply, posts };
  }

  /** The requests that the page has not made, one a line. */
  get left(): string[] {
    return this.#entries.slice(this.#next).filter(entry => entry.isRequest)
      .map(entry => `line ${entry.line}, ${kSent[entry.path]}: ${toRecorded(entry.value)}`);
  }

  /** What follows until the next request. */
  #posts(since: number, onReply: (value: unknown) => void = () => {}): RecordedPost[] {
    const posts: RecordedPost[] = [];
    for (let entry; (entry = this.#entries[this.#next]) && !entry.isRequest; ++this.#next) {
      const value = entry.hasPseudonyms ? this.#pseudonyms.restore(entry.value) : entry.value;
      if (entry.path === "blocking") onReply(value);
      else posts.push({ value, delay: Math.max(0, entry.time - since) });
    }
    return posts;
  }
}
