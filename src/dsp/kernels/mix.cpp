#include "dsp/kernels/mix.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

void mix_three_block(const mix_input* three, int* out, int n) {
  kernels().mix_three_block(three, out, n);
}

void mix_wrapping_block(const mix_input* inputs, int count, int* out, int n) {
  kernels().mix_wrapping_block(inputs, count, out, n);
}

void mix_three_block_portable(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  for (int i = 0; i < n; ++i) {
    const int64_t two = mac(int64_t{a.samples[i]} * a.gain, b.samples[i], b.gain);
    out[i] = saturate32(mac(two, c.samples[i], c.gain) >> 13);
  }
}

void mix_wrapping_block_portable(const mix_input* inputs, int count, int* out, int n) {
  for (int i = 0; i < n; ++i) {
    int64_t sum = 0;
    for (int k = 0; k < count; ++k) sum = mac(sum, inputs[k].samples[i], inputs[k].gain);
    out[i] = scale_down_wrapping<13>(sum);
  }
}
