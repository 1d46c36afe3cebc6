// The sections of iir_lanes_internal.h with NEON: a row is one vector of four 32-bit samples; its
// sums are two vectors of two.
#include <arm_neon.h>

#include "dsp/iir_lanes_internal.h"

namespace {

enum class rule { saturating, wrapping };

struct sums {
  int64x2_t low, high;  // columns 0 and 1, columns 2 and 3
};

inline sums load(const int64_row& row) { return {vld1q_s64(row), vld1q_s64(row + 2)}; }

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

// kept where the mask is set, otherwise changed.
inline int32x4_t keep(int32x4_t mask, int32x4_t kept, int32x4_t changed) {
  return vbslq_s32(vreinterpretq_u32_s32(mask), kept, changed);
}
inline sums keep(int32x4_t mask, sums kept, sums changed) {
  const auto low = vreinterpretq_u64_s64(vmovl_s32(vget_low_s32(mask)));
  const auto high = vreinterpretq_u64_s64(vmovl_high_s32(mask));
  return {vbslq_s64(low, kept.low, changed.low), vbslq_s64(high, kept.high, changed.high)};
}

// A row of sections in registers.
struct row_registers {
  int32x4_t b0, b1, b2, a1, a2;
  sums first, second;
  int32x4_t y1, y2;
  int32x4_t lag, end;

  void load_from(const iir_lanes& lanes, int row, int n) {
    b0 = vld1q_s32(lanes.coef[row][0]);
    b1 = vld1q_s32(lanes.coef[row][1]);
    b2 = vld1q_s32(lanes.coef[row][2]);
    a1 = vld1q_s32(lanes.coef[row][3]);
    a2 = vld1q_s32(lanes.coef[row][4]);
    first = load(lanes.first[row]);
    second = load(lanes.second[row]);
    y1 = vld1q_s32(lanes.y1[row]);
    y2 = vld1q_s32(lanes.y2[row]);
    lag = vld1q_s32(lanes.lag[row]);
    end = vaddq_s32(lag, vdupq_n_s32(n));
  }

  template <rule results>
  void step(int32x4_t x) {
    y1 = result<results>(mac(first, b0, x));
    first = mac(mac(second, b1, x), a1, y1);
    second = mac(product(b2, x), a2, y1);
  }

  // For the sections that have a sample at step t; the others stay as they are. Keeps the last but
  // one result, too.
  template <rule results>
  void step_some(int32x4_t x, int t) {
    const int32x4_t now = vdupq_n_s32(t);
    const int32x4_t idle =
        vreinterpretq_s32_u32(vorrq_u32(vcgtq_s32(lag, now), vcleq_s32(end, now)));
    const row_registers before = *this;
    step<results>(x);
    first = keep(idle, before.first, first);
    second = keep(idle, before.second, second);
    y1 = keep(idle, before.y1, y1);
    y2 = keep(idle, before.y2, before.y1);
  }
};

template <int rows, rule results>
void step_lanes(iir_lanes* lanes, const int_row* in, int_row* out, int n) {
  row_registers row[rows];
#pragma GCC unroll 8
  for (int k = 0; k < rows; ++k) row[k].load_from(*lanes, k, n);
  const int32x4_t head = vld1q_s32(lanes->head);

  const auto handed_on = [](int32x4_t y) {
    return results == rule::saturating ? vbicq_s32(y, vdupq_n_s32(31)) : y;
  };
  // Calls use(row, x) for every row, the last one first: it takes what the one above made last.
  const auto step_all = [&](int t, auto use) {
    const int32x4_t last = handed_on(row[rows - 1].y1);
    const int32x4_t top = keep(head, vld1q_s32(in[t]), vextq_s32(last, last, 3));
#pragma GCC unroll 8
    for (int k = rows - 1; k > 0; --k) use(row[k], handed_on(row[k - 1].y1));
    use(row[0], top);
    vst1q_s32(out[t], row[rows - 1].y1);
  };
  const auto all = [](row_registers& r, int32x4_t x) { r.step<results>(x); };

  // Some sections are idle until the last one has its first sample, and again after the first one
  // has its last; the last two results of all are kept from there on.
  const int steps = n + lanes->longest_lag;
  int t = 0;
  const auto some_until = [&](int end) {
    for (; t < end; ++t)
      step_all(t, [t](row_registers& r, int32x4_t x) { r.step_some<results>(x, t); });
  };
  some_until(lanes->longest_lag);
  for (; t < n - 1; ++t) step_all(t, all);
  some_until(steps);

#pragma GCC unroll 8
  for (int k = 0; k < rows; ++k) {
    vst1q_s32(lanes->y1[k], row[k].y1);
    vst1q_s32(lanes->y2[k], row[k].y2);
  }
}

template <rule results>
constexpr lane_steppers kSteppers = {step_lanes<1, results>, step_lanes<2, results>,
                                     step_lanes<3, results>, step_lanes<4, results>,
                                     step_lanes<5, results>};

}  // namespace

void iir_chains_32_neon(const iir_chain* chains, int chain_count, int n) {
  iir_chains_32_in_lanes(chains, chain_count, n, kSteppers<rule::saturating>);
}

void iir_chains_wrapping_neon(const iir_chain* chains, int chain_count, int n) {
  iir_chains_wrapping_in_lanes(chains, chain_count, n, kSteppers<rule::wrapping>);
}
