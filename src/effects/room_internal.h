// What the reverb and the early reflector of the stereo widening share: the scaling of a room's two
// knobs, and the bank of combs and all-passes.
#pragma once

#include <algorithm>

#include "dsp/allpass_block.h"
#include "dsp/audio_delay.h"
#include "dsp/comber_block.h"
#include "dsp/dc_remove_block.h"
#include "dsp/fixed.h"
#include "dsp/iir_block.h"
#include "dsp/memory.h"

// Both knobs run over 0..8192 and take any value: the product is exact, its low 32 bits count.
//   feedback  5779 + 0.2848 v: 0.705 to 0.990, Q13
//   damping   0.4030 v:        0 to 0.403, Q13
constexpr int room_feedback(int roomsize) {
  return wrap_add(wrap32(int64_t{roomsize} * 2333 >> 13), 5779);
}
constexpr int room_damping(int damp) { return wrap32(int64_t{damp} * 3301 >> 13); }

// One channel's bank over a block: n samples of in through the combs side by side, their wrapping
// sum through the all-passes in a row, into out. in and out must not overlap. 16 or 24 names the
// samples' width.
//
//         ┌──► comb 1 ──►┐
//   in ───┼──►  ...   ──►+──► all-pass 1 ──► ... ──► out
//         └──► comb N ──►┘
template <int width, int combs, int allpasses>
inline void run_bank(comber* const (&comb)[combs], allpass* const (&section)[allpasses],
                     const int* in, int* out, int n) {
  static_assert(width == 16 || width == 24);
  std::fill_n(out, n, 0);
  for (comber* c : comb)
    width == 16 ? comb_block_add_16(c, in, out, n) : comb_block_add_24(c, in, out, n);
  for (allpass* s : section) allpass_block(s, out, n);
}
