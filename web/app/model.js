// The settings that are being tuned: two sides, A and B, each with its history, in a rack of the
// page's own, which is never played but knows every rule.
//
// Events: "load" (another row of slots), "value" (slot, parameter), "switch" (slot), "history" and
// "settings" (after any of them), "side".
import { ENABLE } from "./exchange.js";
import { History } from "./history.js";
import { blockOf, isOn, join, nameOf, split, withName } from "./preset-text.js";
import { Rack } from "./wasm.js";

const EMPTY = "sonx = 1\n";

export class Model extends EventTarget {
  constructor(module, rate) {
    super();
    this.module = module;
    this.catalogue = module.catalogue();
    this.effects = new Map(this.catalogue.map((effect) => [effect.id, effect]));
    this.rack = new Rack(module, rate, 128);
    this.slots = [];
    this.side = "A";
    this.histories = { A: new History(EMPTY), B: new History(EMPTY) };
    this.selected = -1;
  }

  tell(type, detail) {
    this.dispatchEvent(new CustomEvent(type, { detail }));
  }

  // ---- Looking.

  get rate() {
    return this.rack.rate;
  }

  get history() {
    return this.histories[this.side];
  }

  get text() {
    return this.history.present;
  }

  textOf(side) {
    return this.histories[side].present;
  }

  // What is heard after a switch to a side: one that nothing has been put on begins as a copy.
  startOf(side) {
    return this.textOf(side) === EMPTY ? this.text : this.textOf(side);
  }

  get name() {
    return nameOf(this.text);
  }

  value(slot, parameter) {
    return this.rack.get(slot, parameter);
  }

  // One slot alone, as a preset.
  slotText(slot) {
    return join({ head: EMPTY, blocks: [split(this.text).blocks[slot]] });
  }

  get ids() {
    return this.slots.map(({ effect }) => effect.id);
  }

  // Rates at which all of these effects run.
  ratesOf(ids) {
    const all = [...new Set(this.catalogue.flatMap((effect) => effect.rates))];
    const rates = all.filter((rate) =>
      ids.every((id) => this.effects.get(id).rates.includes(rate)),
    );
    return rates.sort((a, b) => a - b);
  }

  idsIn(text) {
    return split(text).blocks.map((block) => /^id = "(.*)"$/m.exec(block)?.[1] ?? "");
  }

  // ---- Changing.

  set(slot, parameter, value, gesture = null) {
    this.rack.set(slot, parameter, value);
    this.changed(slot, parameter);
    this.step(gesture);
  }

  // Tells of a value if it's another one than before.
  changed(slot, parameter) {
    const { values } = this.slots[slot];
    const value = this.value(slot, parameter);
    if (values[parameter] === value) return;
    values[parameter] = value;
    this.tell("value", { slot, parameter, value });
  }

  enable(slot, on) {
    this.rack.enable(slot, on);
    this.slots[slot].on = on;
    this.tell("switch", { slot, on });
    this.step();
  }

  step(gesture = null) {
    this.history.step(this.rack.save(), gesture);
    this.tell("history");
    this.tell("settings");
  }

  endGesture() {
    this.history.endGesture();
  }

  // Another preset, from anywhere. Throws the rack's own words and stays as it is.
  load(text) {
    this.show(text);
    this.history.step(this.rack.save());
    this.tell("history");
    this.tell("settings");
  }

  // What stands there is the beginning: there's nothing to undo.
  forget() {
    this.histories[this.side] = new History(this.text);
    this.tell("history");
  }

  // Comes before a load that needs another rate.
  setRate(rate, text = this.text) {
    const rack = new Rack(this.module, rate, 128);
    try {
      rack.load(text);
    } catch (error) {
      rack.destroy();
      throw error;
    }
    this.rack.destroy();
    this.rack = rack;
  }

  edit(change) {
    const parts = split(this.text);
    change(parts.blocks);
    this.load(join(parts));
  }

  add(effectId) {
    this.selected = this.slots.length;
    this.edit((blocks) => blocks.push(blockOf(effectId)));
  }

  remove(slot) {
    this.selected = Math.min(this.selected, this.slots.length - 2);
    this.edit((blocks) => blocks.splice(slot, 1));
  }

  duplicate(slot) {
    this.selected = slot + 1;
    this.edit((blocks) => blocks.splice(slot + 1, 0, blocks[slot]));
  }

  move(from, to) {
    if (from === to || to < 0 || to >= this.slots.length) return;
    this.selected = to;
    this.edit((blocks) => blocks.splice(to, 0, ...blocks.splice(from, 1)));
  }

  rename(name) {
    this.load(withName(this.text, name));
  }

  select(slot) {
    this.selected = slot;
    this.tell("select");
  }

  // ---- History and sides.

  undo() {
    this.travel(this.history.undo());
  }

  redo() {
    this.travel(this.history.redo());
  }

  // Where the slots stay, their values travel, so that tails go on.
  travel(text) {
    if (text === undefined) return;
    if (this.idsIn(text).join() === this.idsIn(this.rack.save()).join()) this.adopt(text);
    else this.show(text);
    this.tell("history");
    this.tell("settings");
  }

  adopt(text) {
    this.rack.load(text);
    split(text).blocks.forEach((block, slot) => {
      const its = this.slots[slot];
      if (its.on !== isOn(block)) {
        its.on = !its.on;
        this.tell("switch", { slot, on: its.on });
      }
      its.effect.parameters.forEach((_, parameter) => this.changed(slot, parameter));
    });
  }

  show(text) {
    this.rack.load(text);
    const saved = this.rack.save();
    const blocks = split(saved).blocks;
    this.slots = this.rack.effectIds().map((id, slot) => {
      const effect = this.effects.get(id);
      return { effect, on: isOn(blocks[slot]), values: [] };
    });
    this.slots.forEach((slot, index) => {
      slot.values = slot.effect.parameters.map((_, parameter) => this.value(index, parameter));
    });
    this.selected = Math.min(Math.max(this.selected, 0), this.slots.length - 1);
    this.tell("load", { text: saved });
  }

  switchTo(side) {
    if (side === this.side) return;
    this.endGesture();
    if (this.textOf(side) === EMPTY) this.histories[side] = new History(this.startOf(side));
    this.side = side;
    this.show(this.text);
    this.tell("history");
    this.tell("settings");
    this.tell("side");
  }

  // The other side becomes a copy of this one.
  copyAcross() {
    this.histories[this.side === "A" ? "B" : "A"].step(this.text);
    this.tell("settings");
  }
}

// What a player is told of a change.
export const changeOf = {
  value: ({ slot, parameter, value }) => [slot, parameter, value],
  switch: ({ slot, on }) => [slot, ENABLE, on ? 1 : 0],
};
