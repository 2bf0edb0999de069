// Before hour.js: its short form.
window.seconds = 8;
