// The tree of band splits in lanes, in the terms of iir_lanes.h.
//
// Both channels go down together. The last sections of a split's upper branch feed both branches of
// the next one:
//
//   row 0      first left    first right                                  an odd row takes the two
//   row 1      high 0 left   high 0 right   low 0 left   low 0 right      upper lanes above it twice
//   row 2      high 0 left   high 0 right   low 0 left   low 0 right ──► band 0
//   row 3      high 1 left   high 1 right   low 1 left   low 1 right
//   row 4      high 1 left   high 1 right   low 1 left   low 1 right ──► band 1
//   row 5      high 2 left   high 2 right   low 2 left   low 2 right
//   row 6      high 2 left   high 2 right   low 2 left   low 2 right ──► bands 3 and 2
#pragma once

#include "dsp/kernels/iir_lanes.h"
#include "dsp/kernels/kernels.h"

constexpr int kTreeSplits = 3;
constexpr int kTreeRows = 1 + 2 * kTreeSplits;

struct alignas(32) tree_lanes {
  section_rows<kTreeRows> sections;
  // The last rows of the splits, whose first samples come at steps 2, 4 and 6. The last one's begin
  // as the inputs.
  int_row signal[kTreeSplits][kHalfBlockFrames + kTreeRows - 1];
  // Results of step n - 2 and of those after it.
  int_row last[kTreeRows + 1][kTreeRows];
};

struct tree_kernels {
  decltype(lane_kernels::interleave) interleave;
  decltype(lane_kernels::deinterleave) deinterleave;
  // Runs n + kTreeRows - 1 steps. Each reads its inputs before it writes.
  void (*step)(tree_lanes* lanes, int n);
};

// band_tree_32 in lanes.
void band_tree_32_in_lanes(const band_tree* two, int n, const tree_kernels& kernels);
