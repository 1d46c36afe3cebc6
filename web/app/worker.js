// Works through jobs with a rack of its own, beside the page: responses, loudness, whole files.
import { loudnessOf } from "./loudness.js";
import { measureResponse } from "./response.js";
import { wavOf } from "./wav.js";
import { Rack, openModule } from "./wasm.js";

const FRAMES = 4096; // at a time

let opened = null;
let rack = null;

async function rackAt(rate) {
  const module = await opened;
  if (rack?.rate === rate) return rack;
  rack?.destroy();
  rack = new Rack(module, rate, FRAMES);
  return rack;
}

// A stream through a rack that begins with these settings: the sound, then silence, without the
// rack's latency.
function run(text, channels, tail, tell) {
  rack.load(text);
  rack.reset();
  const frames = channels[0].length + tail;
  const delay = rack.latency();
  const out = channels.map(() => new Float32Array(frames));
  for (let at = 0; at < frames + delay; at += FRAMES) {
    const count = Math.min(FRAMES, frames + delay - at);
    rack.look();
    [rack.left, rack.right].slice(0, channels.length).forEach((block, c) => {
      block.fill(0);
      block.set(channels[c].subarray(at, at + count));
    });
    rack.process(channels.length, count);
    const skip = Math.max(delay - at, 0);
    if (skip < count) {
      out.forEach((samples, c) =>
        samples.set([rack.left, rack.right][c].subarray(skip, count), at + skip - delay),
      );
    }
    tell?.(Math.min(at + count, frames) / frames);
  }
  return out;
}

const jobs = {
  open({ bytes }) {
    opened = openModule(bytes);
  },

  // texts: presets; null for no curve.
  response({ texts }) {
    return texts.map((text) => {
      if (text === null) return null;
      rack.load(text);
      rack.reset();
      return measureResponse(rack);
    });
  },

  loudness({ texts, channels, rate }) {
    const before = loudnessOf(channels, rate);
    return { before, after: texts.map((text) => loudnessOf(run(text, channels, 0), rate)) };
  },

  async render({ text, channels, rate, tail }, tell) {
    const wav = wavOf(run(text, channels, Math.round(tail * rate), tell), rate);
    const digest = new Uint8Array(await crypto.subtle.digest("SHA-256", wav));
    const sha256 = [...digest].map((byte) => byte.toString(16).padStart(2, "0")).join("");
    return { wav, sha256 };
  },
};

let last = Promise.resolve();

onmessage = ({ data }) => {
  last = last.then(async () => {
    let told = 0;
    const tell = (done) => {
      if (done - told < 0.005 && done < 1) return;
      told = done;
      postMessage({ number: data.number, progress: done });
    };
    try {
      if (data.rate) await rackAt(data.rate);
      const result = await jobs[data.job](data, tell);
      postMessage({ number: data.number, result }, result?.wav ? [result.wav] : []);
    } catch (error) {
      postMessage({ number: data.number, error: error.message });
    }
  });
};
