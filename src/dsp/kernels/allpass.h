// The all-pass's step, and the all-pass over a block.
#pragma once

#include "dsp/allpass.h"
#include "fixed.h"

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

// The variants.
void allpass_block_portable(allpass* section, int* samples, int n);
void allpass_block_avx2(allpass* section, int* samples, int n);
void allpass_block_neon(allpass* section, int* samples, int n);

// --- for the variants in lanes

// Walks a section with a feedback of one half through its loop: the kernel takes the stretches that
// lie in a row, whose cells don't wait for each other. With another feedback, or in less than eight
// samples, all is portable.
void walk_allpass_of_half(allpass* section, int* samples, int n,
                          void (*kernel)(int* cells, int* samples, int count));
