// The vocabulary of the AVX2 kernels: a vector is eight 32-bit words, with the edges of
// fixed.h. Kernels that are written once for all instruction sets have the same words in
// vectors_neon.h. Only for files named *_avx2.cpp. All of it stands in an unnamed
// namespace, so that no copy of it is left for others to link.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace {

using vector = __m256i;

inline __m256i load(const int* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store(int* p, __m256i x) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x); }

// All eight words, or the first few: the others load as 0 and aren't stored.
struct all_words {};
struct first_words {
  __m256i mask;
  explicit first_words(int count)
      : mask(_mm256_cmpgt_epi32(_mm256_set1_epi32(count),
                                _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7))) {}
};
inline __m256i load(const int* p, all_words) { return load(p); }
inline __m256i load(const int* p, first_words words) {
  return _mm256_maskload_epi32(p, words.mask);
}
inline void store(int* p, __m256i x, all_words) { store(p, x); }
inline void store(int* p, __m256i x, first_words words) {
  _mm256_maskstore_epi32(p, words.mask, x);
}

// Calls step(i, words) for eight of n words after the other, and for the few that are left.
template <typename Step>
inline void in_vectors(int n, Step step) {
  int i = 0;
  for (; i + 8 <= n; i += 8) step(i, all_words{});
  if (i < n) step(i, first_words(n - i));
}

// The odd words, where the even ones were: 64-bit products take the low half of each 64-bit lane.
inline __m256i odd(__m256i x) { return _mm256_srli_epi64(x, 32); }

// The even words of one register and the odd words of another.
inline __m256i even_odd(__m256i even, __m256i odds) { return _mm256_blend_epi32(even, odds, 0xAA); }

inline __m256i silence_minus_one(__m256i x) {
  return _mm256_sub_epi32(x, _mm256_cmpeq_epi32(x, _mm256_set1_epi32(-1)));
}

// INT32_MAX where x >= 0, INT32_MIN where x < 0.
inline __m256i limit_of(__m256i x) {
  return _mm256_xor_si256(_mm256_srai_epi32(x, 31), _mm256_set1_epi32(0x7FFFFFFF));
}

// a where choice is not negative, b where it is.
inline __m256i choose(__m256i choice, __m256i a, __m256i b) {
  return _mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b),
                                              _mm256_castsi256_ps(choice)));
}

// A sum has overflowed where both terms have one sign and the sum has the other.
inline __m256i saturate_add(__m256i a, __m256i b) {
  const __m256i sum = _mm256_add_epi32(a, b);
  const __m256i overflow = _mm256_andnot_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(a, sum));
  return choose(overflow, sum, limit_of(a));
}
inline __m256i saturate_sub(__m256i a, __m256i b) {
  const __m256i difference = _mm256_sub_epi32(a, b);
  const __m256i overflow =
      _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(a, difference));
  return choose(overflow, difference, limit_of(a));
}

// 64-bit values of the even and of the odd words, / 2^bits, saturated. The shifted value fits if
// all bits of the high word from the result's sign on are equal.
template <int bits>
inline __m256i saturated_shift(__m256i even, __m256i odds) {
  static_assert(bits >= 1 && bits <= 31);
  const __m256i low = even_odd(_mm256_srli_epi64(even, bits), _mm256_slli_epi64(odds, 32 - bits));
  const __m256i high = even_odd(odd(even), odds);
  const __m256i sign = _mm256_srai_epi32(high, 31);
  const __m256i fits = _mm256_cmpeq_epi32(_mm256_srai_epi32(high, bits - 1), sign);
  return _mm256_blendv_epi8(limit_of(high), low, fits);
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

// Sums of products in 64 bits, which wrap.
struct product_sums {
  __m256i evens = _mm256_setzero_si256(), odds = evens;

  void add(vector a, vector b) {
    evens = _mm256_add_epi64(evens, _mm256_mul_epi32(a, b));
    odds = _mm256_add_epi64(odds, _mm256_mul_epi32(odd(a), odd(b)));
  }
  // / 2^bits, rounded down: saturated, or the low 32 bits.
  template <int bits>
  vector saturated() const {
    return saturated_shift<bits>(evens, odds);
  }
  template <int bits>
  vector wrapped() const {
    return even_odd(_mm256_srli_epi64(evens, bits), _mm256_slli_epi64(odds, 32 - bits));
  }
};

template <int bits>
inline vector shift_right(vector x) {
  return _mm256_srai_epi32(x, bits);
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
