// What the reverb and the early reflector of the stereo widening share: the scaling of a room's two
// knobs, and the bank of combs and all-passes.
#pragma once

#include <algorithm>

#include "allocation.h"
#include "dsp/audio_delay.h"
#include "dsp/kernels/allpass.h"
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/iir.h"
#include "fixed.h"

// Both knobs run over 0..8192 and take any value: the product is exact, its low 32 bits count.
//   feedback  5779 + 0.2848 v: 0.705 to 0.990, Q13
//   damping   0.4030 v:        0 to 0.403, Q13
constexpr int room_feedback(int roomsize) {
  return wrap_add(wrap32(int64_t{roomsize} * 2333 >> 13), 5779);
}
constexpr int room_damping(int damp) { return wrap32(int64_t{damp} * 3301 >> 13); }

// The parts of a bank over a block: n samples of each quartet's in through the combs side by side
// into its sum, which starts from zero, ...
//
//         ┌──► comb 1 ──►┐
//   in ───┼──►  ...   ──►+──► all-pass 1 ──► ... ──► out
//         └──► comb N ──►┘
//
// ... and the sum through the all-passes in a row. 16 or 24 names the samples' width.
template <int width>
inline void run_combs(const comb_quartet (&two)[2], int n) {
  static_assert(width == 16 || width == 24);
  for (const comb_quartet& quartet : two) std::fill_n(quartet.sum, n, 0);
  width == 16 ? comb_quartets_add_16(two, n) : comb_quartets_add_24(two, n);
}

template <int allpasses>
inline void run_allpasses(allpass* const (&section)[allpasses], int* samples, int n) {
  for (allpass* s : section) allpass_block(s, samples, n);
}
