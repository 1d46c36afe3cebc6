// Values as people read and type them.

// Digits for a value of a continuous range: about three that count.
function decimals(value, parameter) {
  if (parameter.step >= 1) return 0;
  const size = parameter.logarithmic ? Math.abs(value) : parameter.maximum - parameter.minimum;
  if (size >= 200) return parameter.logarithmic && size < 1000 ? 1 : 0;
  return size >= 20 ? 1 : 2;
}

export function numberText(value, parameter) {
  const text = value.toFixed(decimals(value, parameter));
  return text
    .replace(/^-(0(\.0*)?)$/, "$1")
    .replace(/(\.\d*?)0+$/, "$1")
    .replace(/\.$/, "");
}

export function valueText(value, parameter) {
  if (parameter.kind === "choice") return parameter.choices[value];
  if (parameter.kind === "switch") return value ? "on" : "off";
  return `${numberText(value, parameter).replace("-", "−")}${parameter.unit && ` ${parameter.unit}`}`;
}

// What a slider's position gives, without digits that nobody meant.
export const tidy = (value, parameter) => Number(value.toFixed(decimals(value, parameter)));

// "1.2k", "-3,5 dB", "80 Hz", seconds for milliseconds; NaN for anything else, other units too.
export function parseNumber(text, unit = "") {
  const found = /^([+-]?\d*[.,]?\d+|[+-]?\d+[.,])\s*(k?)([a-z%]*)$/i.exec(
    text.trim().replace("−", "-"),
  );
  if (!found) return NaN;
  const [own, typed] = [unit, found[3]].map((word) => word.toLowerCase());
  const seconds = own === "ms" && typed === "s";
  if (!seconds && !own.startsWith(typed)) return NaN;
  return Number(found[1].replace(",", ".")) * (found[2] || seconds ? 1000 : 1);
}

// "from −40 to 0 dB".
export function rangeText(parameter) {
  const low = numberText(parameter.minimum, parameter).replace("-", "−");
  return `from ${low} to ${valueText(parameter.maximum, parameter)}`;
}

// A value's place in its range, 0 to 1, and back.
export function placeOf(value, { minimum, maximum, logarithmic }) {
  if (logarithmic) return Math.log(value / minimum) / Math.log(maximum / minimum);
  return (value - minimum) / (maximum - minimum);
}

export function valueAt(place, { minimum, maximum, logarithmic }) {
  const part = Math.min(Math.max(place, 0), 1);
  if (logarithmic) return minimum * (maximum / minimum) ** part;
  return minimum + part * (maximum - minimum);
}

export const decibels = (magnitude) => 20 * Math.log10(Math.max(magnitude, 1e-7));

export function hertzText(hertz) {
  return hertz >= 1000
    ? `${Number((hertz / 1000).toPrecision(3))} kHz`
    : `${Number(hertz.toPrecision(3))} Hz`;
}

// "31", "1k".
export const shortHertz = (hertz) => hertzText(hertz).replace(" Hz", "").replace(" kHz", "k");

// "31 Hz", "1 kHz"; null for other texts.
export function hertzIn(text) {
  const found = /^(\d+(?:\.\d+)?) (k?)Hz$/.exec(text);
  return found ? Number(found[1]) * (found[2] ? 1000 : 1) : null;
}

export function timeText(seconds) {
  const whole = Math.floor(seconds);
  return `${Math.floor(whole / 60)}:${String(whole % 60).padStart(2, "0")}`;
}
