// The page: what stands where, and who tells whom.
import { prepareCommands } from "./commands.js";
import { Compare } from "./compare.js";
import { Controls } from "./controls.js";
import { prepareImport, prepareRender, prepareTexts } from "./dialogs.js";
import { $, sayError } from "./dom.js";
import { Jobs } from "./jobs.js";
import { Live } from "./live.js";
import { Model, changeOf } from "./model.js";
import { Desk } from "./desk.js";
import { presetInLink } from "./share.js";
import { Slots } from "./slots.js";
import { fetchRecording } from "./sources.js";
import { Transport } from "./transport.js";
import { openModule } from "./wasm.js";

const USUAL_RATE = 48000;
const KEPT = "tuning-bench-preset"; // in the browser's store, from visit to visit

class Bench {
  constructor(wasmBytes, module, assets) {
    this.assets = assets;
    const model = (this.model = new Model(module, USUAL_RATE));
    const desk = (this.desk = new Desk(model, wasmBytes));
    const player = (this.player = desk.player);
    const jobs = new Jobs(wasmBytes);
    this.transport = new Transport(document, player);
    this.slots = new Slots($("#slots"), model);
    this.controls = new Controls($("#panel"), model);
    this.live = new Live({ ...this, jobs });
    this.compare = new Compare(desk, jobs);
    this.listen();
    const load = (text, name) => desk.load(text, name);
    prepareCommands(this);
    prepareTexts({ model, load, presets: assets.presets });
    prepareImport({ model, load });
    prepareRender({ desk, jobs: new Jobs(wasmBytes) });
  }

  listen() {
    const { model, player, desk } = this;
    model.addEventListener("load", ({ detail }) => player.loadPreset(detail.text));
    for (const type of ["value", "switch"]) {
      model.addEventListener(type, ({ detail }) => player.change(...changeOf[type](detail)));
    }
    model.addEventListener("settings", () => this.keep());
    model.addEventListener("history", () => this.showHistory());
    desk.addEventListener("source", () => {
      this.transport.setRecording(desk.buffer);
      this.compare.setRecording(desk.buffer);
    });
    $("#preset-name").addEventListener("change", ({ target }) => model.rename(target.value.trim()));
    addEventListener("hashchange", () => this.loadLink());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.restyle());
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

  nextTheme() {
    const { dataset } = document.documentElement;
    dataset.theme = dataset.theme === "dark" ? "light" : "dark";
    this.restyle();
  }

  restyle() {
    this.live.picture.stale = true;
    this.transport.paint();
  }

  // Whether the address carried a preset.
  async loadLink() {
    try {
      const text = await presetInLink();
      if (text !== null) await this.desk.load(text, "The link's preset");
      return text !== null;
    } catch (error) {
      sayError(error);
      return false;
    }
  }

  async start() {
    const { desk, assets, model } = this;
    const [first] = assets.recordings;
    if (first) desk.source = await fetchRecording(first).catch(() => desk.source);
    if (!(await this.loadLink())) await desk.load(kept() ?? assets.first);
    await desk.openSource();
    model.forget();
    this.live.start();
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
  const [bytes, assets] = await Promise.all([
    get("rack.wasm", "arrayBuffer"),
    get("assets.json", "json"),
  ]);
  globalThis.bench = new Bench(bytes, await openModule(bytes), assets);
  await globalThis.bench.start();
}

main()
  .catch((error) => sayError(new Error(`The bench can't start: ${error.message}`)))
  .finally(() => document.body.classList.remove("loading"));
