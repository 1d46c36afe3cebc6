// The page: what stands where, and who tells whom.
import { Compare } from "./compare.js";
import { Controls } from "./controls.js";
import { chooseEffect, chooseSource, openDialog, prepareDialogs, prepareImport, prepareRender, prepareTexts } from "./dialogs.js";
import { $, calm, say, sayError } from "./dom.js";
import { measured, slotPeaks } from "./exchange.js";
import { Handles } from "./handles.js";
import { Jobs, latest } from "./jobs.js";
import { Meters } from "./meters.js";
import { Model, changeOf } from "./model.js";
import { Picture } from "./picture.js";
import { Player } from "./player.js";
import { presetInLink } from "./share.js";
import { Slots } from "./slots.js";
import { decode, fetchRecording, noise, openFile, openMicrophone } from "./sources.js";
import { Spectrogram, placeMarks } from "./spectrogram.js";
import { Spectrum, peaksOf } from "./spectrum.js";
import { Transport } from "./transport.js";
import { openModule } from "./wasm.js";

const CALM_PICTURES = 200; // ms from picture to picture where movement is unwanted
const KEPT = "tuning-bench-preset";

class App {
  constructor(bytes, module, assets) {
    this.assets = assets;
    this.model = new Model(module, 48000);
    this.player = new Player(bytes, this.model.catalogue);
    this.measureJobs = new Jobs(bytes);
    this.renderJobs = new Jobs(bytes);
    this.source = noise;
    this.buildParts();
    this.listen();
    this.prepareButtons();
    this.prepareKeys();
    this.prepareDrop();
  }

  buildParts() {
    const { model, player } = this;
    this.transport = new Transport(document, player);
    this.slots = new Slots($("#slots"), model);
    this.controls = new Controls($("#panel"), model);
    this.picture = new Picture($("#picture"));
    this.handles = new Handles($("#handles"), this.picture, model, this.controls);
    this.spectrogram = new Spectrogram($("#spectrogram"));
    this.meters = new Meters($("#meters"));
    this.compare = new Compare(model, player, this.measureJobs);
    this.spectra = { in: new Spectrum(), out: new Spectrum() };
    this.picture.spectra = [
      { levels: this.spectra.in.levels, fill: "spectrum-in" },
      { levels: this.spectra.out.levels, fill: "spectrum-out", stroke: "spectrum-line" },
    ];
    placeMarks($("#spectrogram-marks"));
  }

  listen() {
    const { model, player } = this;
    this.measure = latest(() => this.measureResponse());
    model.addEventListener("load", ({ detail: { text } }) => player.loadPreset(text));
    for (const type of ["value", "switch"]) {
      model.addEventListener(type, ({ detail }) => player.change(...changeOf[type](detail)));
    }
    model.addEventListener("settings", () => {
      this.measure();
      this.keep();
    });
    model.addEventListener("history", () => this.showHistory());
    model.addEventListener("select", () => this.measure());
    $("#preset-name").addEventListener("change", ({ target }) => model.rename(target.value.trim()));
  }

  keep() {
    $("#preset-name").value = this.model.name;
    try {
      localStorage.setItem(KEPT, this.model.text);
    } catch {
      // Private windows keep nothing.
    }
  }

  showHistory() {
    const { past, future } = this.model.history;
    $("#undo").disabled = past.length === 0;
    $("#redo").disabled = future.length === 0;
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
      const ids = [...this.model.slots.map(({ effect }) => effect.id), id];
      await this.adaptRate(ids, this.model.text);
      this.model.add(id);
    } catch (error) {
      sayError(error);
    }
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
    say(`The rack now runs at ${rate} Hz.`);
  }

  // ---- Sources.

  async setSource(source) {
    const before = this.source;
    const rateBefore = this.model.rate;
    const wasPlaying = this.player.playing;
    this.source = source;
    try {
      const rate = this.rateFor(this.model.slots.map(({ effect }) => effect.id));
      if (rate !== this.model.rate) this.model.setRate(rate);
      await this.openSource();
      if (wasPlaying || source.kind === "microphone") await this.player.play();
    } catch (error) {
      this.source = before;
      if (this.model.rate !== rateBefore) this.model.setRate(rateBefore);
      sayError(error);
    }
  }

  // The source at the rack's rate, in a context of that rate.
  async openSource() {
    const { player, source, model } = this;
    const wasPlaying = player.playing;
    const position = player.position;
    const microphone = source.kind === "microphone";
    const buffer = microphone ? null : await decode(source, model.rate);
    if (player.context?.sampleRate !== model.rate || microphone !== Boolean(player.stream)) {
      await player.open(model.rate, model.rack.save(), microphone ? "interactive" : undefined);
    }
    if (microphone) player.setMicrophone(source.stream);
    else player.setRecording(buffer);
    this.buffer = buffer;
    this.transport.setRecording(buffer);
    this.compare.setRecording(buffer);
    $("#source-name").textContent = source.name;
    if (buffer?.numberOfChannels > 2) say(`${source.name} has ${buffer.numberOfChannels} channels: the first two are taken.`);
    if (wasPlaying) {
      player.seek(position);
      await player.play();
    }
  }

  chooseSource() {
    const choices = [
      { name: "Open a file…", icon: "file", about: "WAV, FLAC, MP3, Ogg. Or drop it anywhere on the page.", open: () => $("#audio-file").click() },
      ...this.assets.recordings.map((recording) => ({ name: recording.name, icon: "wave", about: recording.about,
        open: async () => this.setSource(await fetchRecording(recording)) })),
      { name: noise.name, icon: "wave", about: "Every octave at the same level, for ears that know a spectrum.", open: () => this.setSource(noise) },
      { name: "Microphone", icon: "microphone", about: "Live. Wear headphones, or it howls.", open: () => this.useMicrophone() },
    ];
    chooseSource(choices, ({ open }) => Promise.resolve(open()).catch(sayError));
  }

  async useMicrophone() {
    const stream = await openMicrophone();
    await this.setSource({ kind: "microphone", name: "Microphone", rate: 48000, stream });
  }

  async openAny(file) {
    if (!file) return;
    if (/\.toml$/i.test(file.name)) return this.load(await file.text(), file.name);
    if (/\.txt$/i.test(file.name)) {
      $("#import-text").value = await file.text();
      openDialog("#import-dialog");
      return;
    }
    await this.setSource(await openFile(file));
  }

  // ---- Buttons, keys, files that are dropped.

  prepareButtons() {
    const { model } = this;
    const click = (id, action) => $(id).addEventListener("click", action);
    prepareDialogs();
    prepareTexts({ model, load: (text, name) => this.load(text, name), presets: this.assets.presets });
    prepareImport({ model, load: (text) => this.load(text) });
    prepareRender({ model, jobs: this.renderJobs, source: () => ({ buffer: this.buffer, name: this.source.name }) });
    click("#undo", () => this.travel("undo"));
    click("#redo", () => this.travel("redo"));
    click("#add", () => chooseEffect(model, (id) => this.add(id)));
    click("#source", () => this.chooseSource());
    click("#presets", () => openDialog("#preset-dialog"));
    click("#import", () => {
      $("#preset-dialog").close();
      openDialog("#import-dialog");
    });
    click("#render", () => openDialog("#render-dialog"));
    click("#help", () => openDialog("#help-dialog"));
    click("#theme", () => this.nextTheme());
    click("#show-response", () => this.showPicture("response"));
    click("#show-spectrogram", () => this.showPicture("spectrogram"));
    $("#audio-file").addEventListener("change", async ({ target }) => {
      const [file] = target.files;
      target.value = "";
      await this.openAny(file);
    });
  }

  async travel(direction) {
    const { history } = this.model;
    const text = (direction === "undo" ? history.past : history.future).at(-1);
    if (text === undefined) return;
    await this.adaptRate(this.model.idsIn(text), text);
    this.model[direction]();
  }

  showPicture(name) {
    $("#stage").dataset.show = name;
    $("#show-response").setAttribute("aria-pressed", String(name === "response"));
    $("#show-spectrogram").setAttribute("aria-pressed", String(name === "spectrogram"));
    this.picture.stale = true;
  }

  nextTheme() {
    const { dataset } = document.documentElement;
    dataset.theme = dataset.theme === "dark" ? "light" : "dark";
    this.restyle();
  }

  restyle() {
    this.picture.stale = true;
    this.transport.paint();
  }

  prepareKeys() {
    document.addEventListener("keydown", (event) => {
      if ($("dialog[open]") || event.target.closest("input[type=text], textarea, select")) return;
      const command = event.ctrlKey || event.metaKey;
      const key = event.key.toLowerCase();
      const action = command
        ? { z: () => this.travel(event.shiftKey ? "redo" : "undo"), y: () => this.travel("redo") }[key]
        : { " ": event.target.closest("button, summary") ? null : () => this.transport.toggle(),
            a: () => this.compare.choose("A"), b: () => this.compare.choose("B"),
            x: () => this.compare.choose("bypass"), m: () => this.compare.setMatched(!this.compare.matched),
            "?": () => openDialog("#help-dialog") }[key];
      if (!action || event.altKey) return;
      event.preventDefault();
      action();
    });
  }

  prepareDrop() {
    const over = (on) => document.body.classList.toggle("dropping", on);
    addEventListener("dragover", (event) => {
      event.preventDefault();
      over(true);
    });
    addEventListener("dragleave", (event) => event.relatedTarget ?? over(false));
    addEventListener("drop", (event) => {
      event.preventDefault();
      over(false);
      this.openAny(event.dataTransfer.files[0]).catch(sayError);
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.restyle());
    addEventListener("hashchange", () => this.loadLink());
  }

  async loadLink() {
    try {
      const text = await presetInLink();
      if (text !== null) await this.load(text, "The link's preset");
      return text !== null;
    } catch (error) {
      sayError(error);
      return false;
    }
  }

  // ---- Pictures.

  async measureResponse() {
    const { model, picture } = this;
    const slot = model.selected >= 0 && model.slots.length > 1 ? model.slotText(model.selected) : null;
    const texts = [model.text, slot];
    const [rack, alone] = await this.measureJobs.run("response", { texts, rate: model.rate });
    picture.rack = rack;
    picture.slot = alone;
    picture.chooseSpan([...rack, ...(alone ?? [])], this.handles.gains(), this.handles.held);
    picture.stale = true;
    this.handles.place();
  }

  start() {
    let before = performance.now();
    const next = (now) => {
      const wait = calm.matches ? CALM_PICTURES : 0;
      if (now - before >= wait) {
        this.show((now - before) / 1000);
        before = now;
      }
      requestAnimationFrame(next);
    };
    requestAnimationFrame(next);
  }

  show(seconds) {
    const { player, picture } = this;
    if (player.playing) this.showSound(seconds);
    else for (const spectrum of Object.values(this.spectra)) spectrum.fall();
    const moving = player.playing || this.spectra.out.levels.some((level) => level > -95.5);
    if (moving || picture.stale || this.sizeChanged()) {
      if ($("#stage").dataset.show !== "spectrogram") picture.draw();
      picture.stale = false;
    }
    this.transport.show();
  }

  sizeChanged() {
    const size = `${innerWidth} ${innerHeight} ${devicePixelRatio}`;
    const changed = size !== this.size;
    this.size = size;
    return changed;
  }

  showSound(seconds) {
    const { player, spectra } = this;
    const rate = player.context.sampleRate;
    this.room ??= new Float32Array(player.inputs[0].fftSize);
    spectra.in.read(player.inputs, rate, seconds);
    spectra.out.read(player.outputs, rate, seconds);
    this.meters.show("in", peaksOf(player.inputs, this.room), seconds);
    this.meters.show("out", peaksOf(player.outputs, this.room), seconds);
    if ($("#stage").dataset.show === "spectrogram") this.spectrogram.add(spectra.out);
    player.rack.poll();
    this.showMeasures(player.rack.measures);
  }

  showMeasures(measures) {
    this.slots.items.forEach((_, slot) => this.slots.showGain(slot, slotPeaks(measures, slot)));
    const rate = this.player.context.sampleRate;
    const milliseconds = (1000 * measured(measures, "latency")) / rate;
    const set = (id, text) => $(id).textContent === text || ($(id).textContent = text);
    set("#status-rate", `${(rate / 1000).toFixed(1).replace(".0", "")} kHz`);
    set("#status-quantum", `${measured(measures, "frames")} frames`);
    set("#status-latency", `${milliseconds.toFixed(1)} ms`);
    set("#status-load", `${(100 * measured(measures, "load")).toFixed(1)} %`);
    const late = Math.max(measured(measures, "late"), this.player.underruns);
    set("#status-late", String(late));
    $("#status-late").classList.toggle("error", late > 0);
  }
}

function kept() {
  try {
    return localStorage.getItem(KEPT);
  } catch {
    return null;
  }
}

async function main() {
  const get = async (file, as) => (await fetch(new URL(file, document.baseURI)))[as]();
  const [bytes, assets] = await Promise.all([get("rack.wasm", "arrayBuffer"), get("assets.json", "json")]);
  const app = new App(bytes, await openModule(bytes), assets);
  globalThis.bench = app; // for whoever looks under the bonnet
  const first = assets.recordings[0];
  if (first) app.source = await fetchRecording(first).catch(() => noise);
  if (!(await app.loadLink())) await app.load(kept() ?? assets.first);
  await app.openSource();
  app.model.forget();
  app.start();
  document.body.classList.remove("loading");
}

main().catch((error) => {
  $("#status-live").textContent = "";
  document.body.classList.remove("loading");
  sayError(new Error(`The bench can't start: ${error.message}`));
});
