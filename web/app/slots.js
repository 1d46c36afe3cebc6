// The row of effects: choose, switch, drag or move by keys.
import { $, h, iconButton } from "./dom.js";
import { decibels } from "./format.js";
import { dragToReorder } from "./reorder.js";

const GAIN_SPAN = 24; // dB to either side in a slot's gain bar
const HOLD = 0.9; // of the held peaks, from picture to picture

export class Slots {
  constructor(root, model) {
    this.root = root;
    this.model = model;
    this.items = [];
    model.addEventListener("load", () => this.build());
    model.addEventListener("select", () => this.mark());
    model.addEventListener("switch", ({ detail: { slot, on } }) => this.showSwitch(slot, on));
    dragToReorder(root, ".grip", (from, to) => {
      model.move(from, to);
      this.focusGrip(to);
    });
  }

  build() {
    const { model } = this;
    this.items = model.slots.map((slot, index) => this.item(slot, index));
    this.root.replaceChildren(...this.items.map(({ element }) => element));
    model.slots.forEach(({ on }, index) => this.showSwitch(index, on));
    this.mark();
  }

  item({ effect }, index) {
    const { model } = this;
    const place = `${effect.name}, ${index + 1} of ${model.slots.length}`;
    const grip = iconButton("grip", `Move ${place}: arrow keys, or drag`, () => {}, {
      class: "icon-button grip",
    });
    grip.addEventListener("keydown", (event) => this.moveByKey(event, index));
    const choose = h(
      "button",
      { type: "button", class: "choose", onclick: () => model.select(index) },
      h("span", { class: "slot-name" }, effect.name),
    );
    choose.addEventListener("keydown", (event) => {
      if (event.altKey) this.moveByKey(event, index);
      else if (event.key === "Delete") model.remove(index);
    });
    const bar = h("span", { class: "gain-fill" });
    const gain = h("span", { class: "gain-text" });
    choose.append(
      h(
        "span",
        { class: "gain", "aria-hidden": "true" },
        h("span", { class: "gain-bar" }, bar),
        gain,
      ),
    );
    const toggle = h(
      "button",
      {
        type: "button",
        role: "switch",
        class: "switch small",
        "aria-label": `${effect.name} on`,
        onclick: () => model.enable(index, !model.slots[index].on),
      },
      h("span", { class: "thumb" }),
    );
    const element = h("li", { class: "slot" }, grip, choose, toggle);
    return { element, choose, toggle, bar, gain, into: 0, out: 0 };
  }

  moveByKey(event, index) {
    const by = { ArrowUp: -1, ArrowLeft: -1, ArrowDown: 1, ArrowRight: 1 }[event.key];
    if (!by) return;
    event.preventDefault();
    const wasGrip = event.target.classList.contains("grip");
    const to = index + by;
    if (to < 0 || to >= this.items.length) return;
    this.model.move(index, to);
    if (wasGrip) this.focusGrip(to);
    else this.items[to].choose.focus();
    $("#status-live").textContent =
      `${this.model.slots[to].effect.name} is now ${to + 1} of ${this.items.length}`;
  }

  focusGrip(index) {
    $(".grip", this.items[index]?.element)?.focus();
  }

  showSwitch(slot, on) {
    const { element, toggle } = this.items[slot];
    toggle.setAttribute("aria-checked", on ? "true" : "false");
    element.classList.toggle("off", !on);
  }

  mark() {
    this.items.forEach(({ element, choose }, index) => {
      const chosen = index === this.model.selected;
      element.classList.toggle("chosen", chosen);
      if (chosen) choose.setAttribute("aria-current", "true");
      else choose.removeAttribute("aria-current");
    });
  }

  // How far a slot turns the sound up or down at present: the ratio of its peaks, held for a while.
  // Null, for a slot that isn't heard, shows nothing.
  showGain(slot, peaks) {
    const item = this.items[slot];
    if (!item) return;
    const [into, out] = peaks ?? [0, 0];
    const hold = peaks ? HOLD : 0;
    item.into = Math.max(into, item.into * hold);
    item.out = Math.max(out, item.out * hold);
    const heard = item.into > 1e-4 && item.out > 1e-5;
    const gain = heard ? decibels(item.out) - decibels(item.into) : 0;
    const part = Math.min(Math.abs(gain) / GAIN_SPAN, 1) / 2;
    item.bar.style.transform = `translateX(${gain < 0 ? -part * 100 : 0}%) scaleX(${part})`;
    item.bar.classList.toggle("down", gain < 0);
    item.gain.textContent = heard ? `${gain < 0 ? "−" : "+"}${Math.abs(gain).toFixed(1)}` : "";
  }
}
