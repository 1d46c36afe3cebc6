// The energies of a signal's bands: the step, and what the vector forms share.
//
//   x ─┬─► section 0 ─┬─► energy 0        energy: the sum of squares
//      └─► − ◄────────┘
//          ├─► section 1 ─┬─► energy 1
//          └─► − ◄────────┘
//              ├─► section 2 ─┬─► energy 2
//              └─► − ◄────────┘
//                  └─► energy 3
//
// In lanes section k runs 2 k samples behind the first one, so that the six sections of both channels
// step at once: two rows, of which the second has two lanes to spare. (One sample behind, a step
// would wait for all of the one before, since its results share a vector.)
//
//              lane 0           lane 1           lane 2           lane 3
//   row 0      left 0           right 0          left 1           right 1
//   row 1      left 2           right 2
#pragma once

#include <cstdint>

#include "dsp/kernels/iir_lanes.h"
#include "dsp/kernels/kernels.h"

constexpr int kSplitRows = 2;

// The row and lane of section k of channel c.
constexpr int split_row(int k) { return k / 2; }
constexpr int split_lane(int c, int k) { return k % 2 * 2 + c; }

struct alignas(32) split_lanes {
  section_rows<kSplitRows> sections;
  // Of the last two samples, the older one first: what each section took, its results, and what it
  // left.
  int_row taken[2][kSplitRows], last[2][kSplitRows], rest[2][kSplitRows];
  int64_row energy[kSplitRows], rest_energy;  // of the results, and of what row 1 left
};

// The kernel takes n >= 2 samples of both channels' inputs through the first sections, and as many
// through the later ones, which begin with what `rest` has.
using split_kernel = void(split_lanes* lanes, const int* const (&in)[2], int n);

// split_energies in lanes.
void split_energies_in_lanes(const split_channel* two, int n, split_kernel* kernel);
