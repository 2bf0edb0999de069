// Beside the page of host_page.ts, which may block: speaks with one sso-host.
import { spawn } from "node:child_process";
import { createInterface } from "node:readline";
import { parentPort, workerData } from "node:worker_threads";

const { host, options, replies, replied } = workerData;
const flag = new Int32Array(replied);
const process = spawn(host, options, { stdio: ["pipe", "pipe", "inherit"] });

createInterface({ input: process.stdout }).on("line", line => {
  const { message, reply, error } = JSON.parse(line);
  if (message !== undefined) parentPort.postMessage({ message });
  if (reply === undefined && error === undefined) return;
  replies.postMessage({ reply, error });
  Atomics.store(flag, 0, 1);
  Atomics.notify(flag, 0);
});
process.on("exit", code => parentPort.postMessage({ exit: code }));
parentPort.on("message", request => {
  if (request === null) process.stdin.end();
  else process.stdin.write(`${JSON.stringify(request)}\n`);
});
