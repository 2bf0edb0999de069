const { textContent } = document.getElementById("before");
if (textContent !== "Sasha was here before.") throw new Error(`it says "${textContent}"`);
return textContent;
