// A walk through the demo page: a few mistakes, all commands, and what comes back. Runs in the page, and
// writes the transcript to the console, one line per entry.

const kLongestWait = 10000;  // milliseconds; a login page may take its time

/** Sends an asynchronous request and waits until the transcript has one more answer. */
async function ask(message) {
  const answers = () => demo.transcript().filter(entry => entry.kind !== "request").length;
  const before = answers();
  demo.send(message);
  const deadline = performance.now() + kLongestWait;
  while (answers() === before) {
    if (performance.now() > deadline) throw new Error(`no answer to ${JSON.stringify(message)}`);
    await new Promise(resolve => setTimeout(resolve, 20));
  }
}

// Refused: no privilege covers a command that does not exist, on neither path.
await ask({ command: "sso_plugin_noSuchCommand" });
demo.sendAndWait({ command: "sso_plugin_noSuchCommand" });

// Unknown on this path: it is a blocking command.
await ask({ command: "sso_plugin_getVersion" });

// Malformed: a required key that is missing, and a message that is no dictionary.
await ask({ command: "sso_plugin_show_login_page" });
await ask("not a dictionary");

const app = { appID: "demo-app", cpName: "demo-partner" };

// Each command once, as the list offers it.
for (const { path, message } of demo.commands) {
  if (path === "blocking") demo.sendAndWait(message);
  else await ask(message);
}

// A change shows in the list.
await ask({ command: "sso_plugin_addPartnerAccountMappingInfo", ...app, cpUID: "user-2" });
await ask({ command: "sso_plugin_getPartnerAccountMappingList", ...app });

for (const entry of demo.transcript()) console.log(entry.text);
