// Points of an equalizer's bands over the large picture, to be dragged or moved by keys: left and
// right is the frequency, up and down the gain, the wheel or Shift with up and down the Q.
import { h } from "./dom.js";
import { shortHertz, tidy, valueText } from "./format.js";
import { groupsOf, handlesOf } from "./groups.js";

const SEMITONE = 2 ** (1 / 12);
const JITTER = 3; // pixels that a click may move

export class Handles {
  constructor(root, picture, model, controls) {
    Object.assign(this, { root, picture, model, controls });
    this.held = false;
    this.buttons = [];
    controls.onGroups = () => this.build();
    model.addEventListener("value", ({ detail }) => detail.slot === model.selected && this.place());
    new ResizeObserver(() => this.place()).observe(root);
  }

  get slot() {
    return this.model.selected;
  }

  get parameters() {
    return this.model.slots[this.slot]?.effect.parameters ?? [];
  }

  value(index) {
    return this.model.value(this.slot, index);
  }

  gains() {
    return this.buttons.map(({ handle }) => this.value(handle.gain));
  }

  build() {
    const all = handlesOf(this.parameters, groupsOf(this.parameters));
    const open = this.controls.openGroups.flatMap((group) =>
      group.kind === "table" ? group.rows.flatMap(({ cells }) => cells) : group.cells,
    );
    this.buttons = all
      .filter(({ gain }) => open.includes(gain))
      .map((handle) => ({ handle, button: this.button(handle) }));
    this.root.replaceChildren(...this.buttons.map(({ button }) => button));
    this.place();
  }

  button(handle) {
    const name = handle.hertz ? shortHertz(handle.hertz) : (/\d+$/.exec(handle.name)?.[0] ?? "");
    const wide = name.length > 2 ? " wide-name" : "";
    const button = h("button", { type: "button", class: `handle${wide}`, "data-name": name });
    button.addEventListener("pointerdown", (event) => this.drag(event, handle, button));
    button.addEventListener("keydown", (event) => this.key(event, handle));
    button.addEventListener("blur", () => this.model.endGesture());
    button.addEventListener("dblclick", () => {
      this.set(handle.gain, this.parameters[handle.gain].initial, "default");
      this.model.endGesture();
    });
    button.addEventListener(
      "wheel",
      (event) => {
        if (handle.q === undefined) return;
        event.preventDefault();
        this.set(handle.q, this.value(handle.q) * 1.08 ** -Math.sign(event.deltaY), "wheel");
      },
      { passive: false },
    );
    return button;
  }

  place() {
    for (const { handle, button } of this.buttons) {
      const hertz = handle.hertz ?? this.value(handle.frequency);
      const x = this.picture.x(hertz);
      const y = this.picture.y(this.value(handle.gain));
      button.style.transform = `translate(${x}px, ${y}px)`;
      const words = handle.cells.map((index) =>
        valueText(this.value(index), this.parameters[index]),
      );
      button.setAttribute("aria-label", `${handle.name}: ${words.join(", ")}`);
      button.title = `${handle.name}: ${words.join(", ")}`;
      button.classList.toggle("dim", words.includes("off"));
    }
  }

  set(index, value, gesture) {
    this.model.set(
      this.slot,
      index,
      tidy(value, this.parameters[index]),
      `${gesture} ${this.slot} ${index}`,
    );
  }

  drag(event, handle, button) {
    if (event.button !== 0) return;
    button.setPointerCapture(event.pointerId);
    button.focus();
    this.held = true;
    const area = this.root.getBoundingClientRect();
    const gesture = `handle ${this.slot} ${handle.gain}`;
    const place = button.getBoundingClientRect();
    const offset = {
      x: event.clientX - place.left - place.width / 2 + area.left,
      y: event.clientY - place.top - place.height / 2 + area.top,
    };
    let moving = false;
    const move = ({ clientX, clientY }) => {
      moving ||= Math.hypot(clientX - event.clientX, clientY - event.clientY) > JITTER;
      if (!moving) return;
      const { model, slot, picture, parameters } = this;
      const gain = tidy(picture.gainAt(clientY - offset.y), parameters[handle.gain]);
      model.set(slot, handle.gain, gain, gesture);
      if (handle.frequency === undefined) return;
      const hertz = tidy(picture.hertzAt(clientX - offset.x), parameters[handle.frequency]);
      model.set(slot, handle.frequency, hertz, gesture);
    };
    const end = () => {
      for (const name of ["pointermove", "pointerup", "pointercancel"])
        button.removeEventListener(name, name === "pointermove" ? move : end);
      this.held = false;
      this.model.endGesture();
    };
    button.addEventListener("pointermove", move);
    button.addEventListener("pointerup", end);
    button.addEventListener("pointercancel", end);
  }

  key(event, handle) {
    const across = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    const up = { ArrowUp: 1, ArrowDown: -1 }[event.key];
    if (event.altKey || (!across && !up)) return;
    event.preventDefault();
    if (across && handle.frequency !== undefined) {
      this.set(handle.frequency, this.value(handle.frequency) * SEMITONE ** across, "keys");
    } else if (up && event.shiftKey && handle.q !== undefined) {
      this.set(handle.q, this.value(handle.q) * 1.08 ** up, "keys");
    } else if (up) {
      this.set(
        handle.gain,
        this.value(handle.gain) + up * Math.max(0.5, this.parameters[handle.gain].step),
        "keys",
      );
    }
  }
}
