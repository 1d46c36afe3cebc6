#include "dsp/fixed.h"
#include "dsp/kernels.h"
#include "dsp/mix_block.h"

void mix_three_block(const mix_input* three, int* out, int n) {
  kernels().mix_three_block(three, out, n);
}

void mix_three_block_portable(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  for (int i = 0; i < n; ++i) {
    const int64_t two = mac(int64_t{a.samples[i]} * a.gain, b.samples[i], b.gain);
    out[i] = saturate32(mac(two, c.samples[i], c.gain) >> 13);
  }
}
