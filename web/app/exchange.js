// What page and audio thread tell each other while sound plays: changes of settings one way,
// measures the other. Both are flat arrays of numbers made once: in shared memory where the page is
// isolated, else in one buffer that is handed to and fro, so that nothing piles up for the audio
// thread's garbage collector.

// A change: which load of a preset it belongs to, slot, parameter, value. As parameter stands:
export const ENABLE = -1; // value 1 or 0; slot -1 is the whole rack

const CHANGE = 4; // numbers
const CAPACITY = 512; // changes; a power of two
export const SLOTS = 32; // that measures have room for

// Measures, in this order; then for each slot its peaks, in and out.
export const MEASURES = [
  "loads",
  "quanta",
  "late",
  "load",
  "worst",
  "frames",
  "loadTime",
  "highest", // magnitude of the output
];
const SLOT_PEAKS = MEASURES.length;
const MEASURE_COUNT = SLOT_PEAKS + 2 * SLOTS;

// A ring of changes and a set of measures over one buffer.
export class Exchange {
  static bytes = 16 + 8 * (CHANGE * CAPACITY + MEASURE_COUNT);

  constructor(buffer) {
    this.buffer = buffer;
    this.marks = new Int32Array(buffer, 0, 4); // put, taken; measures asked for, given
    this.changes = new Float64Array(buffer, 16, CHANGE * CAPACITY);
    this.measures = new Float64Array(buffer, 16 + 8 * CHANGE * CAPACITY, MEASURE_COUNT);
  }

  static make() {
    return new Exchange(
      globalThis.crossOriginIsolated
        ? new SharedArrayBuffer(Exchange.bytes)
        : new ArrayBuffer(Exchange.bytes),
    );
  }

  // False if there's no room.
  put(load, slot, parameter, value) {
    const at = Atomics.load(this.marks, 0);
    if (at - Atomics.load(this.marks, 1) >= CAPACITY) return false;
    const place = CHANGE * (at & (CAPACITY - 1));
    this.changes[place] = load;
    this.changes[place + 1] = slot;
    this.changes[place + 2] = parameter;
    this.changes[place + 3] = value;
    Atomics.store(this.marks, 0, at + 1);
    return true;
  }

  // Gives the rack its changes as far as they belong to the load in force. Older ones are in that
  // load's preset already, newer ones wait for theirs.
  apply(rack, load) {
    const end = Atomics.load(this.marks, 0);
    let at = Atomics.load(this.marks, 1);
    for (; at !== end; ++at) {
      const place = CHANGE * (at & (CAPACITY - 1));
      const its = this.changes[place];
      if (its > load) break;
      if (its < load) continue;
      const slot = this.changes[place + 1];
      const parameter = this.changes[place + 2];
      const value = this.changes[place + 3];
      if (parameter === ENABLE) rack.enable(slot, value !== 0);
      else rack.set(slot, parameter, value);
    }
    Atomics.store(this.marks, 1, at);
  }

  // ---- Measures: asked for by the page, given once by the audio thread.

  ask() {
    Atomics.add(this.marks, 2, 1);
  }

  asked() {
    return Atomics.load(this.marks, 2) !== Atomics.load(this.marks, 3);
  }

  give() {
    Atomics.store(this.marks, 3, Atomics.load(this.marks, 2));
  }

  setMeasure(index, value) {
    this.measures[index] = value;
  }

  setSlotPeaks(slot, peaks) {
    this.measures[SLOT_PEAKS + 2 * slot] = Math.max(peaks[0], peaks[1]);
    this.measures[SLOT_PEAKS + 2 * slot + 1] = Math.max(peaks[2], peaks[3]);
  }
}

// ---- Reading measures.

export const measured = (measures, name) => measures[MEASURES.indexOf(name)];

// Largest magnitudes of a slot, going in and coming out.
export const slotPeaks = (measures, slot) => [
  measures[SLOT_PEAKS + 2 * slot],
  measures[SLOT_PEAKS + 2 * slot + 1],
];
