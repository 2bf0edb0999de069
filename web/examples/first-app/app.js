import { Sso } from "./sso.js";

const config = fetch("config.json").then(answer => answer.json());
const sso = new Sso();
const show = (id, text) => { document.getElementById(id).textContent = text; };

async function signIn() {
  const { backend, client } = await config;
  if (sso.call({ command: "sso_plugin_getLoginStatus" }) !== 1) {
    await sso.ask({ command: "sso_plugin_show_login_page", data: "login" });
  }
  const { token } = await sso.ask({ command: "sso_plugin_getZEVAccessToken", ...client });
  const answer = await fetch(`${backend}/profile`, { headers: { Authorization: `Bearer ${token}` } });
  if (!answer.ok) throw new Error(`the backend answers ${answer.status}`);
  const { name } = await answer.json();
  localStorage.setItem("lastName", name);
  show("greeting", `Hello ${name}.`);
}

const lastName = localStorage.getItem("lastName");
if (lastName) show("before", `${lastName} was here before.`);
document.getElementById("sign-in").addEventListener("click", () => {
  signIn().catch(error => show("greeting", `Nobody is signed in: ${error.message}`));
});
