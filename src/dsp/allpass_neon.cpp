// The all-pass on NEON, four samples at a time. Half a sample is a shift, which can't saturate; the
// sums can.
#include <arm_neon.h>

#include "dsp/allpass_block.h"

namespace {

inline int32x4_t half(int32x4_t x) {
  const int32x4_t y = vshrq_n_s32(x, 1);
  return vsubq_s32(y, vreinterpretq_s32_u32(vceqq_s32(y, vdupq_n_s32(-1))));
}

void run(int* cells, int* samples, int count) {
  int i = 0;
  for (; i + 4 <= count; i += 4) {
    const int32x4_t x = vld1q_s32(samples + i);
    const int32x4_t y = vqaddq_s32(vld1q_s32(cells + i), half(x));
    vst1q_s32(cells + i, vqsubq_s32(x, half(y)));
    vst1q_s32(samples + i, y);
  }
  for (; i < count; ++i) samples[i] = allpass_step(samples[i], cells[i], 4096);
}

}  // namespace

void allpass_block_neon(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
