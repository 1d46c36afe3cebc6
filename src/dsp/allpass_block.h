// The all-pass's step, and the all-pass over a block.
#pragma once

#include "dsp/allpass.h"
#include "dsp/fixed.h"

//   x ──┬──► × g ──► + ──┬──────► y
//       │            ▲   └─► × g ─┐
//       │    cell ───┘            │
//       └──────────────► − ◄──────┘
//                        └──► cell
inline int allpass_step(int x, int& cell, int feedback) {
  const int y = saturate_add(cell, scale_down<13>(int64_t{feedback} * x));
  cell = saturate_sub(x, scale_down<13>(int64_t{feedback} * y));
  return y;
}

// n samples in place; n < 1 does nothing. The same bits as n calls of allpass_process.
void allpass_block(allpass* section, int* samples, int n);
