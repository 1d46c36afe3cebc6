// The all-pass's step, and how its vector forms walk a loop.
#pragma once

#include "dsp/allpass.h"
#include "fixed.h"

//   x ──┬──► × g ──► + ──┬──────► y
//       │            ▲   └─► × g ─┐
//       │    cell ───┘            │
//       └──────────────► − ◄──────┘
//                        └──► cell
inline int allpass_step(int x, int& cell, int feedback_q13) {
  const int y = saturate_add(cell, scale_down<13>(int64_t{feedback_q13} * x));
  cell = saturate_sub(x, scale_down<13>(int64_t{feedback_q13} * y));
  return y;
}

// Calls kernel(cells, samples, count) for each contiguous run of a loop's cells, if the section's
// feedback is one half; within a run no cell depends on another. Any other feedback, or too few
// samples, goes to the portable form.
void walk_allpass_of_half(allpass* section, int* samples, int n,
                          void (*kernel)(int* cells, int* samples, int count));
