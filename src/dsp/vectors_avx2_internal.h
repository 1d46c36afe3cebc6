// The vocabulary of kernels that are written once for all instruction sets, in AVX2: a vector is
// eight 32-bit words. Beside it: load, store, in_vectors, saturate_add, saturate_sub,
// silence_minus_one. All of it stands in an unnamed namespace.
#pragma once

#include <cstdint>

#include "dsp/avx2_internal.h"

namespace {

using vector = __m256i;

template <typename Step>
inline void in_vectors(int n, Step step) {
  in_eights(n, step);
}

inline vector splat(int x) { return _mm256_set1_epi32(x); }

inline vector wrap_add(vector a, vector b) { return _mm256_add_epi32(a, b); }
inline vector wrap_sub(vector a, vector b) { return _mm256_sub_epi32(a, b); }
inline vector both_bits(vector a, vector b) { return _mm256_and_si256(a, b); }

// a x b / 2^bits, rounded down, saturated.
template <int bits>
inline vector saturated_product(vector a, vector b) {
  return saturated_shift<bits>(_mm256_mul_epi32(a, b), _mm256_mul_epi32(odd(a), odd(b)));
}

// Eight words as factors and products of 32 bits: in the low halves of 64-bit lanes, the even ones
// and the odd ones apart. What stands in the high halves doesn't count.
struct factors {
  __m256i even, odds;
};
inline factors factors_of(vector x) { return {x, odd(x)}; }
inline vector words_of(factors x) { return even_odd(x.even, _mm256_slli_epi64(x.odds, 32)); }
inline factors sum(factors a, factors b) {
  return {_mm256_add_epi32(a.even, b.even), _mm256_add_epi32(a.odds, b.odds)};
}
// a x b / 2^bits, rounded down, where that fits.
template <int bits>
inline factors product(factors a, factors b) {
  return {_mm256_srli_epi64(_mm256_mul_epi32(a.even, b.even), bits),
          _mm256_srli_epi64(_mm256_mul_epi32(a.odds, b.odds), bits)};
}

inline vector larger(vector a, vector b) { return _mm256_max_epi32(a, b); }
inline vector larger_unsigned(vector a, vector b) { return _mm256_max_epu32(a, b); }
inline vector magnitude(vector x) { return _mm256_abs_epi32(x); }  // of -2^31: itself
inline vector negative(vector x) { return _mm256_sub_epi32(_mm256_setzero_si256(), x); }

// a where x > y, else b.
inline vector where_greater(vector x, vector y, vector a, vector b) {
  return _mm256_blendv_epi8(b, a, _mm256_cmpgt_epi32(x, y));
}

// The words' largest, taken as unsigned.
inline uint32_t largest_unsigned(vector x) {
  alignas(32) uint32_t words[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(words), x);
  uint32_t largest = 0;
  for (uint32_t word : words) largest = word > largest ? word : largest;
  return largest;
}

// Sums of 64 bits, which wrap.
struct wide_sum {
  __m256i lanes = _mm256_setzero_si256();

  void add_unsigned(vector x) {
    const __m256i evens = _mm256_blend_epi32(x, _mm256_setzero_si256(), 0xAA);
    lanes = _mm256_add_epi64(lanes, _mm256_add_epi64(evens, odd(x)));
  }
  void add_squares(vector x) {
    const __m256i odds = odd(x);
    lanes = _mm256_add_epi64(
        lanes, _mm256_add_epi64(_mm256_mul_epi32(x, x), _mm256_mul_epi32(odds, odds)));
  }
  int64_t total() const {
    const __m128i pair =
        _mm_add_epi64(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
    return _mm_cvtsi128_si64(_mm_add_epi64(pair, _mm_unpackhi_epi64(pair, pair)));
  }
};

}  // namespace
