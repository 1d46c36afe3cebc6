// The vector vocabulary of vectors_avx2.h in NEON: a vector is four 32-bit lanes. All of it stands in
// an unnamed namespace.
#pragma once

#include <arm_neon.h>

#include <cstdint>
#include <cstring>

#include "dsp/kernels/kernels.h"

namespace variant = neon;

namespace {

using vector = int32x4_t;
constexpr int kLanes = 4;

inline vector load(const int* p) { return vld1q_s32(p); }
inline void store(int* p, vector x) { vst1q_s32(p, x); }

// All lanes, or the first few: the others load as 0 and aren't stored.
struct all_lanes {};
struct first_lanes {
  size_t bytes;
};
inline vector load(const int* p, all_lanes) { return load(p); }
inline vector load(const int* p, first_lanes lanes) {
  int few[4] = {};
  std::memcpy(few, p, lanes.bytes);
  return load(few);
}
inline void store(int* p, vector x, all_lanes) { store(p, x); }
inline void store(int* p, vector x, first_lanes lanes) {
  int few[4];
  store(few, x);
  std::memcpy(p, few, lanes.bytes);
}

// Calls step(i, lanes) for every whole vector of n words, and for the first lanes of the rest.
template <typename Step>
inline void for_each_vector(int n, Step step) {
  int i = 0;
  for (; i + 4 <= n; i += 4) step(i, all_lanes{});
  if (i < n) step(i, first_lanes{static_cast<size_t>(n - i) * sizeof(int)});
}

inline vector splat(int x) { return vdupq_n_s32(x); }
inline vector lane_numbers() { return vector{0, 1, 2, 3}; }

inline vector silence_minus_one(vector x) {
  return vsubq_s32(x, vreinterpretq_s32_u32(vceqq_s32(x, splat(-1))));
}
inline vector saturate_add(vector a, vector b) { return vqaddq_s32(a, b); }
inline vector saturate_sub(vector a, vector b) { return vqsubq_s32(a, b); }

inline vector wrap_add(vector a, vector b) { return vaddq_s32(a, b); }
inline vector wrap_sub(vector a, vector b) { return vsubq_s32(a, b); }
inline vector wrap_mul(vector a, vector b) { return vmulq_s32(a, b); }
inline vector bit_and(vector a, vector b) { return vandq_s32(a, b); }

// a x b / 2^bits, rounded down, saturated.
template <int bits>
inline vector saturated_product(vector a, vector b) {
  return vqshrn_high_n_s64(vqshrn_n_s64(vmull_s32(vget_low_s32(a), vget_low_s32(b)), bits),
                           vmull_high_s32(a, b), bits);
}

// The same where that fits: a narrowing that saturates costs no more than one that doesn't.
template <int bits>
inline vector fitting_product(vector a, vector b) {
  return saturated_product<bits>(a, b);
}

// A vector as 32-bit factors and products that fit.
using factors = vector;
inline factors widen(vector x) { return x; }
inline vector narrow(factors x) { return x; }
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
inline vector min(vector a, vector b) { return vminq_s32(a, b); }
inline vector max(vector a, vector b) { return vmaxq_s32(a, b); }
inline vector max_unsigned(vector a, vector b) {
  return vreinterpretq_s32_u32(vmaxq_u32(vreinterpretq_u32_s32(a), vreinterpretq_u32_s32(b)));
}
inline vector magnitude(vector x) { return vabsq_s32(x); }  // of -2^31: itself
inline vector negative(vector x) { return vnegq_s32(x); }

// a where x > y, else b.
inline vector where_greater(vector x, vector y, vector a, vector b) {
  return vbslq_s32(vcgtq_s32(x, y), a, b);
}

inline int last_lane(vector x) { return vgetq_lane_s32(x, 3); }

// The largest lane, taken as unsigned.
inline uint32_t largest_lane_unsigned(vector x) { return vmaxvq_u32(vreinterpretq_u32_s32(x)); }

// Sums of 64 bits, which wrap.
struct wide_sum {
  int64x2_t lanes = vdupq_n_s64(0);

  void add_unsigned(vector x) {
    lanes =
        vreinterpretq_s64_u64(vpadalq_u32(vreinterpretq_u64_s64(lanes), vreinterpretq_u32_s32(x)));
  }
  int64_t total() const { return vaddvq_s64(lanes); }
};

// Four 64-bit sums, which wrap, of products with one factor.
struct four_sums {
  int64x2_t low = vdupq_n_s64(0), high = low;

  void add(const int* four, int factor) {
    const int32x4_t x = vld1q_s32(four), w = vdupq_n_s32(factor);
    low = vmlal_s32(low, vget_low_s32(x), vget_low_s32(w));
    high = vmlal_high_s32(high, x, w);
  }
  void store_to(int64_t* four) const {
    vst1q_s64(four, low);
    vst1q_s64(four + 2, high);
  }
};

}  // namespace
