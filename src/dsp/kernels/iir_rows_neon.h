// Rows of sections with NEON: a row is one vector of four 32-bit samples; its sums are two vectors
// of two. Only for files named *_neon.cpp.
#pragma once

#include <arm_neon.h>

#include "dsp/kernels/iir_lanes.h"

namespace {

struct sums {
  int64x2_t low, high;  // columns 0 and 1, columns 2 and 3
};

inline sums load_sums(const int64_row& row) { return {vld1q_s64(row), vld1q_s64(row + 2)}; }

inline void store_sums(sums sum, int64_row& row) {
  vst1q_s64(row, sum.low);
  vst1q_s64(row + 2, sum.high);
}

inline sums product(int32x4_t a, int32x4_t b) {
  return {vmull_s32(vget_low_s32(a), vget_low_s32(b)), vmull_high_s32(a, b)};
}

inline sums mac(sums sum, int32x4_t a, int32x4_t b) {
  return {vmlal_s32(sum.low, vget_low_s32(a), vget_low_s32(b)), vmlal_high_s32(sum.high, a, b)};
}

// sum >> 28: saturated, -1 becomes 0; or wrapping.
template <rule results>
inline int32x4_t result(sums sum) {
  if (results == rule::wrapping) return vshrn_high_n_s64(vshrn_n_s64(sum.low, 28), sum.high, 28);
  const int32x4_t y = vqshrn_high_n_s64(vqshrn_n_s64(sum.low, 28), sum.high, 28);
  return vbicq_s32(y, vreinterpretq_s32_u32(vceqq_s32(y, vdupq_n_s32(-1))));
}

// changed where the mask is set, otherwise as it was.
inline sums change(uint32x4_t mask, sums changed, sums was) {
  const int32x4_t m = vreinterpretq_s32_u32(mask);
  const auto low = vreinterpretq_u64_s64(vmovl_s32(vget_low_s32(m)));
  const auto high = vreinterpretq_u64_s64(vmovl_high_s32(m));
  return {vbslq_s64(low, changed.low, was.low), vbslq_s64(high, changed.high, was.high)};
}

// A row of sections. There are more coefficients than registers: they are loaded where they are
// used, both halves at once.
struct row_registers {
  const int_row* coef;
  sums first, second;  // the carried sums
  int32x4_t y;         // last results

  // With a cleared state.
  void load_coefficients(const int_row (&five)[5]) {
    coef = five;
    first = second = {vdupq_n_s64(0), vdupq_n_s64(0)};
    y = vdupq_n_s32(0);
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
    const uint32x4_t now = vceqq_s32(vld1q_s32(sections.lag[row]), vdupq_n_s32(t));
    first = change(now, load_sums(sections.first[row]), first);
    second = change(now, load_sums(sections.second[row]), second);
  }

  template <rule results>
  void step(int32x4_t x) {
    y = result<results>(mac(first, vld1q_s32(coef[0]), x));
    first = mac(mac(second, vld1q_s32(coef[1]), x), vld1q_s32(coef[3]), y);
    second = mac(product(vld1q_s32(coef[2]), x), vld1q_s32(coef[4]), y);
  }
};

// The inputs column by column into rows, n >= 4 of them; the last four may overlap those before.
template <rule results>
void interleave(const int* const (&column)[kColumns], int_row* rows, int n) {
  const auto load_inputs = [](const int* in) {
    const int32x4_t x = vld1q_s32(in);
    return results == rule::saturating ? vqshlq_n_s32(x, 5) : x;
  };
  for (int next = 0; next < n; next += 4) {
    const int i = next + 4 <= n ? next : n - 4;
    const int32x4x4_t x = {{load_inputs(column[0] + i), load_inputs(column[1] + i),
                            load_inputs(column[2] + i), load_inputs(column[3] + i)}};
    vst4q_s32(rows[i], x);
  }
}

template <rule results>
void deinterleave(const int_row* rows, int* const (&column)[kColumns], int n) {
  for (int next = 0; next < n; next += 4) {
    const int i = next + 4 <= n ? next : n - 4;
    const int32x4x4_t y = vld4q_s32(rows[i]);
    for (int c = 0; c < kColumns; ++c)
      vst1q_s32(column[c] + i, results == rule::saturating ? vshrq_n_s32(y.val[c], 5) : y.val[c]);
  }
}

}  // namespace
