// Fair comparisons: side A, side B and the untouched sound, brought to the loudness of the softest
// of them, so that louder doesn't pass for better.
import { $, say } from "./dom.js";
import { latest } from "./jobs.js";
import { channelsOf } from "./sources.js";

const EXCERPT = 10; // s of the recording that is listened to
const PAUSE = 350; // ms without a change before it is
const NAMES = { A: "side A", B: "side B", bypass: "the untouched sound" };
const BUTTONS = { A: "#side-a", B: "#side-b", bypass: "#bypass" };
const levelText = (level) =>
  level
    .toFixed(1)
    .replace("-", "−")
    .replace(/^−(0\.0)$/, "$1");

export class Compare {
  constructor(desk, jobs) {
    const { model, player } = desk;
    Object.assign(this, { desk, model, player, jobs });
    this.matched = false;
    this.loudness = null; // {A, B, bypass} in LUFS
    this.measure = latest(() => this.listen());
    $("#side-a").addEventListener("click", () => this.choose("A"));
    $("#side-b").addEventListener("click", () => this.choose("B"));
    $("#bypass").addEventListener("click", () => this.choose("bypass"));
    $("#match").addEventListener("click", () => this.setMatched(!this.matched));
    $("#copy-across").addEventListener("click", () => {
      model.copyAcross();
      this.show();
    });
    model.addEventListener("settings", () => this.soon());
    this.show();
  }

  get heard() {
    return this.player.bypassed ? "bypass" : this.model.side;
  }

  async choose(what) {
    this.player.bypass(what === "bypass" && !this.player.bypassed);
    if (what !== "bypass") await this.desk.switchTo(what);
    this.show();
  }

  setMatched(on) {
    if (on && !this.excerpt) return say("Loudness is compared on a recording: open one first.");
    this.matched = on;
    if (on) this.measure();
    this.show();
  }

  setRecording(buffer) {
    this.excerpt = null;
    this.loudness = null;
    if (!buffer) this.matched = false;
    if (buffer) {
      const frames = Math.min(EXCERPT * buffer.sampleRate, buffer.length);
      const from = Math.floor((buffer.length - frames) / 2);
      this.excerpt = channelsOf(buffer).map((samples) => samples.slice(from, from + frames));
      this.rate = buffer.sampleRate;
    }
    this.show();
    this.soon();
  }

  soon() {
    clearTimeout(this.timer);
    if (this.matched) this.timer = setTimeout(() => this.measure(), PAUSE);
  }

  async listen() {
    if (!this.excerpt) return this.show();
    const { model } = this;
    const other = model.side === "A" ? "B" : "A";
    const texts = [model.text, model.startOf(other)];
    const { before, after } = await this.jobs.run("loudness", {
      texts,
      channels: this.excerpt,
      rate: this.rate,
    });
    this.loudness = { [model.side]: after[0], [other]: after[1], bypass: before };
    this.show();
  }

  // The softest that isn't silent: {what, level}.
  get softest() {
    const heard = Object.entries(this.loudness).filter(([, level]) => level > -Infinity);
    return heard.reduce((a, b) => (b[1] < a[1] ? b : a), ["", Infinity]);
  }

  // In dB, 0 or less.
  gainOf(what) {
    if (!this.matched || !this.loudness) return 0;
    const gain = this.softest[1] - this.loudness[what];
    return Number.isFinite(gain) ? gain : 0;
  }

  show() {
    const { model, player } = this;
    const press = (id, on) => $(id).setAttribute("aria-pressed", on ? "true" : "false");
    press("#side-a", model.side === "A");
    press("#side-b", model.side === "B");
    press("#bypass", player.bypassed);
    press("#match", this.matched);
    $("#copy-across").title = `Copy ${model.side} to ${model.side === "A" ? "B" : "A"}`;
    $("#copy-across").setAttribute("aria-label", $("#copy-across").title);
    document.body.classList.toggle("bypassed", player.bypassed);
    player.setMatchGain(10 ** (this.gainOf(this.heard) / 20));
    this.showMatch();
  }

  // What Match does: the loudness to which all come, and by how many dB each is turned down.
  showMatch() {
    const [what, level] = this.matched && this.loudness ? this.softest : ["", NaN];
    const known = what !== "";
    $("#match-level").textContent = known ? `${levelText(level)} LUFS` : this.matched ? "…" : "";
    $("#match").title = known
      ? `All at the loudness of ${NAMES[what]}, the softest: louder ones are turned down (M)`
      : "Compare at the same loudness (M)";
    for (const [one, id] of Object.entries(BUTTONS)) {
      const gain = $(".match-gain", $(id));
      gain.textContent = known ? `${levelText(this.gainOf(one))} dB` : "";
    }
  }
}
