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

// Tells in words, for a while and to screen readers too.
export function say(text, kind = "note") {
  const line = h("p", { class: `toast ${kind}` }, text);
  $("#toasts").append(line);
  setTimeout(() => line.remove(), kind === "error" ? 9000 : 4000);
}

export const sayError = (error) => say(error.message ?? String(error), "error");
