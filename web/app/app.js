// The page: what stands where, and who tells whom.
import { prepareCommands } from "./commands.js";
import { Compare } from "./compare.js";
import { Controls } from "./controls.js";
import { prepareImport, prepareRender, prepareTexts } from "./dialogs.js";
import { $, say, sayError } from "./dom.js";
import { Jobs } from "./jobs.js";
import { Live } from "./live.js";
import { Model, changeOf } from "./model.js";
import { Desk } from "./desk.js";
import { presetInLink, presetIsInLink } from "./share.js";
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
    player.addEventListener("mute", () =>
      sayError(new Error("The browser has no sound output to play on.")),
    );
    desk.addEventListener("source", () => {
      this.transport.setRecording(desk.buffer);
      this.compare.setRecording(desk.buffer);
    });
    $("#preset-name").addEventListener("change", ({ target }) => model.rename(target.value.trim()));
    addEventListener("hashchange", () => this.loadLink());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.restyle());
  }

  // What a link has brought isn't kept, nor does it stay in the address, until it has been changed:
  // the own rack is there at the next visit.
  keep() {
    $("#preset-name").value = this.model.name;
    if (this.linking || this.model.text === this.linked) return;
    if (this.linked && presetIsInLink())
      history.replaceState(null, "", location.pathname + location.search);
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

  // The address may carry a preset: one more step, behind which the own rack can be brought back.
  async loadLink() {
    try {
      const text = await presetInLink();
      if (text === null) return;
      const own = this.model.text;
      this.linking = true;
      await this.desk.load(text, "The link's preset");
      this.linked = this.model.text;
      if (this.model.text !== own)
        say("This is the link's rack. Undo (Ctrl+Z) brings your own one back.");
    } catch (error) {
      sayError(error);
    } finally {
      this.linking = false;
    }
  }

  async start() {
    const { desk, assets, model } = this;
    const [first] = assets.recordings;
    if (first) desk.source = await fetchRecording(first).catch(() => desk.source);
    await desk.load(kept() ?? assets.first);
    await desk.openSource();
    model.forget();
    desk.inUse = true;
    await this.loadLink();
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
