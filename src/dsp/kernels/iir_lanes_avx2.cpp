// The sections of iir_lanes.h with AVX2.
#include "dsp/kernels/iir_rows_avx2.h"

namespace {

template <int groups, int rows, rule results>
void step_lanes(iir_lanes* lanes, int_row* const* signals, int n) {
  constexpr int all = groups * rows;
  row_registers row[all];
#pragma GCC unroll 8
  for (int k = 0; k < all; ++k) row[k].load_coefficients(lanes->sections.coef[k]);
  const __m256i handed_on = _mm256_set1_epi64x(results == rule::saturating ? ~31 : ~0);
  const __m256i to_next_column = _mm256_andnot_si256(widen(lanes->head), handed_on);
  __m256i crossing = _mm256_setzero_si256();

  const auto step = [&](int t) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k)
      row[k].x =
          k % rows == 0 ? widen(signals[k / rows][t]) : _mm256_and_si256(row[k - 1].y, handed_on);
    // A column's top takes an input or the column before it; the other one is 0.
    if (groups == 1) {
      row[0].x = _mm256_or_si256(row[0].x, _mm256_and_si256(crossing, to_next_column));
      crossing = _mm256_permute4x64_epi64(row[rows - 1].y, 0x90);
    }
    find_results<all, results>(row);
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) row[k].carry();
#pragma GCC unroll 8
    for (int g = 0; g < groups; ++g) narrow(row[(g + 1) * rows - 1].y, signals[g][t]);
  };

  const auto begin = [&](int t) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) row[k].begin(lanes->sections, k, t);
  };
  const auto keep = [&](int i) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) narrow(row[k].y, lanes->last[i][k]);
  };
  run_steps(n, lanes->longest_lag, begin, step, keep);
}

}  // namespace

namespace variant = avx2;
#include "dsp/kernels/iir_lanes_vectors.h"
