"use strict";

const sso = SSO.SSOClient.create({ container: document.body, autoRecover: true });
const byId = id => document.getElementById(id);
const client = { id: "demo-client", secret: "demo-secret" };
let token = "";

function show(text) {
  byId("who").textContent = text;
  byId("sign-in").hidden = token !== "";
  byId("sign-out").hidden = token === "";
}

async function signIn() {
  if (await sso.getLoginStatus() !== 1) {
    const { state } = await sso.showLoginPage({ data: "login" });
    if (state !== SSO.PopupState.done) return show("Nobody is signed in.");
  }
  token = await sso.getAccessToken(client);
  show(`${await sso.getLoginUid()} is signed in.`);
}

// The account belongs to the device: an application signs out by forgetting what it was given.
function signOut() {
  token = "";
  show("Signed out.");
}

byId("sign-in").addEventListener("click", () => signIn().catch(error => show(`Not signed in: ${error.code}`)));
byId("sign-out").addEventListener("click", signOut);
sso.ready().then(() => show("Nobody is signed in."), error => show(`No account here: ${error.code}`));
