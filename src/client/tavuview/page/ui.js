// Elements, messages and texts that all parts of the page use.

// h("button", {class: "x", onclick: f, disabled: true}, "text", child, ...)
export function h(tag, properties, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(properties || {})) {
    if (value === undefined || value === null || value === false) continue;
    if (key.startsWith("on")) element.addEventListener(key.slice(2), value);
    else if (key in element && typeof value !== "string") element[key] = value;
    else element.setAttribute(key, value === true ? "" : value);
  }
  element.append(...children.flat().filter((c) => c !== null && c !== undefined && c !== false));
  return element;
}

export function replace(element, ...children) {
  element.replaceChildren(...children.flat().filter((c) => c !== null && c !== undefined && c !== false));
}

let fieldCount = 0;

// A label above an input; extra is a hint below it.
export function field(label, input, hint) {
  input.id = input.id || `f${++fieldCount}`;
  const parts = [h("label", { for: input.id }, label), input];
  if (hint) {
    const id = `${input.id}-hint`;
    input.setAttribute("aria-describedby", id);
    parts.push(h("small", { id }, hint));
  }
  return h("div", { class: "field" }, parts);
}

export function check(label, properties) {
  const input = h("input", { type: "checkbox", ...properties });
  return { input, element: h("label", { class: "check" }, input, h("span", {}, label)) };
}

export function toast(text, kind = "ok") {
  const close = h("button", { class: "quiet", "aria-label": "Close this message" }, "×");
  const element = h("div", { class: `toast ${kind}` }, h("p", {}, text), close);
  close.addEventListener("click", () => element.remove());
  document.getElementById("toasts").append(element);
  setTimeout(() => element.remove(), kind === "error" ? 15000 : 6000);
}

// Asks before something; resolves to false, or to true (with a text to type: when it was typed).
export function confirm(title, text, action, typed) {
  return new Promise((resolve) => {
    const input = typed && h("input", { type: "text", autocomplete: "off", spellcheck: "false" });
    const yes = h("button", { class: "danger", value: "yes", disabled: Boolean(typed) }, action);
    const form = h("form", { method: "dialog" }, h("h2", {}, title), h("p", {}, text),
      typed && field(`Type ${typed} to go on`, input),
      h("div", { class: "row end" }, h("button", { value: "no", formnovalidate: true }, "Cancel"), yes));
    const dialog = h("dialog", {}, form);
    if (input) input.addEventListener("input", () => { yes.disabled = input.value !== typed; });
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      if (event.submitter === yes || !event.submitter) {
        if (!yes.disabled) dialog.close("yes");
      } else dialog.close("no");
    });
    dialog.addEventListener("close", () => { dialog.remove(); resolve(dialog.returnValue === "yes"); });
    document.body.append(dialog);
    dialog.showModal();
  });
}

// A dialog with a text to change; resolves to the text or null.
export function ask(title, label, value, action) {
  return new Promise((resolve) => {
    const input = h("input", { type: "text", autocomplete: "off" });
    input.value = value;
    const form = h("form", { method: "dialog" }, h("h2", {}, title), field(label, input),
      h("div", { class: "row end" }, h("button", { type: "button", onclick: () => dialog.close("no") }, "Cancel"),
        h("button", { class: "primary", value: "yes" }, action)));
    const dialog = h("dialog", {}, form);
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue === "yes" ? input.value : null);
    });
    document.body.append(dialog);
    dialog.showModal();
    input.select();
  });
}

export function plural(count, noun) {
  return `${count.toLocaleString("en")} ${noun}${count === 1 ? "" : "s"}`;
}

export function bytes(count) {
  const units = ["bytes", "kB", "MB", "GB", "TB", "PB"];
  let unit = 0;
  while (count >= 1000 && unit < units.length - 1) { count /= 1000; unit++; }
  return `${unit === 0 ? count : count.toFixed(1)} ${units[unit]}`;
}

export function when(text) {
  if (!text || text === "-") return "–";
  const date = new Date(text);
  return Number.isNaN(date.getTime()) ? text : date.toLocaleString(undefined, { dateStyle: "medium", timeStyle: "medium" });
}

export function seconds(microseconds) {
  const s = microseconds / 1e6;
  return s < 60 ? `${s.toFixed(1)} s` : `${Math.floor(s / 60)}:${String(Math.floor(s % 60)).padStart(2, "0")} min`;
}
