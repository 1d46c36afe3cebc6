// Level meters of what goes in and of what is heard: peaks that fall slowly, the highest for a while,
// and a light that stays when the rack's output has reached full scale.
import { $, h } from "./dom.js";
import { decibels } from "./format.js";

const FLOOR = -60; // dBFS
const FALL = 24; // dB per second
const HOLD = 1.5; // s
const FULL = 0.99999;

const place = (level) => Math.min(Math.max(1 - level / FLOOR, 0), 1);

class Bar {
  constructor() {
    this.fill = h("span", { class: "meter-fill" });
    this.tick = h("span", { class: "meter-tick" });
    this.element = h("span", { class: "meter-bar" }, this.fill, this.tick);
    this.level = this.highest = FLOOR;
    this.age = 0;
  }

  show(peak, seconds) {
    this.level = Math.max(decibels(peak), this.level - FALL * seconds, FLOOR);
    this.age += seconds;
    if (this.level >= this.highest || this.age > HOLD) {
      this.highest = this.level;
      this.age = 0;
    }
    this.fill.style.setProperty("--level", place(this.level));
    this.tick.style.setProperty("--level", place(this.highest));
  }
}

export class Meters {
  constructor(root) {
    this.bars = { in: [new Bar(), new Bar()], out: [new Bar(), new Bar()] };
    this.numbers = {
      in: h("span", { class: "meter-number" }),
      out: h("span", { class: "meter-number" }),
    };
    this.full = h(
      "button",
      {
        type: "button",
        class: "full-scale",
        title: "Full scale: lit when the rack's output has reached it. Click to forget it.",
        "aria-label": "FS, full scale: not reached",
        onclick: () => this.setFull(false),
      },
      "FS",
    );
    const pair = (name, which) =>
      h(
        "div",
        { class: "meter" },
        h("span", { class: "meter-name" }, name),
        h(
          "div",
          { class: "meter-pair" },
          this.bars[which].map(({ element }) => element),
        ),
        this.numbers[which],
      );
    root.append(pair("In", "in"), pair("Out", "out"), this.full);
  }

  setFull(on) {
    this.full.classList.toggle("lit", on);
    this.full.setAttribute("aria-label", `FS, full scale: ${on ? "reached" : "not reached"}`);
  }

  show(which, peaks, seconds) {
    this.bars[which].forEach((bar, channel) => bar.show(peaks[channel], seconds));
    const highest = Math.max(...this.bars[which].map((bar) => bar.highest));
    this.numbers[which].textContent = highest > FLOOR ? highest.toFixed(1).replace("-", "−") : "–";
  }

  // The rack's largest magnitude, which Match turns down behind it.
  watch(highest) {
    if (highest >= FULL) this.setFull(true);
  }
}
