// Magnitude responses, measured: a logarithmic sweep, repeated, goes through the rack's own code;
// the second period's spectrum over the sweep's is the response.
import { transform } from "./fft.js";

const SECONDS = 0.6; // of a period, at least
const LEVEL = 0.1; // -20 dBFS
const FROM = 10; // Hz
const TAIL_SMOOTHING = 1 / 6; // octave, where tails comb the response
const SMOOTHING = 1 / 24;

export const LOWEST = 20;
export const HIGHEST = 20000;
export const POINTS = 241;

export const frequencyAt = (point) => LOWEST * (HIGHEST / LOWEST) ** (point / (POINTS - 1));

const sweeps = new Map(); // by rate

function sweepAt(rate) {
  if (sweeps.has(rate)) return sweeps.get(rate);
  const length = 2 ** Math.ceil(Math.log2(SECONDS * rate));
  const rise = Math.log((0.49 * rate) / FROM);
  const samples = Float32Array.from({ length }, (_, i) => {
    const turns = ((FROM * length) / rate / rise) * (Math.exp((i / length) * rise) - 1);
    return LEVEL * Math.sin(2 * Math.PI * turns);
  });
  const sweep = { samples, power: powerOf(samples) };
  sweeps.set(rate, sweep);
  return sweep;
}

function powerOf(samples) {
  const re = Float64Array.from(samples);
  const im = new Float64Array(samples.length);
  transform(re, im);
  return re.subarray(0, samples.length / 2).map((x, k) => x * x + im[k] * im[k]);
}

// What comes out for the sweep's second period, left and right.
function secondPeriod(rack, samples) {
  const out = [new Float32Array(samples.length), new Float32Array(samples.length)];
  for (let period = 0; period < 2; ++period) {
    for (let at = 0; at < samples.length; at += rack.maxFrames) {
      const piece = samples.subarray(at, at + rack.maxFrames);
      rack.left.set(piece);
      rack.right.set(piece);
      rack.process(2, piece.length);
      out[0].set(rack.left.subarray(0, piece.length), at);
      out[1].set(rack.right.subarray(0, piece.length), at);
    }
  }
  return out;
}

// dB at the points, averaged in power over a part of an octave.
function levels(output, input, rate, smoothing) {
  const binHertz = rate / (2 * input.length);
  const half = 2 ** (smoothing / 2);
  return Float32Array.from({ length: POINTS }, (_, point) => {
    const hertz = frequencyAt(point);
    if (hertz >= 0.48 * rate) return NaN;
    const first = Math.floor(hertz / half / binHertz);
    const last = Math.max(Math.ceil((hertz * half) / binHertz), first + 1);
    let out = 0;
    let into = 0;
    for (let k = first; k <= last; ++k) {
      out += output[k] ?? 0;
      into += input[k] ?? 0;
    }
    return 10 * Math.log10(out / into + 1e-12);
  });
}

// [left, right] of a rack that holds the settings.
export function measureResponse(rack) {
  const { samples, power } = sweepAt(rack.rate);
  const tail = rack.tail();
  const smoothing = tail < 0 || tail > rack.rate / 4 ? TAIL_SMOOTHING : SMOOTHING;
  return secondPeriod(rack, samples).map((out) =>
    levels(powerOf(out), power, rack.rate, smoothing),
  );
}
