// A slider in the parameter's unit with a field to type in. Double click gives the default.
import { h } from "./dom.js";
import { numberText, parseNumber, placeOf, tidy, valueAt, valueText } from "./format.js";

const POSITIONS = 1000;
const STEPS = 100; // of an arrow key, across the range; a tenth of that with Shift

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
  const toDefault = () => {
    change(parameter.initial, null);
    done();
  };

  slider.addEventListener("input", () =>
    moveTo(valueAt(slider.value / POSITIONS, parameter), "drag"),
  );
  slider.addEventListener("change", done);
  slider.addEventListener("dblclick", toDefault);
  slider.addEventListener("keydown", (event) => {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const to = keyTarget(event, shown, parameter);
    if (to === null) return;
    event.preventDefault();
    moveTo(to, "keys");
  });
  slider.addEventListener("blur", done);

  field.addEventListener("focus", () => field.select());
  field.addEventListener("dblclick", toDefault);
  field.addEventListener("change", () => {
    const value = parseNumber(field.value);
    if (Number.isNaN(value)) return show(shown);
    change(value, null);
    done();
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
