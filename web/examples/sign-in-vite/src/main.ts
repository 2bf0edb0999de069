import { SSOClient } from "sso-client";
import { explain, signIn } from "./session.js";

const sso = SSOClient.create({ container: document.body, autoRecover: true });
const who = document.getElementById("who")!;

document.getElementById("sign-in")!.addEventListener("click", async () => {
  try {
    const session = await signIn(sso, { id: "demo-client", secret: "demo-secret" });
    who.textContent = session ? `${session.uid} is signed in.` : "Nobody is signed in.";
  } catch (error) {
    who.textContent = explain(error);
  }
});
sso.ready().then(() => (who.textContent = "Ready."), error => (who.textContent = explain(error)));
