// Prints nanoseconds per stereo frame of each effect as WebAssembly: what a second slot with the
// effect adds to a rack with one, as bench/rack_cost measures it natively.
//   node web/measure-speed.mjs WASM
import { readFile } from "node:fs/promises";
import { blockOf } from "./app/preset-text.js";
import { Rack, openModule } from "./app/wasm.js";

const STRETCHES = 300;
const BLOCKS = 10; // in a stretch
const MOST = 48000; // Hz

const module = await openModule(await readFile(process.argv[2]));

function noise(frames) {
  let seed = 1;
  return Float32Array.from({ length: frames }, () => {
    seed = (Math.imul(seed, 1664525) + 1013904223) | 0;
    return seed / 2 ** 33;
  });
}

// The fastest of many stretches.
function fastest(id, slots, rate) {
  const block = rate === 44100 ? 220 : rate / 200;
  const rack = new Rack(module, rate, block);
  rack.load(["sonx = 1\n", ...Array(slots).fill(blockOf(id))].join("\n"));
  const [left, right] = [noise(block * BLOCKS), noise(block * BLOCKS)];
  let least = Infinity;
  for (let k = 0; k < STRETCHES; ++k) {
    let busy = 0;
    for (let at = 0; at < left.length; at += block) {
      rack.look();
      rack.left.set(left.subarray(at, at + block));
      rack.right.set(right.subarray(at, at + block));
      const from = performance.now();
      rack.process(2, block);
      busy += performance.now() - from;
    }
    least = Math.min(least, busy);
  }
  rack.destroy();
  return (1e6 * least) / left.length;
}

for (const { id, rates } of module.catalogue()) {
  const rate = rates.filter((one) => one <= MOST).at(-1);
  fastest(id, 2, rate); // the compiler's second thoughts
  console.log(id, (fastest(id, 2, rate) - fastest(id, 1, rate)).toFixed(1));
}
