// Loudness as ITU-R BS.1770-4 defines it: two filters, mean squares of overlapping blocks, two
// gates. In LUFS.

const BLOCK = 0.4; // s
const HOP = 0.1;
const ABSOLUTE_GATE = -70;
const RELATIVE_GATE = -10;

// The standard's filters for any rate, from the analogue ones behind its table at 48 kHz.
function filtersAt(rate) {
  return [
    highShelf(1681.974450955533, 3.999843853973347, 0.7071752369554196, rate),
    highPass(38.13547087602444, 0.5003270373238773, rate),
  ];
}

function highShelf(hertz, gain, q, rate) {
  const k = Math.tan((Math.PI * hertz) / rate);
  const high = 10 ** (gain / 20);
  const band = high ** 0.4996667741545416;
  const a0 = 1 + k / q + k * k;
  return {
    b: [
      (high + (band * k) / q + k * k) / a0,
      (2 * (k * k - high)) / a0,
      (high - (band * k) / q + k * k) / a0,
    ],
    a: [(2 * (k * k - 1)) / a0, (1 - k / q + k * k) / a0],
  };
}

function highPass(hertz, q, rate) {
  const k = Math.tan((Math.PI * hertz) / rate);
  const a0 = 1 + k / q + k * k;
  return { b: [1, -2, 1], a: [(2 * (k * k - 1)) / a0, (1 - k / q + k * k) / a0] };
}

function filtered(samples, { b, a }) {
  const out = new Float64Array(samples.length);
  let x1 = 0,
    x2 = 0,
    y1 = 0,
    y2 = 0;
  for (let i = 0; i < samples.length; ++i) {
    const y = b[0] * samples[i] + b[1] * x1 + b[2] * x2 - a[0] * y1 - a[1] * y2;
    x2 = x1;
    x1 = samples[i];
    y2 = y1;
    y1 = y;
    out[i] = y;
  }
  return out;
}

const level = (power) => -0.691 + 10 * Math.log10(power);
const mean = (values) => values.reduce((sum, value) => sum + value, 0) / values.length;

// -Infinity for silence.
export function loudnessOf(channels, rate) {
  const weighted = channels.map((samples) => filtersAt(rate).reduce(filtered, samples));
  const powers = [];
  const length = Math.min(Math.round(BLOCK * rate), weighted[0].length);
  for (let at = 0; at + length <= weighted[0].length; at += Math.round(HOP * rate)) {
    const power = weighted.reduce((sum, samples) => {
      let energy = 0;
      for (let i = at; i < at + length; ++i) energy += samples[i] * samples[i];
      return sum + energy / length;
    }, 0);
    if (level(power) > ABSOLUTE_GATE) powers.push(power);
  }
  if (powers.length === 0) return -Infinity;
  const gate = level(mean(powers)) + RELATIVE_GATE;
  return level(mean(powers.filter((power) => level(power) > gate)));
}
