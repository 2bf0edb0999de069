// A first-time visitor, in the demo page: makes an account and signs in, in the account's windows, agrees to the
// terms, gets a token and adds a mapping. Writes what came back to the console. What the person does in the
// windows is in demo-first-day.scenario.

const kLongestWait = 60000;  // milliseconds

/** Sends an asynchronous request and gives its entry of the transcript. */
async function ask(message) {
  const answers = () => demo.transcript().filter(entry => entry.kind !== "request");
  const before = answers().length;
  demo.send(message);
  const deadline = performance.now() + kLongestWait;
  while (answers().length === before) {
    if (performance.now() > deadline) throw new Error(`no answer to ${JSON.stringify(message)}`);
    await new Promise(resolve => setTimeout(resolve, 20));
  }
}

await ask({ command: "sso_plugin_createAccount" });
await ask({ command: "sso_plugin_show_login_page", data: "login" });
await ask({ command: "sso_plugin_showTermsPage", termsId: "terms-1", callerId: "SSO demo" });
await ask({ command: "sso_plugin_getZEVAccessToken", id: "demo-client", secret: "demo-secret" });
await ask({
  command: "sso_plugin_addPartnerAccountMappingInfo",
  appID: "demo-app", cpName: "demo-partner", cpUID: "robin@partner.example",
});
for (const entry of demo.transcript()) console.log(entry.text);
