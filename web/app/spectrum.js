// Spectra as they are drawn: dB at points along the picture's frequency axis, falling slowly.
import { HIGHEST, LOWEST } from "./response.js";

export const BOTTOM = -96; // dBFS
const FALL = 26; // dB per second
export const SPECTRUM_POINTS = 256;

const hertzAt = (point) => LOWEST * (HIGHEST / LOWEST) ** (point / (SPECTRUM_POINTS - 1));

export class Spectrum {
  constructor() {
    this.levels = new Float32Array(SPECTRUM_POINTS).fill(BOTTOM);
    this.now = new Float32Array(SPECTRUM_POINTS);
    this.bins = null;
  }

  // The louder of the channels at each point; between bins a straight line, of many the largest.
  read(analysers, rate, seconds) {
    this.now.fill(BOTTOM);
    for (const analyser of analysers) this.take(analyser, rate);
    for (let point = 0; point < SPECTRUM_POINTS; ++point) {
      this.levels[point] = Math.max(this.now[point], this.levels[point] - FALL * seconds);
    }
  }

  take(analyser, rate) {
    if (this.bins?.length !== analyser.frequencyBinCount) {
      this.bins = new Float32Array(analyser.frequencyBinCount);
    }
    analyser.getFloatFrequencyData(this.bins);
    const perHertz = (2 * this.bins.length) / rate;
    const half = (HIGHEST / LOWEST) ** (0.5 / (SPECTRUM_POINTS - 1));
    for (let point = 0; point < SPECTRUM_POINTS; ++point) {
      const at = hertzAt(point) * perHertz;
      if (at >= this.bins.length - 1) break;
      this.now[point] = Math.max(this.now[point], levelAround(this.bins, at, half));
    }
  }

  // Silence.
  fall(seconds) {
    for (let point = 0; point < SPECTRUM_POINTS; ++point) {
      this.levels[point] = Math.max(BOTTOM, this.levels[point] - 3 * FALL * seconds);
    }
  }
}

function levelAround(bins, at, half) {
  const first = Math.ceil(at / half);
  const last = Math.floor(at * half);
  if (last <= first) {
    const below = Math.floor(at);
    const part = at - below;
    return Math.max((1 - part) * bins[below] + part * bins[below + 1], BOTTOM);
  }
  let largest = BOTTOM;
  for (let k = first; k <= last; ++k) largest = Math.max(largest, bins[k]);
  return largest;
}

// The peaks of what has just been played, left and right.
export function peaksOf(analysers, room) {
  return analysers.map((analyser) => {
    analyser.getFloatTimeDomainData(room);
    let peak = 0;
    for (let i = room.length - PEAK_FRAMES; i < room.length; ++i)
      peak = Math.max(peak, Math.abs(room[i]));
    return peak;
  });
}

const PEAK_FRAMES = 2048; // longer than from one picture to the next
