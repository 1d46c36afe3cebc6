// Weighted sums on NEON, four samples at a time: 64-bit sums, put together when they are shifted
// back to 32 bits; the narrowing shift saturates or wraps as wanted.
#include <arm_neon.h>

#include "dsp/fixed.h"
#include "dsp/mix_block.h"

namespace {

struct sums {
  int64x2_t low = vdupq_n_s64(0), high = low;

  void add(int32x4_t x, int gain) {
    low = vmlal_n_s32(low, vget_low_s32(x), gain);
    high = vmlal_high_n_s32(high, x, gain);
  }
};

}  // namespace

void mix_three_block_neon(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    sums sum;
    sum.add(vld1q_s32(a.samples + i), a.gain);
    sum.add(vld1q_s32(b.samples + i), b.gain);
    sum.add(vld1q_s32(c.samples + i), c.gain);
    vst1q_s32(out + i, vqshrn_high_n_s64(vqshrn_n_s64(sum.low, 13), sum.high, 13));
  }
  const mix_input rest[] = {
      {a.samples + i, a.gain}, {b.samples + i, b.gain}, {c.samples + i, c.gain}};
  mix_three_block_portable(rest, out + i, n - i);
}

void mix_wrapping_block_neon(const mix_input* inputs, int count, int* out, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    sums sum;
    for (const mix_input* in = inputs; in < inputs + count; ++in)
      sum.add(vld1q_s32(in->samples + i), in->gain);
    const int32x4_t y = vshrn_high_n_s64(vshrn_n_s64(sum.low, 13), sum.high, 13);
    vst1q_s32(out + i, vsubq_s32(y, vreinterpretq_s32_u32(vceqq_s32(y, vdupq_n_s32(-1)))));
  }
  for (; i < n; ++i) {
    int64_t sum = 0;
    for (int k = 0; k < count; ++k) sum = mac(sum, inputs[k].samples[i], inputs[k].gain);
    out[i] = scale_down_wrapping<13>(sum);
  }
}
