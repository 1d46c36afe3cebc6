#include "dsp/kernels/iir_lanes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "fixed.h"

namespace {

constexpr int kFewestSections = 3;  // below, lanes don't pay
constexpr int kOneQ28 = 1 << 28;
constexpr int kSilence[kBlockFrames] = {};

// How a section's result is handed to the next section.
struct scaled_32 {
  static int handed_on(int y) { return y & ~31; }
  static constexpr auto* portable_form = portable::iir_chains_32;
};
struct unscaled {
  static int handed_on(int y) { return y; }
  static constexpr auto* portable_form = portable::iir_chains_wrapping;
};

// Where a chain stands: its first row and column, and how many columns it takes.
struct place {
  int top, column, columns;
};

// Where section k of a chain stands, and the step of its first sample.
struct section_place {
  int row, column, lag;

  section_place(place p, int rows, int k)
      : row(p.top + k % rows), column(p.column + k / rows), lag(k + k / rows) {}
};

int columns_of(const iir_chain& chain, lane_shape shape) {
  return (chain.count + shape.rows - 1) / shape.rows;
}

// Whether the chains fit into the shape; only in a single group does a chain continue in the next
// column.
bool fits(const iir_chain* chains, int chain_count, lane_shape shape) {
  int columns = 0, widest = 0;
  for (int c = 0; c < chain_count; ++c) {
    columns += columns_of(chains[c], shape);
    widest = std::max(widest, columns_of(chains[c], shape));
  }
  return columns <= shape.groups * kColumns && (shape.groups == 1 || widest == 1);
}

// Calls use(chain, place) for every chain.
template <typename Use>
void for_each_place(const iir_chain* chains, int chain_count, lane_shape shape, Use use) {
  int column = 0;
  for (const iir_chain* c = chains; c < chains + chain_count; ++c) {
    const int columns = columns_of(*c, shape);
    use(*c, place{column / kColumns * shape.rows, column % kColumns, columns});
    column += columns;
  }
}

// Below a chain's sections, down to the last row, their results pass through.
void load_chain(iir_lanes* lanes, const iir_chain& chain, int rows, place p) {
  lanes->head[p.column] = -1;
  for (int k = 0; k < p.columns * rows; ++k) {
    const section_place here(p, rows, k);
    lanes->sections.lag[here.row][here.column] = here.lag;
    lanes->longest_lag = std::max(lanes->longest_lag, here.lag);
    if (k < chain.count)
      lanes->sections.load(here.row, here.column, *chain.sections[k]);
    else
      lanes->sections.coef[here.row][0][here.column] = kOneQ28;
  }
}

// x1 and x2 are the last samples that the chain's first section got, the last one first.
template <typename Scale>
void store_chain(const iir_lanes& lanes, const iir_chain& chain, int rows, place p, int x1,
                 int x2) {
  for (int k = 0; k < chain.count; ++k) {
    const section_place here(p, rows, k);
    const int y1 = lanes.last[here.lag + 1][here.row][here.column];
    const int y2 = lanes.last[here.lag][here.row][here.column];
    const int words[] = {x1, x1, x2, y1, y2};
    std::copy_n(words, 5, chain.sections[k]->state);
    x1 = Scale::handed_on(y1);
    x2 = Scale::handed_on(y2);
  }
}

// Chains that end at the same step of one group, as nearly all do, are stored together. nowhere has
// room for n words.
void store_outputs(const iir_chain* chains, int chain_count, lane_shape shape,
                   int_row* const* results, int n, int* nowhere, const lane_kernels& kernels) {
  int* target[kColumns];
  const int_row* rows = nullptr;
  const auto flush = [&] {
    if (rows != nullptr) kernels.deinterleave(rows, target, n);
    std::fill_n(target, kColumns, nowhere);
  };
  for_each_place(chains, chain_count, shape, [&](const iir_chain& chain, place p) {
    const section_place end(p, shape.rows, p.columns * shape.rows - 1);
    const int_row* const from = results[p.top / shape.rows] + end.lag;
    if (from != rows) flush();
    rows = from;
    target[end.column] = chain.out;
  });
  flush();
}

// The most frames of a run. Two groups, without a lag, lose nothing by taking half a block.
constexpr int most_frames(int groups) { return groups == 1 ? kBlockFrames : kHalfBlockFrames; }

// kFewestBlockFrames <= n <= most_frames samples through chains that fit into the shape. Never inlined:
// the stack has room for one shape's signals at a time.
template <typename Scale, int groups>
[[gnu::noinline]] void run_in_lanes(const iir_chain* chains, int chain_count, int n,
                                    int shape_index, const lane_kernels& kernels) {
  const lane_shape shape = kLaneShapes[shape_index];
  iir_lanes lanes;
  std::memset(&lanes, 0, offsetof(iir_lanes, last));
  alignas(32) int_row rows[groups][most_frames(groups) + kMostLaneLag];
  int_row* signals[groups];
  const int* source[groups][kColumns];
  for (auto& group : source) std::fill_n(group, kColumns, kSilence);  // where no chain starts
  for_each_place(chains, chain_count, shape, [&](const iir_chain& chain, place p) {
    load_chain(&lanes, chain, shape.rows, p);
    source[p.top / shape.rows][p.column] = chain.in;
  });
  int_row newest[groups], second[groups];  // of the inputs, which the results replace
  for (int g = 0; g < groups; ++g) {
    signals[g] = rows[g];
    kernels.interleave(source[g], rows[g], n);
    std::memset(rows[g] + n, 0, sizeof(int_row) * static_cast<size_t>(lanes.longest_lag));
    std::copy_n(rows[g][n - 1], kColumns, newest[g]);
    std::copy_n(rows[g][n - 2], kColumns, second[g]);
  }

  kernels.step[shape_index](&lanes, signals, n);

  for_each_place(chains, chain_count, shape, [&](const iir_chain& chain, place p) {
    const int g = p.top / shape.rows;
    store_chain<Scale>(lanes, chain, shape.rows, p, newest[g][p.column], second[g][p.column]);
  });
  static_assert(sizeof lanes.last >= sizeof(int) * kBlockFrames);
  store_outputs(chains, chain_count, shape, signals, n, lanes.last[0][0], kernels);
}

template <typename Scale>
void run_smallest_shape(const iir_chain* chains, int chain_count, int n,
                        const lane_kernels& kernels);

// In two halves.
template <typename Scale>
void run_halves(const iir_chain* chains, int chain_count, int n, const lane_kernels& kernels) {
  iir_chain rest[kMostGroups * kColumns];
  for (int c = 0; c < chain_count; ++c) {
    rest[c] = chains[c];
    rest[c].in += n / 2;
    rest[c].out += n / 2;
  }
  run_smallest_shape<Scale>(chains, chain_count, n / 2, kernels);
  run_smallest_shape<Scale>(rest, chain_count, n - n / 2, kernels);
}

template <typename Scale>
void run_smallest_shape(const iir_chain* chains, int chain_count, int n,
                        const lane_kernels& kernels) {
  if (n < kFewestBlockFrames || n > kBlockFrames)
    return Scale::portable_form(chains, chain_count, n);
  int sections = 0, shortest = kFewestSections;
  for (int c = 0; c < chain_count; ++c) {
    sections += chains[c].count;
    shortest = std::min(shortest, chains[c].count);
  }
  if (sections < kFewestSections || shortest < 1)
    return Scale::portable_form(chains, chain_count, n);

  for (int shape = 0; shape < kLaneShapeCount; ++shape) {
    if (!fits(chains, chain_count, kLaneShapes[shape])) continue;
    if (kLaneShapes[shape].groups == 1)
      return run_in_lanes<Scale, 1>(chains, chain_count, n, shape, kernels);
    if (n > most_frames(2)) return run_halves<Scale>(chains, chain_count, n, kernels);
    return run_in_lanes<Scale, 2>(chains, chain_count, n, shape, kernels);
  }
  Scale::portable_form(chains, chain_count, n);
}

}  // namespace

void iir_chains_32_in_lanes(const iir_chain* chains, int chain_count, int n,
                            const lane_kernels& kernels) {
  run_smallest_shape<scaled_32>(chains, chain_count, n, kernels);
}

void iir_chains_wrapping_in_lanes(const iir_chain* chains, int chain_count, int n,
                                  const lane_kernels& kernels) {
  run_smallest_shape<unscaled>(chains, chain_count, n, kernels);
}
