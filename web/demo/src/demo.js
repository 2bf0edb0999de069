import { commands } from "./commands.js";
import { Plugin } from "./plugin.js";
import { Transcript, asText } from "./transcript.js";

const byId = id => document.getElementById(id);
const editor = byId("message");

function make(tag, className, text) {
  const element = document.createElement(tag);
  if (className) element.className = className;
  if (text !== undefined) element.textContent = text;
  return element;
}

// --- the plug-in and what passes between it and the page ---

const transcript = new Transcript(showEntry);
const plugin = new Plugin(byId("plugin"), value => transcript.addPosted(value), showState);

function showState(state, text) {
  byId("state").dataset.state = state;
  byId("state").textContent = text;
}

function send(message) {
  const request = transcript.addRequest("async", message);
  try {
    plugin.send(message);
  } catch (error) {
    transcript.addException(request, error);
    plugin.look(0);
  }
}

function sendAndWait(message) {
  const request = transcript.addRequest("blocking", message);
  try {
    const reply = plugin.sendAndWait(message);
    transcript.addReply(request, reply);
    return reply;
  } catch (error) {
    transcript.addException(request, error);
    plugin.look(0);
    return undefined;
  }
}

function restart() {
  showState("", "Looking for the plug-in…");
  transcript.forgetUnanswered();
  plugin.restart();
}

// --- the list of commands and the editor ---

let chosen = null;

/** "sso.partner" as "partner". */
function shortName(privilege) {
  return privilege.replace("sso.", "");
}

function choose(command) {
  chosen = command;
  for (const button of document.querySelectorAll(".commands button")) {
    button.setAttribute("aria-pressed", String(button.dataset.command === command.name));
  }
  byId("chosen").textContent = command.title;
  byId("about").textContent = `${command.about} Needs the ${shortName(command.privilege)} privilege.`;
  byId("send").classList.toggle("main", command.path === "async");
  byId("send-and-wait").classList.toggle("main", command.path === "blocking");
  editor.value = JSON.stringify(command.message, null, 2);
  validate();
}

function listCommands() {
  for (const command of commands) {
    const privilege = shortName(command.privilege);
    const button = make("button");
    button.type = "button";
    button.dataset.command = command.name;
    button.append(
      make("span", "title", command.title),
      make("span", `privilege ${privilege}`, privilege),
      make("code", "", command.name));
    button.addEventListener("click", () => choose(command));
    const item = make("li");
    item.append(button);
    byId(`${command.path}-commands`).append(item);
  }
}

/** Where and why a text is no JSON, from the browser's message, which counts characters. */
function describeSyntaxError(error, text) {
  const [what, position] = error.message.split(/ in JSON at position /);
  const before = text.slice(0, position === undefined ? text.length : Number(position));
  const lines = before.split("\n");
  return `Line ${lines.length}, column ${lines[lines.length - 1].length + 1}: ${what}`;
}

/** The message in the editor, or what is wrong with it. */
function readMessage() {
  try {
    return { message: JSON.parse(editor.value), error: null };
  } catch (error) {
    return { message: undefined, error: describeSyntaxError(error, editor.value) };
  }
}

function validate() {
  const { message, error } = readMessage();
  const isObject = message !== null && typeof message === "object" && !Array.isArray(message);
  const hint = isObject ? "Valid JSON" : "Valid JSON, but not an object: it will be refused";
  byId("validity").textContent = error || hint;
  byId("validity").dataset.state = error ? "error" : isObject ? "ok" : "odd";
  editor.setAttribute("aria-invalid", String(error !== null));
  for (const id of ["send", "send-and-wait"]) byId(id).disabled = error !== null;
}

/** Settles when the screen shows what the page holds now. */
function painted() {
  return new Promise(resolve => requestAnimationFrame(() => setTimeout(resolve)));
}

async function sendFromEditor(path) {
  const { message, error } = readMessage();
  if (error) return;
  if (path === "async") return send(message);
  byId("send-and-wait").setAttribute("aria-busy", "true");
  await painted();  // while it waits, the page can show nothing new
  sendAndWait(message);
  byId("send-and-wait").removeAttribute("aria-busy");
}

// --- the transcript ---

const kJsonPart = /("(?:[^"\\]|\\.)*")(\s*:)?|-?\d[\d.eE+-]*|\b(?:true|false|null)\b/g;

/** The text of a value, with its parts marked for colour. */
function coloured(text) {
  const pre = make("pre");
  let end = 0;
  for (const match of text.matchAll(kJsonPart)) {
    const [whole, quoted, colon] = match;
    const kind = colon ? "key" : quoted ? "text" : "atom";
    pre.append(text.slice(end, match.index), make("span", kind, quoted || whole), colon || "");
    end = match.index + whole.length;
  }
  pre.append(text.slice(end));
  return pre;
}

function headline(entry) {
  if (entry.kind === "request") return entry.path === "async" ? "Sent" : "Sent, page waits";
  if (entry.kind === "exception") return "Thrown";
  if (entry.path === "blocking") return "Reply";
  return entry.elapsedMs === null ? "Unmatched answer" : "Answer";
}

function showEntry(entry) {
  const list = byId("entries");
  if (!entry) return list.replaceChildren();
  const item = make("li", entry.kind);
  item.classList.toggle("failed", entry.error !== null);
  const head = make("p", "head");
  head.append(make("time", "", entry.time), make("span", "what", headline(entry)));
  if (entry.command) head.append(make("span", "command", entry.command));
  if (entry.error) head.append(make("span", "error", entry.error));
  if (entry.elapsedMs !== null) {
    head.append(make("span", "elapsed", `${entry.elapsedMs.toFixed(1)} ms`));
  }
  const body = entry.kind === "exception" ? make("pre", "", entry.value)
                                          : coloured(asText(entry.value));
  item.append(head, body);
  list.append(item);
  byId("log").scrollTop = byId("log").scrollHeight;
}

function transcriptText() {
  return transcript.entries.map(Transcript.toText).join("\n");
}

/** By way of a selection, which works where a page may not write to the clipboard by itself. */
function copyText(text) {
  const carrier = make("textarea", "carrier");
  carrier.value = text;
  document.body.append(carrier);
  carrier.select();
  const copied = document.execCommand("copy");
  carrier.remove();
  return copied;
}

function copyTranscript() {
  const button = byId("copy");
  const label = "Copy as text";
  button.textContent = copyText(transcriptText()) ? "Copied" : "Cannot copy";
  button.focus();
  setTimeout(() => { button.textContent = label; }, 1500);
}

// --- wiring ---

listCommands();
choose(commands[0]);
editor.addEventListener("input", validate);
editor.addEventListener("keydown", event => {
  if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) sendFromEditor(chosen.path);
});
byId("send").addEventListener("click", () => sendFromEditor("async"));
byId("send-and-wait").addEventListener("click", () => sendFromEditor("blocking"));
byId("clear").addEventListener("click", () => transcript.clear());
byId("copy").addEventListener("click", copyTranscript);
byId("restart").addEventListener("click", restart);
window.addEventListener("load", () => plugin.look());

/** What a script needs to drive the page. */
window.demo = {
  /** The commands of the protocol, each with a ready message. */
  commands,
  /** Sends any value; its answer, if there is one, appears in the transcript. */
  send,
  /** Sends any value, blocks the page, and returns the reply; undefined when one is thrown. */
  sendAndWait,
  /** All entries so far, oldest first: kind ("request", "answer", "exception"), path, value,
   *  command, time, elapsedMs and error (null where there is none), and text, one line. */
  transcript: () => transcript.entries.map(entry => ({
    kind: entry.kind, path: entry.path, value: entry.value, command: entry.command,
    time: entry.time, elapsedMs: entry.elapsedMs, error: entry.error,
    text: Transcript.toText(entry),
  })),
};
