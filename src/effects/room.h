// What the reverb and the early reflector of the stereo widening share: the scaling of room size
// and damp, and the parts of a bank over a block.
//
//         ┌──► comb 1 ──►┐
//   in ───┼──►  ...   ──►+──► all-pass 1 ──► ... ──► out
//         └──► comb N ──►┘
#pragma once

#include <algorithm>

#include "dsp/kernels/kernels.h"
#include "fixed.h"

// From a setting, useful over 0..8192, to the combs' gain in Q13. Any value is allowed: the product
// is exact, and its low 32 bits count.
//   feedback  5779 + 0.2848 v: 0.705 to 0.990
//   damping   0.4030 v:        0 to 0.403
constexpr int room_feedback_q13(int roomsize) {
  return wrap_add(wrap32(int64_t{roomsize} * 2333 >> 13), 5779);
}
constexpr int room_damping_q13(int damp) { return wrap32(int64_t{damp} * 3301 >> 13); }

// sum = the sum of a quartet's combs, for two quartets, which may share one sum; width is that of
// the samples, 16 or 24 bits. Sums wrap, so that the order of the combs doesn't change a bit.
template <int width>
inline void sum_of_combs(const comb_quartet (&two)[2], int n) {
  static_assert(width == 16 || width == 24);
  for (const comb_quartet& quartet : two) std::fill_n(quartet.sum, n, 0);
  width == 16 ? kernels().comb_quartets_add_16(two, n) : kernels().comb_quartets_add_24(two, n);
}

// The sections in series, in place. Each runs over the whole block before the next: no section's
// state depends on a later one.
template <int sections>
inline void allpass_series(allpass* const (&section)[sections], int* samples, int n) {
  for (allpass* s : section) kernels().allpass_block(s, samples, n);
}
