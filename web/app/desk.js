// One rack, one source, one sample rate that suits both.
import { $, say, sayError } from "./dom.js";
import { Player } from "./player.js";
import { decode, noise, openFile, openMicrophone } from "./sources.js";

export class Desk extends EventTarget {
  // "source" tells of another recording, or none, in .buffer.
  constructor(model, wasmBytes) {
    super();
    this.model = model;
    this.player = new Player(wasmBytes, model.catalogue);
    this.source = noise;
    this.buffer = null;
    this.inUse = false; // a change of the rate is news
  }

  // ---- Presets and rates.

  // A preset from anywhere; the rack goes to a rate that all of its effects have.
  async load(text, name = "") {
    try {
      await this.adaptRate(this.model.idsIn(text), text);
      this.model.load(text);
    } catch (error) {
      sayError(new Error(name ? `${name}: ${error.message}` : error.message));
    }
  }

  async add(id) {
    try {
      await this.adaptRate([...this.model.ids, id], this.model.text);
      this.model.add(id);
    } catch (error) {
      sayError(error);
    }
  }

  // "undo" or "redo".
  async travel(direction) {
    const { history } = this.model;
    const text = (direction === "undo" ? history.past : history.future).at(-1);
    if (text === undefined) return;
    await this.adaptRate(this.model.idsIn(text), text);
    this.model[direction]();
  }

  async switchTo(side) {
    const text = this.model.startOf(side);
    await this.adaptRate(this.model.idsIn(text), text);
    this.model.switchTo(side);
  }

  // The lowest common rate from the recording's on, or the highest there is.
  rateFor(ids) {
    const known = ids.filter((id) => this.model.effects.has(id));
    const rates = this.model.ratesOf(known);
    if (rates.length === 0) throw new Error("These effects have no sample rate in common.");
    return rates.find((rate) => rate >= this.source.rate) ?? rates.at(-1);
  }

  async adaptRate(ids, text) {
    const rate = this.rateFor(ids);
    if (rate === this.model.rate) return;
    this.model.setRate(rate, text);
    await this.openSource();
    if (this.inUse) say(`The rack now runs at ${rate} Hz, which all its effects have.`);
  }

  // ---- Sources.

  async setSource(source) {
    const { model, player, source: sourceBefore } = this;
    const rateBefore = model.rate;
    const wasPlaying = player.playing;
    this.source = source;
    try {
      const rate = this.rateFor(model.ids);
      if (rate !== model.rate) model.setRate(rate);
      await this.openSource();
      if (wasPlaying || source.kind === "microphone") await player.play();
    } catch (error) {
      this.source = sourceBefore;
      if (model.rate !== rateBefore) model.setRate(rateBefore);
      sayError(error);
    }
  }

  // The source at the rack's rate, in a context of that rate.
  async openSource() {
    const { player, source, model } = this;
    const { playing, position } = player;
    const microphone = source.kind === "microphone";
    const buffer = microphone ? null : await decode(source, model.rate);
    if (player.context?.sampleRate !== model.rate || microphone !== Boolean(player.stream)) {
      await player.open(model.rate, model.rack.save(), microphone ? "interactive" : undefined);
    }
    if (microphone) player.setMicrophone(source.stream);
    else player.setRecording(buffer);
    this.tell(buffer);
    if (playing) {
      player.seek(position);
      await player.play();
    }
  }

  tell(buffer) {
    const { name } = this.source;
    this.buffer = buffer;
    $("#source-name").textContent = name;
    this.dispatchEvent(new Event("source"));
    const count = buffer?.numberOfChannels;
    if (count > 2) say(`${name} has ${count} channels: the first two are taken.`);
  }

  async useMicrophone() {
    const stream = await openMicrophone();
    await this.setSource({ kind: "microphone", name: "Microphone", rate: 48000, stream });
  }

  async useFile(file) {
    await this.setSource(await openFile(file));
  }
}
