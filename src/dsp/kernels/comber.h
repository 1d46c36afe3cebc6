// The comb's step, and combs over a block.
#pragma once

#include "dsp/comber.h"
#include "fixed.h"

constexpr int kCombBits16 = 13;  // how far up a 16-bit sample stands inside the loop
constexpr int kCombBits24 = 5;

// One sample through one cell of the loop; comber.h draws the path.
template <int bits>
inline int comb_step(int x, int& cell, int& store, int feedback, int damp1, int damp2) {
  const int delayed = cell;
  store = scale_down<13>(mac(int64_t{damp2} * delayed, damp1, store));
  cell = wrap_add(scale_down<13>(int64_t{feedback} * store), wrap_shl(x, bits));
  return silence_minus_one(delayed >> bits);
}

// n samples of in through the comb, added to sum (32-bit, wrapping), as the combs of a reverb run
// side by side; n < 1 does nothing. in and sum must not overlap. The same bits as n calls of
// comb_process_16 or comb_process_24.
void comb_block_add_16(comber* comb, const int* in, int* sum, int n);
void comb_block_add_24(comber* comb, const int* in, int* sum, int n);
