// Eight combs side by side, a comb in each lane: what the vector forms share.
#pragma once

#include "dsp/kernels/comber.h"
#include "dsp/kernels/kernels.h"

constexpr int kCombLanes = 8;

// Contiguous runs of eight loops' cells, and the inputs and sums that go with them.
struct comb_lanes {
  int* cells[kCombLanes];  // [0 .. n-1] delayed samples, replaced by new ones
  const int* in[2];        // [0 .. n-1] of each quartet
  int* sum[2];             // [0 .. n-1] of each quartet
  alignas(32) int feedback[kCombLanes];
  alignas(32) int damp1[kCombLanes];
  alignas(32) int damp2[kCombLanes];
  alignas(32) int store[kCombLanes];
};

// Runs eight combs over n samples: the kernel takes runs of a multiple of eight samples that reach
// no loop's end, and the eight in which one does in a copy; the portable form takes the last few.
//
// The kernel gets gains with which no product can saturate: damp1 and damp2 are not negative and at
// most 8192 together, feedback is 0..8192. (A weighted mean of 32-bit words, or a part of one, fits
// in 32 bits.) Any other gains, or too few samples, go to the portable form.
void walk_comb_lanes(const comb_quartet* two, int n, void (*kernel)(comb_lanes*, int),
                     void (*portable_form)(const comb_quartet*, int));
