import type { Embed } from "../embed.js";
import { checkScript } from "./check_script.js";
import {
  kCommands, kPresets, kPrivileges, kUnregistered,
  type AsyncOutcomes, type BlockingOutcomes, type Preset, type Privilege,
} from "./data.js";
import { Device, type AsyncMethod, type BlockingMethod, type Operating } from "./device.js";
import {
  checkPrivileges, commandNamed, doneAnswer, examine, notStarted, type Command, type Method, type Path,
  type Request,
} from "./protocol.js";
import { Recording, type RecordedPost } from "./recording.js";
import { readState, type AccountFile, type StateFile } from "./state_file.js";
import { arriving, isDictionary } from "./values.js";

/** Of a fake. */
export interface FakeOptions {
  /** The situation that the page finds. Default: "signed-in". */
  preset?: Preset;
  /** An account file, or a state that `ssoctl state save` wrote, instead of a preset; `{}` is a device on which
   *  nobody has an account. `presets` has such states, to be changed: `{ ...presets["signed-in"], orders: {...} }`. */
  account?: AccountFile | StateFile;
  /** What the application holds. Default: everything. */
  privileges?: readonly Privilege[];
  /** Whether things take their time, by `setTimeout()`. Without it answers come in the next microtask, in the order of
   *  their requests. Default: true. */
  delays?: boolean;
  /** What `--messages FILE` of sso-browser or sso-host has written, with `--pseudonyms` or without. The page is
   *  answered as then, as long as it makes the same requests in the same order: an answer comes when all requests before it have
   *  been made. `getVersion()` may be called at any time. */
  recording?: string;
  /** Whose messages of the recording, if there are several elements in it. */
  instance?: number;
  /** Keys whose values may differ from the recording's, such as `["secret"]`. */
  ignore?: readonly string[];
}

/** A request of the page's. */
export interface FakeRequest {
  readonly path: Path;
  /** The client's name of the command; undefined when it is none. */
  readonly method: Method | undefined;
  /** The message, as it arrived. */
  readonly request: any;
  /** What it was answered, once it was. Of a recording only what was sent blocking has it. */
  answer?: any;
}

/** What becomes of one asynchronous request. What is not said is as the account has it. */
export type AsyncScript<Outcome> = Partial<Outcome> & {
  /** Milliseconds until the answer. Default: 0 with an outcome, else what the account says. */
  delay?: number;
  /** The device cannot start the operation. */
  notStarted?: boolean;
  /** No answer comes, ever. */
  lost?: boolean;
  /** The answer as a whole, whatever it is. */
  answer?: unknown;
};

/** What becomes of one blocking request. */
export type BlockingScript<Outcome> = Partial<Outcome> & {
  /** The reply as a whole, whatever it is. */
  answer?: unknown;
};

/** A request whose answer waits. */
export interface Held<Outcome> {
  /** The request, once it is there. */
  readonly arrived: Promise<FakeRequest>;
  /** Lets the answer come. Before the request is there: it will not be held.
   *  @param outcome  default: as the account has it. */
  release(outcome?: Outcome): void;
}

/** The plug-in's element without a plug-in, for tests of an application: for `SSOClient.attach()`, and for pages that
 *  use the element itself. It answers letter for letter as the plug-in does, with the accounts of a description, and is
 *  an `EventTarget`. */
export interface FakeEmbed extends Embed {
  /** What the page has sent, the oldest first. It may be emptied: `fake.requests.length = 0`. */
  readonly requests: FakeRequest[];

  /** Says what becomes of the next request of a command that the plug-in does not refuse; of the one after with a
   *  second call, and so on. A page that ends in state 0 has been gone through, for the account too. Throws a
   *  `TypeError` for what cannot become of it. */
  next<M extends AsyncMethod>(method: M, script: AsyncScript<AsyncOutcomes[M]>): this;
  next<M extends BlockingMethod>(method: M, script: BlockingScript<BlockingOutcomes[M]>): this;
  /** Holds the answer to the next request of a command, until it is released. In line with those of `next()`. */
  hold<M extends AsyncMethod>(method: M): Held<AsyncOutcomes[M]>;
  /** Posts a message that answers nothing. */
  emit(data: unknown): void;

  /** Somebody signs in meanwhile. @param loginId  default: the first account's. */
  signIn(loginId?: string): void;
  /** The user signs out elsewhere. */
  signOut(): void;

  /** The browser takes the plug-in's handler away: the page is told, and only what was started is answered. */
  unregister(): void;
  /** The plug-in's process ends: what it owes is lost, posts vanish, and blocking calls throw. */
  die(): void;
  /** The element is embedded anew, as `recover()` of a client does: it works again and owes nothing. */
  revive(): void;
  /** The element is not laid out any more: its functions are missing, and what it owes is lost. */
  hide(): void;
  /** It is laid out again, and works as after `revive()`. */
  show(): void;
  /** The browser has no such plug-in: the element is there, and its functions are missing for good. */
  uninstall(): void;

  /** Throws an error that names what was scripted and has not come, and what of the recording the page has not sent. */
  assertDone(): void;

  /** As of an element: empty while it is not laid out. */
  getClientRects(): ArrayLike<object>;
}

/** In the order in which they are used up. */
interface Plan {
  script: AsyncScript<Record<string, string | number>>;
  hold?: Hold;
}

/** Of an answer, between its request and its release. */
class Hold implements Held<Record<string, unknown>> {
  readonly arrived: Promise<FakeRequest>;
  #arrive!: (request: FakeRequest) => void;
  #go: ((outcome?: object) => void) | undefined;
  readonly #command: Command;
  readonly #plan: Plan;

  constructor(command: Command, plan: Plan) {
    this.#command = command;
    this.#plan = plan;
    this.arrived = new Promise(resolve => (this.#arrive = resolve));
  }

  /** @param go  answers. */
  wait(request: FakeRequest, go: (outcome?: object) => void): void {
    this.#go = go;
    this.#arrive(request);
  }

  release(outcome?: object): void {
    checkScript(this.#command, outcome ?? {});
    if (this.#go) {
      this.#go(outcome);
    } else {
      this.#plan.hold = undefined;
      this.#plan.script = { ...outcome };
    }
    this.#go = () => {};
  }
}

/** Throws when there is no such method. */
function commandOf(method: Method): Command {
  const command = kCommands.find(command => command.method === method);
  if (!command) throw new TypeError(`there is no method ${method}`);
  return command;
}

/** What a plug-in that is not there says to a blocking call. */
const kGone = "The plug-in does not reply: it is not there.";

class Fake extends EventTarget {
  readonly requests: FakeRequest[] = [];
  /** Own properties, as what an element has no plug-in for has no such functions. */
  postMessage?: Embed["postMessage"];
  postMessageAndAwaitResponse?: Embed["postMessageAndAwaitResponse"];
  readonly nextSibling = null;
  /** As far as an element is embedded anew with it. */
  readonly parentNode = { insertBefore: (): void => this.revive() };

  readonly #privileges: readonly Privilege[];
  readonly #hasDelays: boolean;
  readonly #device: Device;
  readonly #recording: Recording | undefined;
  readonly #plans = new Map<Method, Plan[]>();
  #isInstalled = true;
  #isShown = true;
  #isAlive = true;
  #isRegistered = true;
  /** How often it was embedded: what an earlier one owes is lost. */
  #life = 0;
  /** When the last message of the recording is posted: none overtakes another. */
  #due = 0;

  constructor(options: FakeOptions) {
    super();
    const { preset = "signed-in", account, privileges = kPrivileges, delays = true, recording } = options;
    if (account && options.preset) throw new TypeError(`"account" is there instead of a preset`);
    if (recording !== undefined && (account || options.preset)) {
      throw new TypeError(`"recording" is there instead of an account or a preset`);
    }
    if (!Object.keys(kPresets).includes(preset)) {
      throw new TypeError(`there is no preset ${JSON.stringify(preset)}, but ${Object.keys(kPresets).join(", ")}`);
    }
    checkPrivileges(privileges);
    this.#privileges = [...privileges];
    this.#hasDelays = delays;
    this.#device = new Device(readState(account ?? kPresets[preset]));
    if (recording !== undefined) {
      this.#recording = new Recording(recording, options.instance, options.ignore ?? []);
    }
    this.#embed();
    this.#postRecorded(this.#recording?.begin() ?? []);
  }

  next(method: Method, script: Plan["script"]): this {
    this.#plan(method, { script });
    return this;
  }

  hold(method: AsyncMethod): Held<any> {
    const plan: Plan = { script: {} };
    plan.hold = new Hold(commandOf(method), plan);
    this.#plan(method, plan);
    return plan.hold;
  }

  emit(data: unknown): void {
    this.#later(0, () => this.#dispatch(data));
  }

  signIn(loginId?: string): void {
    if (!this.#device.account.signIn(loginId)) throw new TypeError(`there is no account ${loginId ?? ""}`.trimEnd());
  }

  signOut(): void {
    this.#device.account.signOut();
  }

  unregister(): void {
    if (!this.#isRegistered) return;
    this.#isRegistered = false;
    this.emit(kUnregistered);
  }

  die(): void {
    this.#isAlive = false;
    ++this.#life;
  }

  revive(): void {
    this.#embed();
  }

  hide(): void {
    this.#isShown = false;
    this.#embed();
  }

  show(): void {
    this.#isShown = true;
    this.#embed();
  }

  uninstall(): void {
    this.#isInstalled = false;
    this.#embed();
  }

  assertDone(): void {
    const plans = [...this.#plans].filter(([, { length }]) => length > 0);
    const left = [
      ...plans.map(([method, { length }]) => `${method}: ${length} scripted, not requested`),
      ...(this.#recording?.left ?? []).map(request => `${request}: recorded, not sent`),
    ];
    if (left.length > 0) throw new Error(`the fake is not done:\n${left.map(line => `  ${line}`).join("\n")}`);
  }

  getClientRects(): ArrayLike<object> {
    return this.#isShown ? [{}] : [];
  }

  /** Begins a life, if there can be one. */
  #embed(): void {
    ++this.#life;
    this.#isAlive = this.#isRegistered = true;
    delete this.postMessage;
    delete this.postMessageAndAwaitResponse;
    if (!this.#isInstalled || !this.#isShown) return;
    this.postMessage = message => this.#post(message);
    this.postMessageAndAwaitResponse = message => this.#call(message);
  }

  #plan(method: Method, plan: Plan): void {
    if (this.#recording) throw new TypeError("a recording says all that comes");
    checkScript(commandOf(method), plan.script);
    const plans = this.#plans.get(method) ?? [];
    this.#plans.set(method, plans);
    plans.push(plan);
  }

  #note(path: Path, request: unknown): FakeRequest {
    const method = isDictionary(request) ? commandNamed(request["command"])?.method : undefined;
    const noted = { path, method, request };
    this.requests.push(noted);
    return noted;
  }

  #post(message: unknown): void {
    let request: unknown;
    try {
      request = arriving(message);
    } catch (error) {
      // As a browser does.
      console.error(`postMessage: ${String(error)}`);
      return;
    }
    const noted = this.#note("async", request);
    if (!this.#isAlive || !this.#isRegistered) return;
    if (this.#recording) {
      this.#postRecorded(this.#recording.answer("async", request).posts);
      return;
    }
    const examined = examine("async", request, this.#privileges);
    if ("refusal" in examined) this.#answerLater(0, noted, () => examined.refusal);
    else this.#start(noted, examined);
  }

  #start(noted: FakeRequest, request: Request): void {
    const { command, texts } = request;
    const { script, hold } = this.#plans.get(command.method)?.shift() ?? { script: {}, hold: undefined };
    const { delay = 0, answer, lost } = script;
    if (lost) return;
    if ("answer" in script) return this.#answerLater(delay, noted, () => answer);
    const operating = script.notStarted ? undefined : this.#operating(request, script);
    if (!operating) return this.#answerLater(delay, noted, () => notStarted(command));
    const answerWith = ({ delay, end }: Operating): void =>
      this.#answerLater(delay, noted, () => doneAnswer(command, end()));
    if (hold) {
      const life = this.#life;
      hold.wait(noted, outcome => {
        if (life !== this.#life) return;
        const scripted = outcome && this.#scripted(command.method as AsyncMethod, texts, outcome, command.answer.key);
        answerWith({ delay: 0, end: (scripted ?? operating).end });
      });
    } else {
      answerWith({ delay: script.delay ?? operating.delay, end: () => operating.end() });
    }
  }

  #operating({ command, texts }: Request, script: object): Operating | undefined {
    const method = command.method as AsyncMethod;
    return this.#scripted(method, texts, script, command.answer.key) ?? this.#device.start(method, texts);
  }

  /** @return undefined when no outcome is scripted. */
  #scripted(method: AsyncMethod, texts: readonly string[], script: object, key: string): Operating | undefined {
    const outcome = (script as Record<string, string | number | undefined>)[key];
    if (outcome === undefined) return undefined;
    return {
      delay: 0,
      end: () => {
        if (typeof outcome === "number" && key === "state") this.#device.endPage(method, texts, outcome);
        return outcome;
      },
    };
  }

  #call(message: unknown): unknown {
    const request = arriving(message);
    const noted = this.#note("blocking", request);
    if (!this.#isAlive || !this.#isRegistered) throw new Error(kGone);
    return (noted.answer = this.#reply(request));
  }

  #reply(request: unknown): unknown {
    if (this.#recording) {
      const { reply, posts } = this.#recording.answer("blocking", request);
      this.#postRecorded(posts);
      if (!reply) throw new Error(kGone);
      return reply.value;
    }
    const examined = examine("blocking", request, this.#privileges);
    if ("refusal" in examined) return examined.refusal;
    const { command, texts } = examined;
    const script = this.#plans.get(command.method)?.shift()?.script ?? {};
    if ("answer" in script) return script.answer;
    return doneAnswer(command, script[command.answer.key] ?? this.#device.ask(command.method as BlockingMethod, texts));
  }

  #postRecorded(posts: readonly RecordedPost[]): void {
    for (const { value, delay } of posts) {
      const now = Date.now();
      this.#due = Math.max(this.#due, now + delay);
      this.#later(this.#due - now, () => this.#dispatch(value));
    }
  }

  /** @param make  makes the answer, when its time has come. */
  #answerLater(delay: number, noted: FakeRequest, make: () => unknown): void {
    this.#later(delay, () => {
      noted.answer = make();
      this.#dispatch(noted.answer);
    });
  }

  /** Does something later in this life. */
  #later(delay: number, work: () => void): void {
    if (delay === Infinity) return;
    const life = this.#life;
    const workIfAlive = (): void => {
      if (life === this.#life) work();
    };
    if (this.#hasDelays) setTimeout(workIfAlive, delay);
    else void Promise.resolve().then(workIfAlive);
  }

  #dispatch(data: unknown): void {
    this.dispatchEvent(Object.assign(new Event("message"), { data }));
  }
}

/** The states that the presets stand for. */
export const presets: Readonly<Record<Preset, StateFile>> = kPresets;

/** Makes a fake of the plug-in's element.
 *
 *  ```ts
 *  const fake = createFakeEmbed({ preset: "signed-out" });
 *  const client = SSOClient.attach(fake);
 *  fake.next("showLoginPage", { state: PopupState.closed });
 *  await startMyApplication(client);
 *  expect(fake.requests.map(({ method }) => method)).toEqual(["getLoginStatus", "showLoginPage"]);
 *  fake.assertDone();
 *  ``` */
export function createFakeEmbed(options: FakeOptions = {}): FakeEmbed {
  return new Fake(options) as unknown as FakeEmbed;
}
