// Sections as lanes of vectors, all stepping at once.
//
// A section needs its own last result, so that a chain run sample by sample waits for one section
// after the other. Here every section runs one sample behind the one before it: at step t, section
// k of a chain takes sample t - k, which section k - 1 made at step t - 1, and no section waits for
// another within a step. Four columns of up to kMostRows sections hold the chains; a chain goes
// down its column and on at the top of the next one:
//
//              column 0   column 1   column 2   column 3
//   row 0      left 0     left 3     right 0    right 3      a row is a vector; a step moves the
//   row 1      left 1     left 4     right 1    right 4      results one row down, and the last
//   row 2      left 2     left 5     right 2    right 5      row's to the top of the next column
//
// A chain that doesn't fill its columns ends with sections that let their input through.
//
// Exact because:
// - The carried sums, first = b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2] and second =
//   b2 x[n-1] - a2 y[n-1] once the sample is done, are the same products in another order, and
//   64-bit addition wraps. They replace the history in the loop; it is rebuilt at the end from the
//   last two results of every section.
// - From one section to the next a result y goes 5 bits down and up again: that is y without its
//   low five bits, with nothing left to saturate. Only a chain's input needs the clamp.
// - A section of b0 = 1.0 alone gives back an input whose low five bits are clear (so that it isn't
//   -1), and of a chain's result they don't count; where results wrap, it gives back any.
#pragma once

#include <cstdint>

#include "dsp/iir_chains_block.h"

constexpr int kColumns = 4;
constexpr int kMostRows = 5;
constexpr int kMostLag = kColumns * kMostRows - 1;

using int_row = int[kColumns];
using int64_row = int64_t[kColumns];

struct alignas(32) iir_lanes {
  int64_row first[kMostRows], second[kMostRows];  // the carried sums
  int_row coef[kMostRows][5];                     // b0, b1, b2, -a1, -a2
  int_row y1[kMostRows], y2[kMostRows];           // last results
  int_row lag[kMostRows];                         // the step of a section's first sample
  int_row head;                                   // -1 where a chain starts, else 0
  int longest_lag;
};

// Runs n + longest_lag steps: takes a row of chain inputs at each (those beyond n count for
// nothing), gives the last row's results, and leaves y1 and y2 as they are after n samples.
using lane_stepper = void(iir_lanes* lanes, const int_row* in, int_row* out, int n);

// One per number of rows, 1 first.
using lane_steppers = lane_stepper* const[kMostRows];

// iir_chains_32 and iir_chains_wrapping by way of lanes.
void iir_chains_32_in_lanes(const iir_chain* chains, int chain_count, int n,
                            const lane_steppers& steppers);
void iir_chains_wrapping_in_lanes(const iir_chain* chains, int chain_count, int n,
                                  const lane_steppers& steppers);
