// The rack on the audio thread. Everything that a first call costs is spent before it says "ready",
// while nothing plays yet; a preset is then loaded within a fraction of a quantum.
import { Exchange, MEASURES, SLOTS } from "./exchange.js";
import { Rack, openModule } from "./wasm.js";

const MAX_FRAMES = 1024; // at a time; a longer quantum is cut
const measure = Object.fromEntries(MEASURES.map((name, index) => [name, index]));
const clock = globalThis.performance ?? Date;

class RackProcessor extends AudioWorkletProcessor {
  constructor({ processorOptions: { module, warmUp, exchange, allowance } }) {
    super();
    this.exchange = exchange && new Exchange(exchange);
    this.allowance = allowance; // s that the device can do without new quanta
    this.load = 0;
    this.loadTime = 0;
    this.forgetTimes();
    this.port.onmessage = ({ data }) => this[data.do](data);
    this.start(module, warmUp).catch((error) => this.port.postMessage({ failed: String(error) }));
  }

  async start(bytes, warmUp) {
    const module = await openModule(bytes);
    const rack = new Rack(module, sampleRate, MAX_FRAMES);
    for (let round = 0; round < 4; ++round) {
      for (const preset of warmUp) {
        rack.loadBytes(preset);
        for (let k = 0; k < 40; ++k) rack.process(2, 128);
      }
    }
    rack.readPeaks();
    rack.readPeaks(0);
    rack.destroy();
    this.rack = new Rack(module, sampleRate, MAX_FRAMES);
    this.port.postMessage({ ready: true });
  }

  // ---- Messages.

  preset({ bytes, load }) {
    const from = clock.now();
    this.rack.loadBytes(bytes); // the page has seen that it's fine
    this.load = load;
    this.loadTime = clock.now() - from;
  }

  // The buffer of changes, which goes back with measures.
  exchanged({ buffer }) {
    const exchange = new Exchange(buffer);
    exchange.apply(this.rack, this.load);
    this.report(exchange);
    this.port.postMessage({ buffer }, [buffer]);
  }

  resumed({ allowance }) {
    this.allowance = allowance ?? this.allowance;
    this.forgetTimes();
  }

  reset() {
    this.rack.reset();
  }

  // ---- Sound.

  process(inputs, outputs) {
    if (!this.rack) return true;
    const from = clock.now();
    this.exchange?.apply(this.rack, this.load);
    this.render(inputs[0], outputs[0]);
    if (this.exchange?.asked()) {
      this.report(this.exchange);
      this.exchange.give();
    }
    this.keepTime(from, outputs[0][0].length);
    return true;
  }

  render(input, output) {
    const rack = this.rack;
    rack.look();
    const frames = output[0].length;
    for (let at = 0; at < frames; at += MAX_FRAMES) {
      const count = Math.min(frames - at, MAX_FRAMES);
      for (let i = 0; i < count; ++i) {
        rack.left[i] = input.length > 0 ? input[0][at + i] : 0;
        rack.right[i] = input.length > 1 ? input[1][at + i] : rack.left[i];
      }
      rack.process(2, count);
      for (let i = 0; i < count; ++i) {
        output[0][at + i] = rack.left[i];
        output[1][at + i] = rack.right[i];
      }
    }
  }

  // ---- Measures.

  forgetTimes() {
    this.quanta = 0;
    this.late = 0;
    this.busy = 0; // ms since the last report
    this.lasted = 0;
    this.worst = 0;
    this.frames = 0;
    this.ahead = -Infinity;
  }

  // A quantum is late when the device has played all it had in store: when the stream has fallen
  // behind the clock on the wall by more than that since it was furthest ahead.
  keepTime(from, frames) {
    const now = clock.now();
    const ahead = currentTime + frames / sampleRate - now / 1000;
    this.ahead = Math.max(this.ahead - (2e-4 * frames) / sampleRate, ahead); // clocks drift apart
    if (this.ahead - ahead > this.allowance) {
      ++this.late;
      this.ahead = ahead;
    }
    ++this.quanta;
    this.frames = frames;
    this.busy += now - from;
    this.lasted += (1000 * frames) / sampleRate;
    this.worst = Math.max(this.worst, now - from);
  }

  report(exchange) {
    this.rack.look();
    exchange.setMeasure(measure.loads, this.load);
    exchange.setMeasure(measure.quanta, this.quanta);
    exchange.setMeasure(measure.late, this.late);
    exchange.setMeasure(measure.load, this.lasted > 0 ? this.busy / this.lasted : 0);
    exchange.setMeasure(measure.worst, this.worst);
    exchange.setMeasure(measure.frames, this.frames);
    exchange.setMeasure(measure.loadTime, this.loadTime);
    this.rack.readPeaks();
    exchange.setMeasure(measure.highest, Math.max(this.rack.peak[2], this.rack.peak[3]));
    if (this.lasted > 500) this.busy = this.lasted = 0;
    for (let slot = 0; slot < SLOTS; ++slot) {
      this.rack.peak.fill(0);
      this.rack.readPeaks(slot);
      exchange.setSlotPeaks(slot, this.rack.peak);
    }
  }
}

registerProcessor("sonx-rack", RackProcessor);
