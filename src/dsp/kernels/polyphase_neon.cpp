// Polyphase filters on NEON: four periods of a phase at a time, the words of its row in lanes.
#include <algorithm>

#include "dsp/kernels/vectors_neon.h"

namespace {

inline int32x4_t add_products(int32x4_t sum, int16x8_t a, int16x8_t b) {
  return vmlal_high_s16(vmlal_s16(sum, vget_low_s16(a), vget_low_s16(b)), a, b);
}

// The lanes of each vector added up.
inline int32x4_t across(const int32x4_t v[4]) {
  return vpaddq_s32(vpaddq_s32(v[0], v[1]), vpaddq_s32(v[2], v[3]));
}

// Four dot products with one row. The sums of every other eight words fit in 32 bits, and so does
// half of their sum, rounded down.
inline int16x4_t four_products(const int16_t* row, int taps, const int16_t* const x[4]) {
  int32x4_t first[4] = {}, second[4] = {};
  for (int j = 0; j < taps; j += 16)
    for (int k = 0; k < 4; ++k) {
      first[k] = add_products(first[k], vld1q_s16(row + j), vld1q_s16(x[k] + j));
      second[k] = add_products(second[k], vld1q_s16(row + j + 8), vld1q_s16(x[k] + j + 8));
    }
  return vqrshrn_n_s32(vhaddq_s32(across(first), across(second)), 14);
}

}  // namespace

void neon::polyphase_q15(const polyphase& f, const int16_t* x, int16_t* out, int periods) {
  if (f.taps % 16 != 0) return portable::polyphase_q15(f, x, out, periods);
  for (int m = 0; m < f.phases; ++m) {
    const int16_t* row = f.rows + m * f.period % f.phases * f.taps;
    const int16_t* in = x + m * f.period / f.phases;
    for (int p = 0; p < periods; p += 4) {
      const int last = periods - 1;  // again for those beyond
      const int at[] = {p, std::min(p + 1, last), std::min(p + 2, last), std::min(p + 3, last)};
      const int16_t* const from[] = {in + at[0] * f.period, in + at[1] * f.period,
                                     in + at[2] * f.period, in + at[3] * f.period};
      const int16x4_t words = four_products(row, f.taps, from);
      vst1_lane_s16(out + at[0] * f.phases + m, words, 0);
      vst1_lane_s16(out + at[1] * f.phases + m, words, 1);
      vst1_lane_s16(out + at[2] * f.phases + m, words, 2);
      vst1_lane_s16(out + at[3] * f.phases + m, words, 3);
    }
  }
}
