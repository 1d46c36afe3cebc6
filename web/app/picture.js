// The large picture: what the settings do to each frequency, and the sound before and after them.
import { $, colour, fit } from "./dom.js";
import { shortHertz } from "./format.js";
import { HIGHEST, LOWEST, POINTS, frequencyAt } from "./response.js";
import { BOTTOM, SPECTRUM_POINTS } from "./spectrum.js";

const SPANS = [12, 18, 24, 36, 48]; // dB to either side
const MARGIN = { left: 36, right: 40, top: 14, bottom: 24 };
const LINES = [
  20, 30, 40, 50, 60, 80, 100, 200, 300, 400, 500, 600, 800, 1000, 2000, 3000, 4000, 5000, 6000,
  8000, 10000, 20000,
];
const NAMED = [20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000];
const DASHES = [6, 3]; // of the chosen effect's curve
const NAMED_NARROW = [20, 100, 1000, 10000];

export class Picture {
  constructor(canvas) {
    this.canvas = canvas;
    this.span = SPANS[1];
    this.rack = null; // [left, right] in dB
    this.slot = null;
    this.spectra = []; // {levels, color, fill}
    this.stale = true;
  }

  // ---- Scales, in pixels of the page.

  get box() {
    const { clientWidth: width, clientHeight: height } = this.canvas;
    const { left, right, top, bottom } = MARGIN;
    return {
      left,
      top,
      width: Math.max(width - left - right, 1),
      height: Math.max(height - top - bottom, 1),
    };
  }

  x(hertz) {
    const { left, width } = this.box;
    return left + (width * Math.log(hertz / LOWEST)) / Math.log(HIGHEST / LOWEST);
  }

  y(gain) {
    const { top, height } = this.box;
    return top + (height * (this.span - gain)) / (2 * this.span);
  }

  hertzAt(x) {
    const { left, width } = this.box;
    return LOWEST * (HIGHEST / LOWEST) ** ((x - left) / width);
  }

  gainAt(y) {
    const { top, height } = this.box;
    return this.span - (2 * this.span * (y - top)) / height;
  }

  // The smallest span that shows a curve and the handles. It doesn't change under a drag.
  chooseSpan(curves, gains, held) {
    if (held) return;
    const inside = curves.flatMap((curve) =>
      [...curve].filter((v, k) => v > -40 && frequencyAt(k) < 18000),
    );
    const largest = Math.max(...inside.map(Math.abs), ...gains.map(Math.abs), 0);
    this.span = SPANS.find((span) => span >= largest * 1.05) ?? SPANS.at(-1);
  }

  // ---- Drawing.

  draw() {
    fit(this.canvas);
    const context = this.canvas.getContext("2d");
    const scale = devicePixelRatio || 1;
    context.setTransform(scale, 0, 0, scale, 0, 0);
    context.clearRect(0, 0, this.canvas.clientWidth, this.canvas.clientHeight);
    this.c = context;
    this.drawGrid();
    context.save();
    context.beginPath();
    const { left, top, width, height } = this.box;
    context.rect(left, top, width, height);
    context.clip();
    for (const spectrum of this.spectra) this.drawSpectrum(spectrum);
    $(".right-key").classList.toggle("shown", Boolean(this.rack) && differ(this.rack));
    $(".slot-key").classList.toggle("shown", Boolean(this.slot));
    context.setLineDash(DASHES);
    if (this.slot) this.drawCurves(this.slot, "curve-slot", 1.5);
    context.setLineDash([]);
    if (this.rack) this.drawCurves(this.rack, "curve", 2.25);
    context.restore();
  }

  drawGrid() {
    const { c } = this;
    const { left, top, width, height } = this.box;
    const narrow = width < 480;
    c.lineWidth = 1;
    c.font = "11px system-ui, sans-serif";
    c.fillStyle = colour("muted");
    c.textAlign = "center";
    c.textBaseline = "top";
    for (const hertz of LINES) {
      const x = Math.round(this.x(hertz)) + 0.5;
      const named = NAMED.includes(hertz);
      this.line(x, top, x, top + height, colour(named ? "grid-strong" : "grid"));
      if ((narrow ? NAMED_NARROW : NAMED).includes(hertz)) {
        c.fillText(shortHertz(hertz), x, top + height + 8);
      }
    }
    c.textBaseline = "middle";
    const step = this.span <= 12 ? 3 : this.span <= 24 ? 6 : 12;
    for (let gain = -this.span; gain <= this.span; gain += step) {
      const y = Math.round(this.y(gain)) + 0.5;
      this.line(left, y, left + width, y, colour(gain === 0 ? "grid-strong" : "grid"));
      c.textAlign = "right";
      c.fillText(`${gain > 0 ? "+" : gain < 0 ? "−" : ""}${Math.abs(gain)}`, left - 8, y);
    }
    c.textAlign = "left";
    for (let level = 0; level >= BOTTOM + 12; level -= 24) {
      c.fillText(level === 0 ? "dBFS" : `−${-level}`, left + width + 8, this.levelY(level));
    }
  }

  line(x1, y1, x2, y2, color) {
    const { c } = this;
    c.strokeStyle = color;
    c.beginPath();
    c.moveTo(x1, y1);
    c.lineTo(x2, y2);
    c.stroke();
  }

  levelY(level) {
    const { top, height } = this.box;
    return top + (height * level) / BOTTOM;
  }

  drawSpectrum({ levels, stroke, fill }) {
    const { c } = this;
    const { left, top, width, height } = this.box;
    const path = new Path2D();
    for (let point = 0; point < SPECTRUM_POINTS; ++point) {
      const x = left + (width * point) / (SPECTRUM_POINTS - 1);
      if (point === 0) path.moveTo(x, this.levelY(levels[0]));
      else path.lineTo(x, this.levelY(levels[point]));
    }
    if (stroke) {
      c.strokeStyle = colour(stroke);
      c.lineWidth = 1.25;
      c.stroke(path);
    }
    path.lineTo(left + width, top + height);
    path.lineTo(left, top + height);
    c.fillStyle = colour(fill);
    c.fill(path);
  }

  drawCurves(curves, color, thickness) {
    if (differ(curves)) this.drawCurve(curves[1], `${color}-right`, thickness);
    this.drawCurve(curves[0], color, thickness);
  }

  drawCurve(curve, color, thickness) {
    const { c } = this;
    c.strokeStyle = colour(color);
    c.lineWidth = thickness;
    c.lineJoin = "round";
    c.beginPath();
    for (let point = 0; point < POINTS && curve[point] === curve[point]; ++point) {
      c.lineTo(this.x(frequencyAt(point)), this.y(curve[point]));
    }
    c.stroke();
  }
}

// Whether left and right can be told apart; beyond what is measured there are no numbers.
const differ = ([left, right]) => left.some((value, k) => Math.abs(value - right[k]) > 0.05);
