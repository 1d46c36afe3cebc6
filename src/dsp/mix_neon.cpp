// Three weighted signals on NEON, four samples at a time; the narrowing shift saturates as wanted.
#include <arm_neon.h>

#include "dsp/mix_block.h"

void mix_three_block_neon(const mix_input* three, int* out, int n) {
  const int whole = n - n % 4;  // n < 1: none
  const int32x4_t gain[] = {vdupq_n_s32(three[0].gain), vdupq_n_s32(three[1].gain),
                            vdupq_n_s32(three[2].gain)};
  for (int i = 0; i < whole; i += 4) {
    const int32x4_t x = vld1q_s32(three[0].samples + i);
    int64x2_t low = vmull_s32(vget_low_s32(x), vget_low_s32(gain[0]));
    int64x2_t high = vmull_high_s32(x, gain[0]);
    for (int k = 1; k < 3; ++k) {
      const int32x4_t y = vld1q_s32(three[k].samples + i);
      low = vmlal_s32(low, vget_low_s32(y), vget_low_s32(gain[k]));
      high = vmlal_high_s32(high, y, gain[k]);
    }
    vst1q_s32(out + i, vqshrn_high_n_s64(vqshrn_n_s64(low, 13), high, 13));
  }
  if (whole >= n) return;
  const mix_input rest[] = {{three[0].samples + whole, three[0].gain},
                            {three[1].samples + whole, three[1].gain},
                            {three[2].samples + whole, three[2].gain}};
  mix_three_block_portable(rest, out + whole, n - whole);
}
