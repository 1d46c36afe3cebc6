// The sections of iir_lanes.h with NEON.
#include "dsp/kernels/iir_rows_neon.h"

namespace {

template <int groups, int rows, rule results>
void step_lanes(iir_lanes* lanes, int_row* const* signals, int n) {
  constexpr int all = groups * rows;
  row_registers row[all];
#pragma GCC unroll 8
  for (int k = 0; k < all; ++k) row[k].load_coefficients(lanes->sections.coef[k]);
  const int32x4_t handed_on = vdupq_n_s32(results == rule::saturating ? ~31 : ~0);
  const int32x4_t to_next_column = vbicq_s32(handed_on, vld1q_s32(lanes->head));
  int32x4_t crossing = vdupq_n_s32(0);

  // A group's last row first: each takes what the one above made last.
  const auto step = [&](int t) {
#pragma GCC unroll 8
    for (int g = 0; g < groups; ++g) {
      row_registers* const group = row + g * rows;
      int32x4_t top = vld1q_s32(signals[g][t]);
      // A column's top takes an input or the column before it; the other one is 0.
      if (groups == 1) {
        top = vorrq_s32(top, vandq_s32(crossing, to_next_column));
        crossing = vextq_s32(group[rows - 1].y, group[rows - 1].y, 3);
      }
#pragma GCC unroll 8
      for (int k = rows - 1; k > 0; --k)
        group[k].step<results>(vandq_s32(group[k - 1].y, handed_on));
      group[0].step<results>(top);
      vst1q_s32(signals[g][t], group[rows - 1].y);
    }
  };

  const auto begin = [&](int t) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) row[k].begin(lanes->sections, k, t);
  };
  const auto keep = [&](int i) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) vst1q_s32(lanes->last[i][k], row[k].y);
  };
  run_steps(n, lanes->longest_lag, begin, step, keep);
}

}  // namespace

namespace variant = neon;
#include "dsp/kernels/iir_lanes_vectors.h"
