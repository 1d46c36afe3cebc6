// Sections as lanes of vectors, all stepping at once.
//
// A section needs its own last result, so that a chain run sample by sample waits for one section
// after the other. Here every section runs one sample behind the one before it: at step t, section
// k of a chain takes sample t - k, which section k - 1 made at step t - 1, and no section waits for
// another within a step. The chains stand in columns of a few rows; a chain goes down its column
// and on at the top of the next one, which it reaches a step later still:
//
//              column 0   column 1   column 2   column 3
//   row 0      left 0     left 3     right 0    right 3      a row is a vector; a step moves the
//   row 1      left 1     left 4     right 1    right 4      results one row down, and the last
//   row 2      left 2     left 5     right 2    right 5      row's to the top of the next column
//
// A chain that doesn't fill its columns ends with sections that pass their input through. Up to
// eight chains of one section each stand in two groups of one row.
//
// Exact because:
// - The carried sums, first = b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2] and second =
//   b2 x[n-1] - a2 y[n-1] once the sample is done, are the same products in another order, and
//   64-bit addition wraps. They replace the history in the loop; it is rebuilt at the end from the
//   last two results of every section.
// - A section steps from the first step to the last and computes garbage outside its samples: its
//   state is loaded at its first sample, and its output is ignored after its last.
// - From one section to the next a result y goes 5 bits down and up again: that is y without its
//   low five bits, with nothing left to saturate. Only a chain's input needs the clamp.
// - A section of b0 = 1.0 alone gives back an input whose low five bits are clear (so that it isn't
//   -1), and of a chain's result they don't count; where results wrap, it gives back any.
#pragma once

#include <cstdint>
#include <iterator>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

constexpr int kColumns = 4;
constexpr int kMostRows = 5;  // of all groups together
constexpr int kMostGroups = 2;
constexpr int kMostLaneLag = kColumns * (kMostRows + 1) - 2;
static_assert(kFewestBlockFrames >= 8);  // what interleave loads at once

using int_row = int[kColumns];
using int64_row = int64_t[kColumns];

// Sections before their first sample.
template <int rows>
struct alignas(32) section_rows {
  int64_row first[rows], second[rows];  // the carried sums
  int_row coef[rows][5];                // b0, b1, b2, -a1, -a2
  int_row lag[rows];                    // the step of the first sample

  void load(int row, int column, const IIR& section) {
    const int *const c = section.coef, *const state = section.state;
    const int x1 = state[1], x2 = state[2], y1 = state[3], y2 = state[4];
    for (int i = 0; i < 5; ++i) coef[row][i][column] = c[i];
    first[row][column] = mac(mac(mac(mac(0, c[1], x1), c[2], x2), c[3], y1), c[4], y2);
    second[row][column] = mac(mac(0, c[2], x1), c[4], y1);
  }
};

struct alignas(32) iir_lanes {
  section_rows<kMostRows> sections;
  int_row head;  // -1 where a chain starts in a group of rows
  int longest_lag;
  // Results of step n - 2 and of those after it.
  alignas(16) int_row last[kMostLaneLag + 2][kMostRows];
};

// The groups and the rows of each that there are kernels for, the cheapest first.
struct lane_shape {
  int groups, rows;
};
constexpr lane_shape kLaneShapes[] = {{1, 1}, {2, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}};
constexpr int kLaneShapeCount = static_cast<int>(std::size(kLaneShapes));

// What becomes of a result of more than 32 bits.
enum class rule { saturating, wrapping };

struct lane_kernels {
  // The inputs of a group's chains, scaled as the sections need them, into rows; a column that no
  // chain starts in gets silence. n is kFewestBlockFrames or more.
  void (*interleave)(const int* const (&column)[kColumns], int_row* rows, int n);
  // The other way round: n rows of results into columns, scaled as outputs.
  void (*deinterleave)(const int_row* rows, int* const (&column)[kColumns], int n);
  // Runs n + longest_lag steps and fills `last`. A group's rows are its inputs, 0 from n on, and become
  // the results of its last row: each step reads its inputs before it writes.
  void (*step[kLaneShapeCount])(iir_lanes* lanes, int_row* const* signals, int n);
};

// The steps of a call: begin(t) loads the state of the sections that take their first sample at step
// t, keep(i) stores the results of step n - 2 + i. Between a chain's start and its end neither is
// needed.
template <typename Begin, typename Step, typename Keep>
inline void run_steps(int n, int longest_lag, Begin begin, Step step, Keep keep) {
  const int steps = n + longest_lag;
  for (int t = 0; t < steps;) {
    for (const int end = t <= longest_lag ? longest_lag + 1 : steps; t < end; ++t) {
      begin(t);
      step(t);
      if (t >= n - 2) keep(t - (n - 2));
    }
    for (; t < n - 2; ++t) step(t);
  }
}

// iir_chains_32 and iir_chains_wrapping in lanes.
void iir_chains_32_in_lanes(const iir_chain* chains, int chain_count, int n,
                            const lane_kernels& kernels);
void iir_chains_wrapping_in_lanes(const iir_chain* chains, int chain_count, int n,
                                  const lane_kernels& kernels);
