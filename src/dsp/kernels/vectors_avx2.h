// The vector vocabulary of the kernels, in AVX2: a vector is eight 32-bit lanes, with the edges of
// fixed.h. vectors_neon.h has the same words for the kernels that are written once for both
// (*_vectors.h). Only for files named *_avx2.cpp. All of it stands in an unnamed namespace: a copy
// that the linker could share would run AVX2 instructions on processors without them.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "dsp/kernels/kernels.h"

namespace variant = avx2;

namespace {

using vector = __m256i;
constexpr int kLanes = 8;

inline __m256i load(const int* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store(int* p, __m256i x) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x); }

// All lanes, or the first few: the others load as 0 and aren't stored.
struct all_lanes {};
struct first_lanes {
  __m256i mask;
  explicit first_lanes(int count)
      : mask(_mm256_cmpgt_epi32(_mm256_set1_epi32(count),
                                _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7))) {}
};
inline __m256i load(const int* p, all_lanes) { return load(p); }
inline __m256i load(const int* p, first_lanes lanes) {
  return _mm256_maskload_epi32(p, lanes.mask);
}
inline void store(int* p, __m256i x, all_lanes) { store(p, x); }
inline void store(int* p, __m256i x, first_lanes lanes) {
  _mm256_maskstore_epi32(p, lanes.mask, x);
}

// Calls step(i, lanes) for every whole vector of n words, and for the first lanes of the rest.
template <typename Step>
inline void for_each_vector(int n, Step step) {
  int i = 0;
  for (; i + 8 <= n; i += 8) step(i, all_lanes{});
  if (i < n) step(i, first_lanes(n - i));
}

// The odd lanes in the even ones' place: 64-bit products take the low half of each 64-bit lane.
inline __m256i odd(__m256i x) { return _mm256_srli_epi64(x, 32); }

// The even lanes of one vector and the odd lanes of another.
inline __m256i even_odd(__m256i even, __m256i odds) { return _mm256_blend_epi32(even, odds, 0xAA); }

inline __m256i silence_minus_one(__m256i x) {
  return _mm256_sub_epi32(x, _mm256_cmpeq_epi32(x, _mm256_set1_epi32(-1)));
}

// INT32_MAX where x >= 0, INT32_MIN where x < 0.
inline __m256i limit_of(__m256i x) {
  return _mm256_xor_si256(_mm256_srai_epi32(x, 31), _mm256_set1_epi32(0x7FFFFFFF));
}

inline vector min(vector a, vector b) { return _mm256_min_epi32(a, b); }
inline vector max(vector a, vector b) { return _mm256_max_epi32(a, b); }

// The other term is kept where the sum fits: from INT32_MIN - a for a negative a, up to INT32_MAX - a
// for a positive one. A blend would take longer than the two limits.
inline __m256i saturate_add(__m256i a, __m256i b) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i highest = _mm256_sub_epi32(_mm256_set1_epi32(INT32_MAX), max(a, zero));
  const __m256i lowest = _mm256_sub_epi32(_mm256_set1_epi32(INT32_MIN), min(a, zero));
  return _mm256_add_epi32(a, min(max(b, lowest), highest));
}
inline __m256i saturate_sub(__m256i a, __m256i b) {
  const __m256i minus_one = _mm256_set1_epi32(-1);
  const __m256i lowest = _mm256_sub_epi32(max(a, minus_one), _mm256_set1_epi32(INT32_MAX));
  const __m256i highest = _mm256_sub_epi32(min(a, minus_one), _mm256_set1_epi32(INT32_MIN));
  return _mm256_sub_epi32(a, min(max(b, lowest), highest));
}

// 64-bit values of the even and of the odd lanes, / 2^bits, saturated. The shifted value fits if
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
inline vector lane_numbers() { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }

inline vector wrap_add(vector a, vector b) { return _mm256_add_epi32(a, b); }
inline vector wrap_sub(vector a, vector b) { return _mm256_sub_epi32(a, b); }
inline vector wrap_mul(vector a, vector b) { return _mm256_mullo_epi32(a, b); }
inline vector bit_and(vector a, vector b) { return _mm256_and_si256(a, b); }

// a x b / 2^bits, rounded down, saturated.
template <int bits>
inline vector saturated_product(vector a, vector b) {
  return saturated_shift<bits>(_mm256_mul_epi32(a, b), _mm256_mul_epi32(odd(a), odd(b)));
}

// The same where that fits.
template <int bits>
inline vector fitting_product(vector a, vector b) {
  return even_odd(_mm256_srli_epi64(_mm256_mul_epi32(a, b), bits),
                  _mm256_slli_epi64(_mm256_mul_epi32(odd(a), odd(b)), 32 - bits));
}

// A vector as 32-bit factors and products that fit: even and odd lanes apart, each in the low half
// of a 64-bit lane. The high halves hold garbage.
struct factors {
  __m256i even, odds;
};
inline factors widen(vector x) { return {x, odd(x)}; }
inline vector narrow(factors x) { return even_odd(x.even, _mm256_slli_epi64(x.odds, 32)); }
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
inline vector max_unsigned(vector a, vector b) { return _mm256_max_epu32(a, b); }
inline vector magnitude(vector x) { return _mm256_abs_epi32(x); }  // of -2^31: itself
inline vector negative(vector x) { return _mm256_sub_epi32(_mm256_setzero_si256(), x); }

// a where x > y, else b.
inline vector where_greater(vector x, vector y, vector a, vector b) {
  return _mm256_blendv_epi8(b, a, _mm256_cmpgt_epi32(x, y));
}

inline int last_lane(vector x) { return _mm256_extract_epi32(x, 7); }

// The largest lane, taken as unsigned.
inline uint32_t largest_lane_unsigned(vector x) {
  alignas(32) uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), x);
  uint32_t largest = 0;
  for (uint32_t word : lanes) largest = word > largest ? word : largest;
  return largest;
}

// Sums of 64 bits, which wrap.
struct wide_sum {
  __m256i lanes = _mm256_setzero_si256();

  void add_unsigned(vector x) {
    const __m256i evens = _mm256_blend_epi32(x, _mm256_setzero_si256(), 0xAA);
    lanes = _mm256_add_epi64(lanes, _mm256_add_epi64(evens, odd(x)));
  }
  int64_t total() const {
    const __m128i pair =
        _mm_add_epi64(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
    return _mm_cvtsi128_si64(_mm_add_epi64(pair, _mm_unpackhi_epi64(pair, pair)));
  }
};

// Four 64-bit sums, which wrap, of products with one factor.
struct four_sums {
  __m256i lanes = _mm256_setzero_si256();

  void add(const int* four, int factor) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(four));
    lanes = _mm256_add_epi64(lanes,
                             _mm256_mul_epi32(_mm256_cvtepi32_epi64(x), _mm256_set1_epi32(factor)));
  }
  void store_to(int64_t* four) const {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(four), lanes);
  }
};

}  // namespace
