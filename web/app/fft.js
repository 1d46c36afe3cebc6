// A transform in place of 2^k complex numbers, real and imaginary parts apart.

export function transform(re, im) {
  const n = re.length;
  reverseBits(re, im);
  for (let half = 1; half < n; half *= 2) {
    const step = Math.PI / half;
    for (let k = 0; k < half; ++k) {
      const c = Math.cos(step * k);
      const s = -Math.sin(step * k);
      for (let a = k; a < n; a += 2 * half) {
        const b = a + half;
        const x = re[b] * c - im[b] * s;
        const y = re[b] * s + im[b] * c;
        re[b] = re[a] - x;
        im[b] = im[a] - y;
        re[a] += x;
        im[a] += y;
      }
    }
  }
}

function reverseBits(re, im) {
  const n = re.length;
  for (let i = 1, j = 0; i < n; ++i) {
    let bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i >= j) continue;
    [re[i], re[j]] = [re[j], re[i]];
    [im[i], im[j]] = [im[j], im[i]];
  }
}
