// What pages of the account's windows get before their own scripts, beside qwebchannel.js: submit(), which
// they call, and fields that are filled in from outside. The browser's side is src/account/window_bridge.h.
"use strict";
(() => {
  const kFrames = 6;  // may wait one behind another on the way to the screen; two are sometimes too few

  const waiting = new Map();
  let fillings = Promise.resolve();  // one after the other

  /** When what is in the page now is on the screen. */
  async function shown() {
    for (let frame = 0; frame < kFrames; ++frame) await new Promise(requestAnimationFrame);
  }

  /** Fills in fields as if somebody typed, who sees them before pressing. */
  async function fill(fields, press) {
    for (const [name, value] of Object.entries(fields)) {
      for (const field of document.getElementsByName(name)) {
        field.focus();
        field.value = value;
        for (const type of ["input", "change"]) field.dispatchEvent(new Event(type, { bubbles: true }));
      }
    }
    if (!press) return;
    await shown();
    const button = document.querySelector("button[type=submit]");
    if (button) button.click();
  }

  const loaded = new Promise(done => document.addEventListener("DOMContentLoaded", done));
  const connected = new Promise(done => new QWebChannel(qt.webChannelTransport, done))
    .then(channel => channel.objects.bridge);
  connected.then(async bridge => {
    bridge.answered.connect((number, errors) => {
      waiting.get(number)(errors);
      waiting.delete(number);
    });
    bridge.filled.connect((fields, press) => {
      fillings = fillings.then(() => fill(fields, press));
    });
    await loaded;
    bridge.ready();
  });

  window.submit = async (action, fields) => {
    const bridge = await connected;
    return new Promise(done => bridge.submit(action, fields, number => waiting.set(number, done)));
  };
})();
