// Elements, written as they nest.

export function h(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "class") element.className = value;
    else if (name in element && !name.includes("-")) element[name] = value;
    else element.setAttribute(name, value);
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}

export const $ = (selector, root = document) => root.querySelector(selector);

// A picture from the page's set, unseen by screen readers.
export function icon(name) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  const use = document.createElementNS("http://www.w3.org/2000/svg", "use");
  use.setAttribute("href", `#icon-${name}`);
  svg.setAttribute("class", "icon");
  svg.setAttribute("aria-hidden", "true");
  svg.append(use);
  return svg;
}

export const iconButton = (name, label, onclick, more = {}) =>
  h(
    "button",
    { type: "button", class: "icon-button", title: label, "aria-label": label, onclick, ...more },
    icon(name),
  );

// A colour of the style sheet.
export const colour = (name) =>
  getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();

export const calm = matchMedia("(prefers-reduced-motion: reduce)");

// Makes a canvas as sharp as the screen; answers whether its size has changed.
export function fit(canvas) {
  const scale = devicePixelRatio || 1;
  const width = Math.round(canvas.clientWidth * scale);
  const height = Math.round(canvas.clientHeight * scale);
  if (canvas.width === width && canvas.height === height) return false;
  canvas.width = width;
  canvas.height = height;
  return true;
}

const MOST_TOASTS = 3;
const TIMES = { note: 5000, error: 9000 }; // ms
const toasts = new Map(); // by text: {line, count, timer}, the oldest first

// Tells in words, for a while and to screen readers too. What is told again only counts.
export function say(text, kind = "note") {
  const count = (toasts.get(text)?.count ?? 0) + 1;
  unsay(text);
  const times = count > 1 ? h("span", { class: "count" }, `${count} times`) : null;
  const close = iconButton("close", "Close this message", () => unsay(text));
  const line = h("div", { class: `toast ${kind}` }, h("p", {}, text), times, close);
  toasts.set(text, { line, count, timer: setTimeout(() => unsay(text), TIMES[kind]) });
  if (toasts.size > MOST_TOASTS) unsay(toasts.keys().next().value);
  placeToasts();
  $("#toasts").append(line);
}

function unsay(text) {
  const { line, timer } = toasts.get(text) ?? {};
  clearTimeout(timer);
  line?.remove();
  toasts.delete(text);
}

// Nothing is seen or read out outside an open dialog, so that messages go where it is.
export function placeToasts() {
  const home = $("dialog[open]") ?? document.body;
  if ($("#toasts").parentElement !== home) home.append($("#toasts"));
}

export const sayError = (error) => say(error.message ?? String(error), "error");
