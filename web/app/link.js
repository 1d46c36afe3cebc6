// The audio thread's end of the page: a node that plays the rack, and the way to it and back.
import { Exchange } from "./exchange.js";
import { blockOf } from "./preset-text.js";
import { utf8 } from "./wasm.js";

export class RackNode {
  // Ready when everything has been compiled and run once.
  static async open(context, wasmBytes, catalogue) {
    await context.audioWorklet.addModule(new URL("./worklet.js", import.meta.url));
    const link = new RackNode(context, wasmBytes, catalogue);
    await link.ready;
    return link;
  }

  constructor(context, wasmBytes, catalogue) {
    this.exchange = Exchange.make();
    this.shared = !(this.exchange.buffer instanceof ArrayBuffer);
    this.away = false; // the buffer is with the audio thread
    this.measures = this.shared ? this.exchange.measures : this.exchange.measures.slice();
    this.pending = new Map(); // the latest of each value, until there's a way
    this.load = 0;
    this.node = new AudioWorkletNode(context, "sonx-rack", {
      outputChannelCount: [2],
      channelCount: 2,
      channelCountMode: "clamped-max",
      processorOptions: {
        module: wasmBytes.slice(0), // bytes: a compiled module doesn't reach every audio thread
        warmUp: warmUpPresets(catalogue, context.sampleRate),
        exchange: this.shared ? this.exchange.buffer : null,
        allowance: inStore(context.baseLatency),
      },
    });
    this.ready = new Promise((resolve, reject) => {
      this.node.port.onmessage = ({ data }) => {
        if (data.ready) resolve();
        else if (data.failed) reject(new Error(data.failed));
        else this.comeBack(data.buffer);
      };
      this.node.onprocessorerror = () => reject(new Error("The audio thread has stopped."));
    });
  }

  loadPreset(text) {
    this.pending.clear();
    const bytes = utf8(text);
    this.node.port.postMessage({ do: "preset", bytes, load: ++this.load }, [bytes.buffer]);
  }

  change(slot, parameter, value) {
    this.pending.set(slot * 1000 + parameter, [slot, parameter, value]);
    this.flush();
  }

  reset() {
    this.node.port.postMessage({ do: "reset" });
  }

  // The count of late quanta begins anew.
  resumed() {
    this.node.port.postMessage({ do: "resumed" });
  }

  // The same, once the device's latency is known; to ask for it sooner makes some browsers hang.
  settled() {
    const { baseLatency, outputLatency = 0 } = this.node.context;
    const allowance = inStore(baseLatency, outputLatency);
    this.node.port.postMessage({ do: "resumed", allowance });
  }

  // Once per picture: asks for new measures, which are there with the next one.
  poll() {
    if (this.shared) this.exchange.ask();
    else this.send();
  }

  flush() {
    if (this.shared) this.putPending();
    else if (!this.away && this.pending.size > 0) this.send();
  }

  putPending() {
    for (const [key, change] of this.pending) {
      if (!this.exchange.put(this.load, ...change)) return;
      this.pending.delete(key);
    }
  }

  send() {
    if (this.away) return;
    this.putPending();
    this.away = true;
    const { buffer } = this.exchange;
    this.node.port.postMessage({ do: "exchanged", buffer }, [buffer]);
  }

  comeBack(buffer) {
    this.exchange = new Exchange(buffer);
    this.measures.set(this.exchange.measures);
    this.away = false;
    this.flush();
  }

  close() {
    this.node.disconnect();
    this.node.port.close();
  }
}

// s of sound that the device may have before it runs dry.
const inStore = (base, output = 0) => Math.max(2 * (base || 0.01), base + output) + 0.005;

// Every effect that runs at the rate, one at a time and all together.
function warmUpPresets(catalogue, rate) {
  const blocks = catalogue.filter((e) => e.rates.includes(rate)).map((e) => blockOf(e.id));
  return [...blocks.map((block) => [block]), blocks].map((some) =>
    utf8(["sonx = 1\n", ...some].join("\n")),
  );
}
