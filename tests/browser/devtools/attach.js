// DevTools in sso-browser: puppeteer attaches through --devtools, a person by the keys and the context
// menu. `node attach.js SSO_BROWSER`; scripts/check-devtools brings what it needs.
"use strict";

const assert = require("assert");
const { execFileSync, spawn } = require("child_process");
const path = require("path");
const puppeteer = require("puppeteer-core");

const program = process.argv[2];
const patience = 60000;  // milliseconds, for all of it

const sleep = time => new Promise(done => setTimeout(done, time));

/** Asks until the answer is one. */
async function eventually(what, ask) {
  for (;;) {
    const answer = await ask();
    if (answer) return answer;
    if (Date.now() > started + patience) throw new Error(`in vain: ${what}`);
    await sleep(50);
  }
}

/** Starts a program. @return it, and what `pattern` finds in what it writes. */
async function start(command, args, pattern, stdio = ["ignore", "inherit", "pipe"]) {
  const child = spawn(command, args, { stdio });
  children.push(child);
  let text = "";
  child.stdio[stdio.length - 1].on("data", part => { text += part; });
  return [child, await eventually(`${command} says ${pattern}`, () => text.match(pattern))];
}

const children = [];
const started = Date.now();
const watchdog = setTimeout(() => { throw new Error("this takes too long"); }, patience + 5000);

async function run() {
  const [, display] = await start("Xvfb", ["-displayfd", "3", "-screen", "0", "1280x800x24"], /(\d+)\n/,
    ["ignore", "ignore", "ignore", "pipe"]);
  process.env.DISPLAY = `:${display[1]}`;
  const page = path.join(__dirname, "../page");
  const account = path.join(__dirname, "../../../account/examples/signed-out.json");  // not the person's own
  const [browserProcess, address] = await start(program, [page, "--devtools=0", "--account", account], /http:\/\/127\.0\.0\.1:\d+/);

  const browser = await eventually("to connect", () =>
    puppeteer.connect({ browserURL: address[0], defaultViewport: null }).catch(() => null));
  const pages = await eventually("a page", async () => {
    const found = await browser.pages();
    return found.length > 0 && /^http:/.test(found[0].url()) ? found : null;
  });
  assert.strictEqual(pages.length, 1);
  assert.match(pages[0].url(), /^http:\/\/page-[0-9a-f]{8}\.localhost\/index\.html$/);
  assert.strictEqual(await pages[0].evaluate(() => document.title), "Browser tests");
  // The browser itself may tell meanwhile that there is no picture for the tab.
  const logged = new Promise(done => pages[0].on("console", message => { if (message.type() === "log") done(message); }));
  await pages[0].evaluate(() => console.log("as it is", 1));
  assert.strictEqual((await logged).text(), "as it is 1");
  const picture = await pages[0].screenshot();
  assert.strictEqual(picture.toString("latin1", 1, 4), "PNG");
  assert.deepStrictEqual([picture.readUInt32BE(16), picture.readUInt32BE(20)], [1280, 800]);

  const xdotool = (...args) => execFileSync("xdotool", args, { encoding: "utf8" });
  // One that goes while xdotool looks at it is an error of xdotool's.
  const windows = () => eventually("the windows' names", () => {
    try {
      return xdotool("search", "--onlyvisible", "--name", "").trim().split("\n")
        .map(id => xdotool("getwindowname", id).trim());
    } catch {
      return null;
    }
  });
  const window = xdotool("search", "--onlyvisible", "--name", "Browser tests").trim();
  xdotool("windowfocus", window);
  const zoom = () => pages[0].evaluate(() => Math.round(devicePixelRatio * 100));
  for (const [key, expected] of [["ctrl+plus", 110], ["ctrl+0", 100], ["ctrl+minus", 91], ["ctrl+0", 100]]) {
    xdotool("key", key);
    await eventually(key, async () => await zoom() === expected);
  }
  for (const key of ["F5", "ctrl+r"]) {
    await pages[0].evaluate(() => { window.isOld = true; });
    xdotool("key", key);
    await eventually(`${key} reloads`, () => pages[0].evaluate(() => !window.isOld).catch(() => false));
  }
  assert(!(await windows()).includes("Inspector"));
  // "Inspect" is the last entry of the menu.
  for (const key of ["F12", "ctrl+shift+i"]) {
    for (const shown of [true, false]) {
      xdotool("windowfocus", window);
      xdotool("key", key);
      await eventually(`${key}, inspector ${shown}`, async () => (await windows()).includes("Inspector") === shown);
    }
  }
  xdotool("windowfocus", window);
  await eventually("the menu's inspector", async () => {
    xdotool("key", "Escape");
    xdotool("mousemove", "400", "300", "click", "3");
    for (const key of ["Up", "Return"]) {
      await sleep(500);  // a menu does not say that it takes keys
      xdotool("key", key);
    }
    await sleep(500);
    return (await windows()).includes("Inspector");
  });

  browser.disconnect();
  const ended = new Promise(done => browserProcess.on("exit", done));
  browserProcess.kill("SIGTERM");
  assert.strictEqual(await ended, 128 + 15);
}

run().then(() => console.log("DevTools attach, list, evaluate and take pictures; the keys work"), error => {
  console.error(error);
  process.exitCode = 1;
}).finally(() => {
  clearTimeout(watchdog);
  for (const child of children) child.kill();
});
