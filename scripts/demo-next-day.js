// The visitor of demo-first-day.js comes back: is signed in, has agreed, and finds the mapping; the token of the
// day before has expired, so there is the next.

const answers = () => demo.transcript().filter(entry => entry.kind !== "request").length;

async function ask(message) {
  const before = answers();
  demo.send(message);
  while (answers() === before) await new Promise(resolve => setTimeout(resolve, 20));
}

demo.sendAndWait({ command: "sso_plugin_getLoginStatus" });
demo.sendAndWait({ command: "sso_plugin_getTermsAgreementState", termsId: "terms-1" });
await ask({ command: "sso_plugin_getPartnerAccountMappingList", appID: "demo-app" });
await ask({ command: "sso_plugin_getZEVAccessToken", id: "demo-client", secret: "demo-secret" });
for (const entry of demo.transcript()) console.log(entry.text);
