// A slider in the parameter's unit with a field to type in. Double click gives the default.
import { h, say } from "./dom.js";
import { numberText, parseNumber, placeOf, rangeText, tidy, valueAt, valueText } from "./format.js";

const POSITIONS = 1000;
const STEPS = 100; // of an arrow key, across the range; a tenth of that with Shift
const JITTER = 3; // pixels that a click may move
const PATIENCE = 300; // ms that a click waits for a second one
const SLOWEST = 700; // ms between two that are a double click

// change(value, gesture) is called while it moves, done() when it has moved.
export function numberControl(parameter, { label, describedBy, change, done, vertical = false }) {
  const slider = h("input", {
    type: "range",
    min: 0,
    max: POSITIONS,
    step: "any",
    "aria-label": label,
    class: vertical ? "vertical" : "",
    ...(describedBy && { "aria-describedby": describedBy }),
  });
  const field = h("input", {
    type: "text",
    inputMode: "decimal",
    spellcheck: false,
    autocomplete: "off",
    "aria-label": `${label}${parameter.unit && `, ${parameter.unit}`}`,
    class: "value",
  });
  const unit = h("span", { class: "unit", "aria-hidden": "true" }, parameter.unit);
  let shown = NaN;

  const moveTo = (value, gesture) => change(tidy(value, parameter), gesture);
  const toDefault = (gesture) => {
    change(parameter.initial, gesture);
    done();
    show(shown);
  };

  listenToPointer(slider, {
    move: () => moveTo(valueAt(slider.value / POSITIONS, parameter), "drag"),
    twice: () => toDefault("drag"),
    done,
  });
  slider.addEventListener("keydown", (event) => {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const to = keyTarget(event, shown, parameter);
    if (to === null) return;
    event.preventDefault();
    moveTo(to, "keys");
  });

  field.addEventListener("focus", () => field.select());
  field.addEventListener("dblclick", () => toDefault(null));
  field.addEventListener("change", () => {
    const value = parseNumber(field.value, parameter.unit);
    if (Number.isNaN(value)) {
      const kind = parameter.unit ? `a number in ${parameter.unit}` : "a number";
      say(`“${field.value}” isn't ${kind}. ${label} goes ${rangeText(parameter)}.`, "error");
    } else {
      change(value, null);
      done();
      if (value < parameter.minimum || value > parameter.maximum)
        say(`${label} goes ${rangeText(parameter)}; it's ${valueText(shown, parameter)} now.`);
    }
    show(shown);
  });
  field.addEventListener("keydown", (event) => {
    if (event.key === "Enter") field.blur();
    if (event.key === "Escape") show(shown);
    if (event.key !== "ArrowUp" && event.key !== "ArrowDown") return;
    event.preventDefault();
    moveTo(keyTarget(event, shown, parameter), "keys");
  });

  function show(value) {
    shown = value;
    const place = placeOf(value, parameter);
    slider.value = POSITIONS * place;
    slider.style.setProperty("--place", place);
    slider.style.setProperty("--origin", placeOf(originOf(parameter), parameter));
    slider.setAttribute("aria-valuetext", valueText(value, parameter));
    field.value = numberText(value, parameter).replace("-", "−");
  }
  return { slider, field, unit, show };
}

// A drag is followed at once. A click is followed when no second one has come, so that a double
// click isn't heard where it was made; a slow one's steps are one.
function listenToPointer(slider, { move, twice, done }) {
  let press = null; // where it may still be a click
  let waiting = 0; // the timer of a click
  let last = -Infinity;
  const wait = () => {
    clearTimeout(waiting);
    waiting = setTimeout(follow, PATIENCE);
  };
  const stop = () => {
    clearTimeout(waiting);
    waiting = 0;
    press = null;
  };
  const follow = () => {
    stop();
    move();
  };
  slider.addEventListener("pointerdown", ({ clientX, clientY, timeStamp }) => {
    if (timeStamp - last > SLOWEST) done();
    last = timeStamp;
    press = { clientX, clientY };
    if (waiting) wait();
  });
  slider.addEventListener("pointermove", ({ clientX, clientY }) => {
    if (press && Math.hypot(clientX - press.clientX, clientY - press.clientY) > JITTER) {
      if (waiting) follow();
      press = null;
    }
  });
  slider.addEventListener("input", () => (press ? wait() : move()));
  slider.addEventListener("dblclick", () => {
    stop();
    twice();
  });
  slider.addEventListener("blur", done);
}

// Where a slider's fill begins: at 0 where that's inside the range.
function originOf({ minimum, maximum, logarithmic }) {
  return !logarithmic && minimum < 0 && maximum > 0 ? 0 : minimum;
}

function keyTarget({ key, shiftKey }, value, parameter) {
  const { step, minimum, maximum } = parameter;
  if (key === "Home") return minimum;
  if (key === "End") return maximum;
  const direction = {
    ArrowRight: 1,
    ArrowUp: 1,
    ArrowLeft: -1,
    ArrowDown: -1,
    PageUp: 10,
    PageDown: -10,
  }[key];
  if (!direction) return null;
  const part = (direction / STEPS) * (shiftKey ? 0.1 : 1);
  const to = valueAt(placeOf(value, parameter) + part, parameter);
  const least = step || 10 ** -2;
  if (Math.abs(tidy(to, parameter) - value) >= least * 0.99) return to;
  return value + Math.sign(direction) * Math.max(step, 10 ** -(2 - (parameter.maximum >= 100)));
}
