// Sums over time on NEON: four 64-bit sums side by side.
#include <arm_neon.h>

#include "dsp/kernels/fir.h"

void fir_sums_block_neon(const int* x, const int* coefficients, int taps, int64_t* sums, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    int64x2_t low = vdupq_n_s64(0), high = low;
    for (int k = 0; k < taps; ++k) {
      const int32x4_t four = vld1q_s32(x + i - k);
      const int32x4_t coefficient = vdupq_n_s32(coefficients[k]);
      low = vmlal_s32(low, vget_low_s32(four), vget_low_s32(coefficient));
      high = vmlal_high_s32(high, four, coefficient);
    }
    vst1q_s64(sums + i, low);
    vst1q_s64(sums + i + 2, high);
  }
  fir_sums_block_portable(x + i, coefficients, taps, sums + i, n - i);
}
