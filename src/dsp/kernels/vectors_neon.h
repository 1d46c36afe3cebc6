// The vocabulary of kernels that are written once for all instruction sets, in NEON: a vector is
// four 32-bit words. All of it stands in an unnamed namespace.
#pragma once

#include <arm_neon.h>

#include <cstdint>
#include <cstring>

namespace {

using vector = int32x4_t;

inline vector load(const int* p) { return vld1q_s32(p); }
inline void store(int* p, vector x) { vst1q_s32(p, x); }

// All four words, or the first few: the others load as 0 and aren't stored.
struct all_words {};
struct first_words {
  size_t bytes;
};
inline vector load(const int* p, all_words) { return load(p); }
inline vector load(const int* p, first_words words) {
  int few[4] = {};
  std::memcpy(few, p, words.bytes);
  return load(few);
}
inline void store(int* p, vector x, all_words) { store(p, x); }
inline void store(int* p, vector x, first_words words) {
  int few[4];
  store(few, x);
  std::memcpy(p, few, words.bytes);
}

// Calls step(i, words) for four of n words after the other, and for the few that are left.
template <typename Step>
inline void in_vectors(int n, Step step) {
  int i = 0;
  for (; i + 4 <= n; i += 4) step(i, all_words{});
  if (i < n) step(i, first_words{static_cast<size_t>(n - i) * sizeof(int)});
}

inline vector splat(int x) { return vdupq_n_s32(x); }

inline vector silence_minus_one(vector x) {
  return vsubq_s32(x, vreinterpretq_s32_u32(vceqq_s32(x, splat(-1))));
}
inline vector saturate_add(vector a, vector b) { return vqaddq_s32(a, b); }
inline vector saturate_sub(vector a, vector b) { return vqsubq_s32(a, b); }

inline vector wrap_add(vector a, vector b) { return vaddq_s32(a, b); }
inline vector wrap_sub(vector a, vector b) { return vsubq_s32(a, b); }
inline vector both_bits(vector a, vector b) { return vandq_s32(a, b); }

// a x b / 2^bits, rounded down, saturated.
template <int bits>
inline vector saturated_product(vector a, vector b) {
  return vqshrn_high_n_s64(vqshrn_n_s64(vmull_s32(vget_low_s32(a), vget_low_s32(b)), bits),
                           vmull_high_s32(a, b), bits);
}

// Words as factors and products that fit: here no matter, a narrowing that saturates costs no more.
using factors = vector;
inline factors factors_of(vector x) { return x; }
inline vector words_of(factors x) { return x; }
inline factors sum(factors a, factors b) { return vaddq_s32(a, b); }
template <int bits>
inline factors product(factors a, factors b) {
  return saturated_product<bits>(a, b);
}

// Sums of products in 64 bits, which wrap.
struct product_sums {
  int64x2_t low = vdupq_n_s64(0), high = low;

  void add(vector a, vector b) {
    low = vmlal_s32(low, vget_low_s32(a), vget_low_s32(b));
    high = vmlal_high_s32(high, a, b);
  }
  // / 2^bits, rounded down: saturated, or the low 32 bits.
  template <int bits>
  vector saturated() const {
    return vqshrn_high_n_s64(vqshrn_n_s64(low, bits), high, bits);
  }
  template <int bits>
  vector wrapped() const {
    return vshrn_high_n_s64(vshrn_n_s64(low, bits), high, bits);
  }
};

template <int bits>
inline vector shift_right(vector x) {
  return vshrq_n_s32(x, bits);
}
inline vector larger(vector a, vector b) { return vmaxq_s32(a, b); }
inline vector larger_unsigned(vector a, vector b) {
  return vreinterpretq_s32_u32(vmaxq_u32(vreinterpretq_u32_s32(a), vreinterpretq_u32_s32(b)));
}
inline vector magnitude(vector x) { return vabsq_s32(x); }  // of -2^31: itself
inline vector negative(vector x) { return vnegq_s32(x); }

// a where x > y, else b.
inline vector where_greater(vector x, vector y, vector a, vector b) {
  return vbslq_s32(vcgtq_s32(x, y), a, b);
}

// The words' largest, taken as unsigned.
inline uint32_t largest_unsigned(vector x) { return vmaxvq_u32(vreinterpretq_u32_s32(x)); }

// Sums of 64 bits, which wrap.
struct wide_sum {
  int64x2_t lanes = vdupq_n_s64(0);

  void add_unsigned(vector x) {
    lanes =
        vreinterpretq_s64_u64(vpadalq_u32(vreinterpretq_u64_s64(lanes), vreinterpretq_u32_s32(x)));
  }
  void add_squares(vector x) {
    lanes = vmlal_high_s32(vmlal_s32(lanes, vget_low_s32(x), vget_low_s32(x)), x, x);
  }
  int64_t total() const { return vaddvq_s64(lanes); }
};

}  // namespace
