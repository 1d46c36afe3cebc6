// Scaling down on NEON, four samples at a time; the narrowing shift saturates as wanted.
#include <arm_neon.h>

#include "dsp/scale_block.h"

void scale_down_5_block_neon(const int64_t* x, int* out, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const int32x4_t y =
        vqshrn_high_n_s64(vqshrn_n_s64(vld1q_s64(x + i), 5), vld1q_s64(x + i + 2), 5);
    vst1q_s32(out + i, vsubq_s32(y, vreinterpretq_s32_u32(vceqq_s32(y, vdupq_n_s32(-1)))));
  }
  scale_down_5_block_portable(x + i, out + i, n - i);
}
