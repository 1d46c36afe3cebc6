// Half-band branches on NEON: the four sections of a branch step at once, the last one in the lowest
// lane. A section takes what the one before it gave a step earlier, so a branch's output is three
// steps behind its input:
//
//   lane         3     2     1     0
//   section      0     1     2     3
//   of sample    t    t-1   t-2   t-3
#include "dsp/kernels/half_band.h"
#include "dsp/kernels/vectors_neon.h"

namespace {

constexpr int kDelay = kHalfBandSections - 1;
constexpr int kFewestSamples = 8;  // below, the ends are most of the work

inline vector reverse(vector x) {
  return vcombine_s32(vrev64_s32(vget_high_s32(x)), vrev64_s32(vget_low_s32(x)));
}

// scale_toward_zero is the magnitude's product, rounded down, times the sign of x.
inline vector scaled_size(vector a_q31, vector x) { return vqdmulhq_s32(vabsq_s32(x), a_q31); }
inline vector sign(vector x) { return vorrq_s32(vshrq_n_s32(x, 31), splat(1)); }

struct branch {
  vector coefficients, words, y = splat(0), next = y;  // coefficients in Q31

  branch(const int (&coefficients_q24)[kHalfBandSections], const int* state)
      : coefficients(vshlq_n_s32(reverse(load(coefficients_q24)), 31 - kHalfBandBits)),
        words(reverse(load(state))) {}

  void step(int in) {
    const vector x = vextq_s32(y, splat(in), 1);
    y = vmlaq_s32(words, scaled_size(coefficients, x), sign(x));
    next = vmlsq_s32(x, scaled_size(coefficients, y), sign(y));
  }
  // Of the lanes that have a sample: at both ends some sections have none, and keep their state.
  void keep(uint32x4_t lanes) { words = vbslq_s32(lanes, next, words); }
};

}  // namespace

void neon::half_band_branches(int* state, int* x0, int* x1, int n) {
  if (n < kFewestSamples) return portable::half_band_branches(state, x0, x1, n);
  branch first(kHalfBand[0], state), second(kHalfBand[1], state + kHalfBandSections);
  const auto edge_step = [&](int t) {
    first.step(t < n ? x0[t] : 0);
    second.step(t < n ? x1[t] : 0);
    const vector section = {3, 2, 1, 0};
    const uint32x4_t lanes =
        vandq_u32(vcgtq_s32(splat(t + 1), section), vcgtq_s32(section, splat(t - n)));
    first.keep(lanes);
    second.keep(lanes);
    if (t < kDelay) return;
    x0[t - kDelay] = vgetq_lane_s32(first.y, 0);
    x1[t - kDelay] = vgetq_lane_s32(second.y, 0);
  };
  int t = 0;
  for (; t < kDelay; ++t) edge_step(t);
  for (; t < n; ++t) {
    first.step(x0[t]);
    second.step(x1[t]);
    first.words = first.next;
    second.words = second.next;
    // The lowest lane stays; the others are written over by the steps that follow.
    store(x0 + t - kDelay, first.y);
    store(x1 + t - kDelay, second.y);
  }
  for (; t < n + kDelay; ++t) edge_step(t);
  store(state, reverse(first.words));
  store(state + kHalfBandSections, reverse(second.words));
}
