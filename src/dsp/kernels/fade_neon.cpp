// A fade on NEON, four samples at a time. The depth runs straight to its limit and stays there: a
// vector of four depths moves by four steps.
#include <arm_neon.h>

#include "dsp/kernels/fade.h"

void fade_block_neon(fade* f, const int* other, int* x, int n) {
  const int step = f->step;
  const int whole = n - n % 4;
  if (whole >= 4) {
    const int32x4_t full = vdupq_n_s32(kFadeFull);
    const auto limited = [=](int32x4_t d) { return vminq_s32(vmaxq_s32(d, vdupq_n_s32(0)), full); };
    const int32x4_t ahead = {step, 2 * step, 3 * step, 4 * step};
    int32x4_t depths = limited(vaddq_s32(vdupq_n_s32(f->depth), ahead));
    for (int i = 0;;) {
      const int32x4_t a = vld1q_s32(x + i), b = vld1q_s32(other + i);
      const int32x4_t rest = vsubq_s32(full, depths);
      const int64x2_t low = vmlal_s32(vmull_s32(vget_low_s32(a), vget_low_s32(rest)),
                                      vget_low_s32(b), vget_low_s32(depths));
      const int64x2_t high = vmlal_high_s32(vmull_high_s32(a, rest), b, depths);
      vst1q_s32(x + i, vshrn_high_n_s64(vshrn_n_s64(low, 20), high, 20));
      i += 4;
      if (i == whole) break;
      depths = limited(vaddq_s32(depths, vdupq_n_s32(4 * step)));
    }
    f->depth = vgetq_lane_s32(depths, 3);
  }
  if (whole < n) fade_block_portable(f, other + whole, x + whole, n - whole);
}
