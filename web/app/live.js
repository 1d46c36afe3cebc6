// What moves while sound plays: pictures, meters, the line at the bottom.
import { $, calm } from "./dom.js";
import { measured, slotPeaks } from "./exchange.js";
import { Handles } from "./handles.js";
import { latest } from "./jobs.js";
import { Meters } from "./meters.js";
import { Picture } from "./picture.js";
import { Spectrogram, placeMarks } from "./spectrogram.js";
import { BOTTOM, Spectrum, peaksOf } from "./spectrum.js";

const CALM_PICTURES = 200; // ms from picture to picture where movement is unwanted

function set(id, text) {
  const element = $(id);
  if (element.textContent !== text) element.textContent = text;
}

export class Live {
  constructor({ model, player, jobs, controls, slots, transport }) {
    Object.assign(this, { model, player, jobs, slots, transport });
    this.picture = new Picture($("#picture"));
    this.handles = new Handles($("#handles"), this.picture, model, controls);
    this.spectrogram = new Spectrogram($("#spectrogram"));
    this.meters = new Meters($("#meters"));
    this.spectra = { in: new Spectrum(), out: new Spectrum() };
    this.picture.spectra = [
      { levels: this.spectra.in.levels, fill: "spectrum-in" },
      { levels: this.spectra.out.levels, fill: "spectrum-out", stroke: "spectrum-line" },
    ];
    placeMarks($("#spectrogram-marks"));
    for (const name of ["response", "spectrogram"]) {
      $(`#show-${name}`).addEventListener("click", () => this.choose(name));
    }
    this.measure = latest(() => this.measureResponse());
    model.addEventListener("settings", () => this.measure());
    model.addEventListener("select", () => this.measure());
  }

  choose(name) {
    this.chosen = name;
    $("#stage").dataset.show = name;
    for (const one of ["response", "spectrogram"]) {
      $(`#show-${one}`).setAttribute("aria-pressed", String(one === name));
    }
    this.picture.stale = true;
  }

  // The whole rack's response, and the chosen effect's beside others.
  async measureResponse() {
    const { model, picture } = this;
    const slot = model.slots.length > 1 ? model.slotText(model.selected) : null;
    const texts = [model.text, slot];
    const [rack, alone] = await this.jobs.run("response", { texts, rate: model.rate });
    picture.rack = rack;
    picture.slot = alone;
    picture.chooseSpan([...rack, ...(alone ?? [])], this.handles.gains(), this.handles.held);
    picture.stale = true;
    this.handles.place();
  }

  start() {
    let before = performance.now();
    const next = (now) => {
      if (now - before >= (calm.matches ? CALM_PICTURES : 0)) {
        this.show((now - before) / 1000);
        before = now;
      }
      requestAnimationFrame(next);
    };
    requestAnimationFrame(next);
  }

  show(seconds) {
    const { player, picture, spectra } = this;
    if (player.playing) this.showSound(seconds);
    else for (const spectrum of Object.values(spectra)) spectrum.fall(seconds);
    const moving = player.playing || spectra.out.levels.some((level) => level > BOTTOM);
    if (moving || picture.stale || this.sizeChanged()) {
      if (this.chosen === "spectrogram") this.showSpectrogram();
      else picture.draw();
      picture.stale = false;
    }
    this.transport.show();
    this.showRack();
  }

  showRack() {
    const { rack } = this.model;
    set("#status-rate", `${Number((rack.rate / 1000).toFixed(1))} kHz`);
    set("#status-latency", `${((1000 * rack.latency()) / rack.rate).toFixed(1)} ms`);
  }

  showSpectrogram() {
    this.spectrogram.draw();
    $("#spectrogram-note").hidden = this.spectrogram.count > 0;
  }

  sizeChanged() {
    const size = `${innerWidth} ${innerHeight} ${devicePixelRatio}`;
    const changed = size !== this.size;
    this.size = size;
    return changed;
  }

  showSound(seconds) {
    const { player, spectra, meters } = this;
    const rate = player.context.sampleRate;
    this.room ??= new Float32Array(player.inputs[0].fftSize);
    spectra.in.read(player.inputs, rate, seconds);
    spectra.out.read(player.outputs, rate, seconds);
    meters.show("in", peaksOf(player.inputs, this.room), seconds);
    meters.show("out", peaksOf(player.outputs, this.room), seconds);
    this.spectrogram.add(spectra.out);
    player.rack.poll();
    this.showMeasures(player.rack.measures);
  }

  showMeasures(measures) {
    this.slots.items.forEach((_, slot) => {
      const heard = !this.player.bypassed && this.model.slots[slot].on;
      this.slots.showGain(slot, heard ? slotPeaks(measures, slot) : null);
    });
    this.meters.watch(measured(measures, "highest"));
    const late = Math.max(measured(measures, "late"), this.player.underruns);
    set("#status-quantum", `${measured(measures, "frames")} frames`);
    set("#status-load", `${(100 * measured(measures, "load")).toFixed(1)} %`);
    set("#status-late", String(late));
    $("#status-late").classList.toggle("error", late > 0);
  }
}
