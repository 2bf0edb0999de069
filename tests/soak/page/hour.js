// Four frames that use the plug-in, each loaded anew now and then, for an hour, or as many seconds as a script before said.
const seconds = window.seconds ?? 3600;
const frames = Array.from({ length: 4 }, () => {
  const frame = document.createElement("iframe");
  frame.src = "traffic.html";
  return document.body.appendChild(frame);
});
const begin = Date.now();
let next = begin + 60000;
while (Date.now() - begin < seconds * 1000) {
  await new Promise(done => setTimeout(done, 1000 + Math.random() * 4000));
  const frame = frames[Math.floor(Math.random() * frames.length)];
  frame.contentWindow.location.reload();
  told.lastEnd = Date.now();
  ++told.reloads;
  if (mistakes.length > 20) break;
  if (Date.now() > next) {
    next += 60000;
    console.log(`${Math.round((Date.now() - begin) / 1000)} s`, JSON.stringify(told), `${mistakes.length} mistakes`);
  }
}
isOver = true;
for (const frame of frames) {
  while (frame.contentDocument.title !== "over") await new Promise(done => setTimeout(done, 100));
}
if (mistakes.length) throw new Error(`${mistakes.length} mistakes: ${mistakes.slice(0, 5).join("; ")}`);
if (told.answers < seconds) throw new Error(`only ${told.answers} answers in ${seconds} s`);
return told;
