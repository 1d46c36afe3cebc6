// Play, pause, and the recording's outline with the place in it.
import { $, colour, fit, icon } from "./dom.js";
import { timeText } from "./format.js";

const BARS = 4; // pixels from one bar of the outline to the next

export class Transport {
  constructor(root, player) {
    this.player = player;
    this.button = $("#play", root);
    this.canvas = $("#outline", root);
    this.slider = $("#position", root);
    this.time = $("#time", root);
    this.button.addEventListener("click", () => this.toggle());
    this.slider.addEventListener("input", () => player.seek(this.slider.value * player.duration));
    this.slider.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -2, ArrowRight: 2, PageDown: -10, PageUp: 10 }[event.key];
      if (!by) return;
      event.preventDefault();
      player.seek(player.position + by);
      this.show();
    });
    player.addEventListener("transport", () => this.showButton());
    new ResizeObserver(() => this.draw()).observe(this.canvas);
    this.showButton();
  }

  async toggle() {
    if (this.player.playing) await this.player.pause();
    else await this.player.play();
  }

  showButton() {
    const { playing } = this.player;
    this.button.replaceChildren(icon(playing ? "pause" : "play"));
    this.button.setAttribute("aria-label", playing ? "Pause" : "Play");
    this.button.title = playing ? "Pause (space)" : "Play (space)";
  }

  // The largest magnitudes of the recording, in as many pieces as there's room for.
  setRecording(buffer) {
    this.buffer = buffer;
    this.slider.disabled = !buffer;
    this.draw();
    this.show();
  }

  outline(count) {
    const samples = this.buffer.getChannelData(0);
    const per = samples.length / count;
    return Float32Array.from({ length: count }, (_, k) => {
      let largest = 0;
      const end = Math.floor((k + 1) * per);
      const stride = Math.max(1, Math.floor(per / 400));
      for (let i = Math.floor(k * per); i < end; i += stride)
        largest = Math.max(largest, Math.abs(samples[i]));
      return largest;
    });
  }

  draw() {
    fit(this.canvas);
    const { clientWidth: width, clientHeight: height } = this.canvas;
    this.bars = this.buffer && width > 0 ? this.outline(Math.ceil(width / BARS)) : null;
    this.height = height;
    this.paint();
  }

  paint() {
    const context = this.canvas.getContext("2d");
    const scale = devicePixelRatio || 1;
    context.setTransform(scale, 0, 0, scale, 0, 0);
    context.clearRect(0, 0, this.canvas.clientWidth, this.height);
    if (!this.bars) return;
    const at = this.player.duration
      ? (this.player.position / this.player.duration) * this.bars.length
      : 0;
    this.bars.forEach((level, k) => {
      const size = Math.max(2, level * (this.height - 4));
      context.fillStyle = colour(k < at ? "accent-line" : "outline");
      context.fillRect(k * BARS, (this.height - size) / 2, BARS - 1.5, size);
    });
    this.painted = Math.floor(at);
  }

  show() {
    const { position, duration } = this.player;
    if (!this.buffer) {
      this.time.textContent = "live";
      return;
    }
    this.slider.value = duration ? position / duration : 0;
    this.slider.setAttribute("aria-valuetext", `${timeText(position)} of ${timeText(duration)}`);
    const text = `${timeText(position)} / ${timeText(duration)}`;
    if (this.time.textContent !== text) this.time.textContent = text;
    if (this.bars && Math.floor((position / duration) * this.bars.length) !== this.painted)
      this.paint();
  }
}
