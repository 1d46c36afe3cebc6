// Rows of sections with AVX2: a row is one vector of four 64-bit sums; samples and coefficients lie
// in the low halves, where the 32-bit multiplication takes its factors; the high halves hold garbage.
// Only for files named *_avx2.cpp.
#pragma once

#include <immintrin.h>

#include "dsp/kernels/iir_lanes.h"
#include "dsp/kernels/vectors_avx2.h"

namespace {

inline __m256i load_sums(const int64_row& row) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(row));
}

inline void store_sums(__m256i sums, int64_row& row) {
  _mm256_store_si256(reinterpret_cast<__m256i*>(row), sums);
}

inline __m256i widen(const int_row& row) {
  return _mm256_cvtepi32_epi64(_mm_load_si128(reinterpret_cast<const __m128i*>(row)));
}

inline void narrow(__m256i lanes, int_row& row) {
  const __m256i low_halves = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
  _mm_store_si128(reinterpret_cast<__m128i*>(row),
                  _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(lanes, low_halves)));
}

inline __m256i mac(__m256i sum, __m256i a, __m256i b) {
  return _mm256_add_epi64(sum, _mm256_mul_epi32(a, b));
}

// The high halves into the low ones.
inline __m256i high_halves(__m256i a) { return _mm256_shuffle_epi32(a, 0xF5); }

// Saturates eight results, and -1 becomes 0. high has bits 32 up of a sum, shifted its bits 28 up:
// the result, if the four bits that it lacks are copies of its sign, which is to say that shifting
// it right again gives high.
inline __m256i saturate(__m256i high, __m256i shifted) {
  const __m256i fits = _mm256_cmpeq_epi32(_mm256_srai_epi32(shifted, 4), high);
  const __m256i limit = _mm256_xor_si256(_mm256_srai_epi32(high, 31), _mm256_set1_epi32(INT32_MAX));
  const __m256i minus_one = _mm256_cmpeq_epi32(shifted, _mm256_set1_epi32(-1));
  return _mm256_or_si256(_mm256_and_si256(fits, _mm256_andnot_si256(minus_one, shifted)),
                         _mm256_andnot_si256(fits, limit));
}

// A sample five bits up, saturated; eight of them.
inline __m256i scaled_input(__m256i x) {
  const __m256i beyond = _mm256_set1_epi32(1 << 26);
  const __m256i clamped =
      _mm256_min_epi32(_mm256_max_epi32(x, _mm256_set1_epi32(-(1 << 26))), beyond);
  // 2^26 wraps to the lowest value, one above the highest.
  return _mm256_add_epi32(_mm256_slli_epi32(clamped, 5), _mm256_cmpeq_epi32(clamped, beyond));
}

// A row of sections in registers.
struct row_registers {
  __m256i b0, b1, b2, a1, a2;
  __m256i first, second;  // the carried sums
  __m256i x, y;           // of the present step

  // With a cleared state.
  void load_coefficients(const int_row (&coef)[5]) {
    b0 = widen(coef[0]);
    b1 = widen(coef[1]);
    b2 = widen(coef[2]);
    a1 = widen(coef[3]);
    a2 = widen(coef[4]);
    first = second = y = _mm256_setzero_si256();
  }

  template <int rows>
  void load_from(const section_rows<rows>& sections, int row) {
    load_coefficients(sections.coef[row]);
    first = load_sums(sections.first[row]);
    second = load_sums(sections.second[row]);
  }

  // Loads the state of the sections whose first sample comes at step t.
  template <int rows>
  void begin(const section_rows<rows>& sections, int row, int t) {
    const __m256i now = _mm256_cmpeq_epi64(widen(sections.lag[row]), _mm256_set1_epi64x(t));
    first = _mm256_blendv_epi8(first, load_sums(sections.first[row]), now);
    second = _mm256_blendv_epi8(second, load_sums(sections.second[row]), now);
  }

  __m256i sum() const { return mac(first, b0, x); }

  void carry() {
    first = mac(mac(second, b1, x), a1, y);
    second = mac(_mm256_mul_epi32(b2, x), a2, y);
  }
};

// The results of all rows. AVX2 has no arithmetic shift of 64-bit lanes, and saturating takes twice
// as many steps as the multiplications: two rows do it together, one in the low halves and one in
// the high ones.
template <int rows, rule results>
inline void find_results(row_registers (&row)[rows]) {
  if (results == rule::wrapping) {
#pragma GCC unroll 8
    for (int k = 0; k < rows; ++k) row[k].y = _mm256_srli_epi64(row[k].sum(), 28);
    return;
  }
#pragma GCC unroll 8
  for (int k = 0; k + 1 < rows; k += 2) {
    const __m256i even = row[k].sum(), odd = row[k + 1].sum();
    row[k].y = saturate(even_odd(high_halves(even), odd),
                        even_odd(_mm256_srli_epi64(even, 28), _mm256_slli_epi64(odd, 4)));
    row[k + 1].y = high_halves(row[k].y);
  }
  if (rows % 2 == 1) {
    row_registers& last = row[rows - 1];
    const __m256i sum = last.sum();
    last.y = saturate(high_halves(sum), _mm256_srli_epi64(sum, 28));
  }
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
