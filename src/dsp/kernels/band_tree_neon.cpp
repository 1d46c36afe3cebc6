// The tree of band splits with NEON.
#include "dsp/kernels/band_tree.h"

#include "dsp/kernels/iir_rows_neon.h"

namespace {

void step_tree(tree_lanes* lanes, int n) {
  row_registers row[kTreeRows];
  for (int k = 0; k < kTreeRows; ++k) row[k].load_coefficients(lanes->sections.coef[k]);

  // The last row first: each takes what the one above made last.
  const auto step = [&](int t) {
#pragma GCC unroll 8
    for (int k = kTreeRows - 1; k > 0; --k) {
      const int32x4_t x = vandq_s32(row[k - 1].y, vdupq_n_s32(~31));
      row[k].step<rule::saturating>(k % 2 == 1 ? vcombine_s32(vget_low_s32(x), vget_low_s32(x))
                                               : x);
    }
    row[0].step<rule::saturating>(vld1q_s32(lanes->signal[kTreeSplits - 1][t]));
#pragma GCC unroll 8
    for (int k = 0; k < kTreeSplits; ++k) vst1q_s32(lanes->signal[k][t], row[2 * k + 2].y);
  };
  const auto begin = [&](int t) {
#pragma GCC unroll 8
    for (int k = 0; k < kTreeRows; ++k) row[k].begin(lanes->sections, k, t);
  };
  const auto keep = [&](int i) {
#pragma GCC unroll 8
    for (int k = 0; k < kTreeRows; ++k) vst1q_s32(lanes->last[i][k], row[k].y);
  };
  run_steps(n, kTreeRows - 1, begin, step, keep);
}

}  // namespace

void neon::band_tree_32(const band_tree* two, int n) {
  band_tree_32_in_lanes(two, n,
                        {interleave<rule::saturating>, deinterleave<rule::saturating>, step_tree});
}
