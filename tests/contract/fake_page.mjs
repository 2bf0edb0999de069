// A page with the client's fake plug-in in it. Arguments: the module of the fake. Standard input: JSON lines, first
// {"privileges": [...], "account": {...}}, then a line for each request, {"path": "async", "request": VALUE} or with
// "javaScript" that gives it. Standard output: a line for each answer, {"answer": VALUE}, and at the end
// {"left": [...]} with what came beside.
import { createInterface } from "node:readline";
import { pathToFileURL } from "node:url";

const { createFakeEmbed } = await import(pathToFileURL(process.argv[2]).href);

const lines = createInterface({ input: process.stdin })[Symbol.asyncIterator]();
const next = async () => {
  const { value, done } = await lines.next();
  return done ? undefined : JSON.parse(value);
};
const tell = object => console.log(JSON.stringify(object));

const { privileges, account } = await next();
const fake = createFakeEmbed({ privileges, account, delays: false });

const came = [];
let wake = () => {};
fake.addEventListener("message", ({ data }) => {
  came.push(data);
  wake();
});

/** The answer, which nothing but its absence ends the wait for: then there is nothing left to do, and node ends. */
async function answerTo(request) {
  fake.postMessage(request);
  if (came.length > 0) throw new Error("the answer came before postMessage() had returned");
  await new Promise(resolve => (wake = resolve));
  return came.shift();
}

for (let row; (row = await next());) {
  const request = row.javaScript ? (0, eval)(`(${row.javaScript})`) : row.request;
  tell({ answer: row.path === "async" ? await answerTo(request) : fake.postMessageAndAwaitResponse(request) });
}
await new Promise(resolve => setTimeout(resolve));
tell({ left: came });
