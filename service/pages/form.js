"use strict";
// What every window's form does. submit(action, fields) is the browser's: it passes on what the person
// entered, closes the window when that was all, and otherwise gives what is wrong, by the fields' names.
(() => {
  const form = document.querySelector("form");
  const inputs = [...form.querySelectorAll("input")];
  const places = [...form.querySelectorAll("[data-error]")];
  const text = form.querySelector(".document");

  const entered = () => Object.fromEntries(inputs.map(input => [input.name, input.value]));

  function showErrors(errors) {
    for (const place of places) place.textContent = errors[place.dataset.error] || "";
    for (const input of inputs) input.setAttribute("aria-invalid", String(Boolean(errors[input.name])));
    const wrong = inputs.find(input => errors[input.name]);
    if (wrong) {
      wrong.focus();
      wrong.select();
    }
  }

  async function press(action) {
    // Whoever presses twice means it once.
    if (form.getAttribute("aria-busy") === "true") return;
    form.setAttribute("aria-busy", "true");
    try {
      showErrors(await submit(action, entered()));
    } finally {
      form.removeAttribute("aria-busy");
    }
  }

  form.addEventListener("submit", event => {
    event.preventDefault();
    press(form.dataset.action);
  });
  for (const button of form.querySelectorAll("button[data-action]")) {
    button.addEventListener("click", () => press(button.dataset.action));
  }

  const stops = () => [...form.querySelectorAll("input, button, [tabindex]")];

  function move(step) {
    const all = stops();
    const next = all[all.indexOf(document.activeElement) + step];
    if (next) next.focus();
  }

  /** Whether an arrow still has something to scroll before it leaves the text. */
  function scrolls(step) {
    if (document.activeElement !== text) return false;
    return step < 0 ? text.scrollTop > 0 : text.scrollTop + text.clientHeight < text.scrollHeight - 1;
  }

  document.addEventListener("keydown", event => {
    const isInput = document.activeElement instanceof HTMLInputElement;
    const vertical = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    const horizontal = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (event.key === "Select" || event.key === "Accept") {
      // The OK of a remote control that is not an Enter.
      if (isInput) form.requestSubmit();
      else document.activeElement.click();
    } else if (vertical && !scrolls(vertical)) {
      move(vertical);
    } else if (horizontal && !isInput) {
      move(horizontal);
    } else {
      return;
    }
    event.preventDefault();
  });

  // A text that is seen whole needs no stop.
  if (text && text.scrollHeight <= text.clientHeight) text.removeAttribute("tabindex");
  stops()[0].focus();
})();
