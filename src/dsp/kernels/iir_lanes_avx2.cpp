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
    for (int k = 0; k < all; ++k) row[k].begin(*lanes, k, t);
  };
  const auto keep = [&](int i) {
#pragma GCC unroll 8
    for (int k = 0; k < all; ++k) narrow(row[k].y, lanes->last[i][k]);
  };
  run_steps(n, lanes->longest_lag, begin, step, keep);
}

// The inputs column by column into rows, n >= 8 of them; the last eight may overlap those before.
template <rule results>
void interleave(const int* const (&column)[kColumns], int_row* rows, int n) {
  const auto load_inputs = [](const int* in) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
    return results == rule::saturating ? scaled_input(x) : x;
  };
  const auto store = [&](__m256i pair, int low, int high) {
    _mm_store_si128(reinterpret_cast<__m128i*>(rows[low]), _mm256_castsi256_si128(pair));
    _mm_store_si128(reinterpret_cast<__m128i*>(rows[high]), _mm256_extracti128_si256(pair, 1));
  };
  for (int next = 0; next < n; next += 8) {
    const int i = next + 8 <= n ? next : n - 8;
    const __m256i a = load_inputs(column[0] + i), b = load_inputs(column[1] + i);
    const __m256i c = load_inputs(column[2] + i), d = load_inputs(column[3] + i);
    const __m256i ab_low = _mm256_unpacklo_epi32(a, b), ab_high = _mm256_unpackhi_epi32(a, b);
    const __m256i cd_low = _mm256_unpacklo_epi32(c, d), cd_high = _mm256_unpackhi_epi32(c, d);
    store(_mm256_unpacklo_epi64(ab_low, cd_low), i, i + 4);
    store(_mm256_unpackhi_epi64(ab_low, cd_low), i + 1, i + 5);
    store(_mm256_unpacklo_epi64(ab_high, cd_high), i + 2, i + 6);
    store(_mm256_unpackhi_epi64(ab_high, cd_high), i + 3, i + 7);
  }
}

template <rule results>
void deinterleave(const int_row* rows, int* const (&column)[kColumns], int n) {
  const auto load_pair = [&](int low, int high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(rows[low]))),
        _mm_load_si128(reinterpret_cast<const __m128i*>(rows[high])), 1);
  };
  for (int next = 0; next < n; next += 8) {
    const int i = next + 8 <= n ? next : n - 8;
    const auto store = [&](int c, __m256i y) {
      if (results == rule::saturating) y = _mm256_srai_epi32(y, 5);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(column[c] + i), y);
    };
    const __m256i a = load_pair(i, i + 4), b = load_pair(i + 1, i + 5);
    const __m256i c = load_pair(i + 2, i + 6), d = load_pair(i + 3, i + 7);
    const __m256i ab_low = _mm256_unpacklo_epi32(a, b), ab_high = _mm256_unpackhi_epi32(a, b);
    const __m256i cd_low = _mm256_unpacklo_epi32(c, d), cd_high = _mm256_unpackhi_epi32(c, d);
    store(0, _mm256_unpacklo_epi64(ab_low, cd_low));
    store(1, _mm256_unpackhi_epi64(ab_low, cd_low));
    store(2, _mm256_unpacklo_epi64(ab_high, cd_high));
    store(3, _mm256_unpackhi_epi64(ab_high, cd_high));
  }
}

}  // namespace

namespace variant = avx2;
#include "dsp/kernels/iir_lanes_vectors.h"
