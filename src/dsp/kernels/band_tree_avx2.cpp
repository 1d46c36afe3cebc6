// The tree of band splits with AVX2.
#include "dsp/kernels/band_tree.h"

#include "dsp/kernels/iir_rows_avx2.h"

namespace {

void step_tree(tree_lanes* lanes, int n) {
  row_registers row[kTreeRows];
  for (int k = 0; k < kTreeRows; ++k) row[k].load_coefficients(lanes->sections.coef[k]);
  const __m256i handed_on = _mm256_set1_epi64x(~31);

  const auto step = [&](int t) {
    row[0].x = widen(lanes->signal[kTreeSplits - 1][t]);
#pragma GCC unroll 8
    for (int k = 1; k < kTreeRows; ++k) {
      const __m256i x = _mm256_and_si256(row[k - 1].y, handed_on);
      row[k].x = k % 2 == 1 ? _mm256_permute4x64_epi64(x, 0x44) : x;
    }
    find_results<kTreeRows, rule::saturating>(row);
#pragma GCC unroll 8
    for (int k = 0; k < kTreeRows; ++k) row[k].carry();
#pragma GCC unroll 8
    for (int k = 0; k < kTreeSplits; ++k) narrow(row[2 * k + 2].y, lanes->signal[k][t]);
  };
  const auto begin = [&](int t) {
#pragma GCC unroll 8
    for (int k = 0; k < kTreeRows; ++k) row[k].begin(lanes->sections, k, t);
  };
  const auto keep = [&](int i) {
#pragma GCC unroll 8
    for (int k = 0; k < kTreeRows; ++k) narrow(row[k].y, lanes->last[i][k]);
  };
  run_steps(n, kTreeRows - 1, begin, step, keep);
}

}  // namespace

void avx2::band_tree_32(const band_tree* two, int n) {
  band_tree_32_in_lanes(two, n,
                        {interleave<rule::saturating>, deinterleave<rule::saturating>, step_tree});
}
