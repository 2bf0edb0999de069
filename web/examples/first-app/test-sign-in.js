// Runs in the page, as the body of an async function: see test.sh.
const text = id => document.getElementById(id).textContent;

if (text("before") !== "") throw new Error("somebody was here before");
document.getElementById("sign-in").click();
while (text("greeting") === "Nobody is signed in.") await new Promise(done => setTimeout(done, 20));
if (text("greeting") !== "Hello Sasha.") throw new Error(text("greeting"));
return text("greeting");
