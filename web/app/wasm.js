// The rack's module, wherever it runs: page, worker or audio thread. Texts go in as UTF-8 bytes,
// since an audio thread has no encoder.

const decoder = globalThis.TextDecoder && new TextDecoder();
const encoder = globalThis.TextEncoder && new TextEncoder();

export const utf8 = (text) => encoder.encode(text);

// Compiles and starts the module from its file's bytes.
export async function openModule(bytes) {
  const module = await WebAssembly.compile(bytes);
  const imports = {};
  for (const { module: from, name } of WebAssembly.Module.imports(module)) {
    (imports[from] ??= {})[name] = name === "proc_exit" ? exited : unavailable;
  }
  const instance = await WebAssembly.instantiate(module, imports);
  instance.exports._initialize?.();
  return new RackModule(instance.exports);
}

function exited(code) {
  throw new Error(`the rack's module has ended with ${code}`);
}

// The system calls that the C library knows of: files, clocks. Nothing needs them.
function unavailable() {
  return 8; // bad file number
}

export class RackModule {
  constructor(exports) {
    this.c = exports;
  }

  catalogue() {
    return JSON.parse(this.textAt(this.c.sonx_web_catalogue()));
  }

  version() {
    return this.textAt(this.c.sonx_rack_version());
  }

  // {preset, report, faults}: published equalizer settings as a preset.
  importEqualizer(text, autoPreamp) {
    const size = 65536;
    return this.withBytes(utf8(text), (from) =>
      this.withRoom(2 * size, (room) => {
        const faults = this.c.sonx_rack_import(from, autoPreamp, room, size, room + size, size);
        if (faults < 0) throw new Error("The text holds more sections than fit into one preset.");
        return {
          faults,
          preset: faults ? "" : this.textAt(room),
          report: this.textAt(room + size),
        };
      }),
    );
  }

  // ---- Memory.

  // Calls use(address) with room of the module's, which is given back afterwards.
  withRoom(size, use) {
    const address = this.c.malloc(size);
    if (!address) throw new Error("The rack's memory is full.");
    try {
      return use(address);
    } finally {
      this.c.free(address);
    }
  }

  // The same with a text in it, ended by a zero.
  withBytes(bytes, use) {
    return this.withRoom(bytes.length + 1, (address) => {
      const room = new Uint8Array(this.c.memory.buffer, address, bytes.length + 1);
      room.set(bytes);
      room[bytes.length] = 0;
      return use(address);
    });
  }

  bytesAt(address) {
    const all = new Uint8Array(this.c.memory.buffer);
    return all.slice(address, all.indexOf(0, address));
  }

  textAt(address) {
    return decoder.decode(this.bytesAt(address));
  }

  // A text from a function that answers how long it is: write(address, size).
  textFrom(write) {
    const length = write(0, 0);
    if (length < 0) throw new Error("The rack's memory is full.");
    return this.withRoom(length + 1, (address) => {
      write(address, length + 1);
      return this.textAt(address);
    });
  }
}

// One rack, with a stereo block of its own to process.
export class Rack {
  static errorSize = 400;

  constructor(module, rate, maxFrames) {
    this.module = module;
    this.c = module.c;
    this.rate = rate;
    this.maxFrames = maxFrames;
    this.handle = this.c.sonx_rack_create(rate, maxFrames);
    if (!this.handle) throw new Error(`No effect runs at ${rate} Hz.`);
    this.block = this.c.malloc(8 * maxFrames + 8 + 16);
    this.pointers = this.block + 8 * maxFrames;
    this.peaks = this.pointers + 8;
    this.look();
  }

  // Views of the block; they end when the memory grows.
  look() {
    const buffer = this.c.memory.buffer;
    if (buffer === this.seen) return;
    this.seen = buffer;
    const right = this.block + 4 * this.maxFrames;
    this.left = new Float32Array(buffer, this.block, this.maxFrames);
    this.right = new Float32Array(buffer, right, this.maxFrames);
    this.peak = new Float32Array(buffer, this.peaks, 4);
    new Uint32Array(buffer, this.pointers, 2).set([this.block, right]);
  }

  // What's wrong with the preset, as bytes, or null.
  loadBytes(bytes) {
    return this.module.withBytes(bytes, (preset) =>
      this.module.withRoom(Rack.errorSize, (error) => {
        const failed = this.c.sonx_rack_load(this.handle, preset, error, Rack.errorSize);
        return failed ? this.module.bytesAt(error) : null;
      }),
    );
  }

  // Throws the rack's own words.
  load(text) {
    const error = this.loadBytes(utf8(text));
    if (error) throw new Error(decoder.decode(error));
  }

  save() {
    return this.module.textFrom((at, size) => this.c.sonx_rack_save(this.handle, at, size));
  }

  exportC() {
    return this.module.textFrom((at, size) => this.c.sonx_rack_export_c(this.handle, at, size));
  }

  effectIds() {
    const count = this.c.sonx_rack_slot_count(this.handle);
    const heap = () => new Uint32Array(this.c.memory.buffer);
    return Array.from({ length: count }, (_, slot) =>
      this.module.textAt(heap()[this.c.sonx_rack_slot(this.handle, slot) / 4]),
    );
  }

  set(slot, parameter, value) {
    this.c.sonx_rack_set(this.handle, slot, parameter, value);
  }

  get(slot, parameter) {
    return this.c.sonx_rack_get(this.handle, slot, parameter);
  }

  enable(slot, on) {
    this.c.sonx_rack_enable(this.handle, slot, on ? 1 : 0);
  }

  latency() {
    return this.c.sonx_rack_latency(this.handle);
  }

  // Frames until silence follows silence; -1: never.
  tail() {
    return this.c.sonx_rack_tail(this.handle);
  }

  reset() {
    this.c.sonx_rack_reset(this.handle);
  }

  // The first frames of left and right, in place.
  process(channels, frames) {
    this.c.sonx_rack_process_f32(this.handle, this.pointers, this.pointers, channels, frames);
  }

  // peak: in left and right, out left and right, or of a slot.
  readPeaks(slot) {
    if (slot === undefined) {
      this.c.sonx_rack_meters(this.handle, this.peaks, this.peaks + 8);
    } else {
      this.c.sonx_rack_slot_meters(this.handle, slot, this.peaks, this.peaks + 8);
    }
  }

  destroy() {
    this.c.sonx_rack_destroy(this.handle);
    this.c.free(this.block);
    this.handle = 0;
  }
}
