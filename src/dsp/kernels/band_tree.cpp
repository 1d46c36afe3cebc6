#include "dsp/kernels/band_tree.h"

#include <algorithm>
#include <cstring>

#include "fixed.h"

namespace {

// The section in a row and column, null where there is none.
IIR* section_at(const band_tree* two, int row, int column) {
  const band_tree& channel = two[column % 2];
  if (row == 0) return column < 2 ? channel.first : nullptr;
  const int split = (row - 1) / 2;
  IIR* const* const branch = column < 2 ? channel.high[split] : channel.low[split];
  return branch[(row - 1) % 2];
}

template <typename Use>
void for_each_section(const band_tree* two, Use use) {
  for (int row = 0; row < kTreeRows; ++row)
    for (int column = 0; column < kColumns; ++column)
      if (IIR* const section = section_at(two, row, column)) use(section, row, column);
}

// The last two samples that a section took, the last one first.
struct taken {
  int x1, x2;
};

// n samples of both channels, kFewestBlockFrames <= n <= kHalfBlockFrames.
void run_tree(const band_tree* two, int n, const tree_kernels& kernels) {
  tree_lanes lanes;
  std::memset(&lanes.sections, 0, sizeof lanes.sections);
  for_each_section(two, [&](const IIR* section, int row, int column) {
    lanes.sections.load(row, column, *section);
    lanes.sections.lag[row][column] = row;
  });
  int_row* const in = lanes.signal[kTreeSplits - 1];
  kernels.interleave({two[0].in, two[1].in, two[0].in, two[1].in}, in, n);
  std::memset(in[n], 0, sizeof(int_row) * (kTreeRows - 1));
  taken inputs[2];
  for (int c : {0, 1}) inputs[c] = {in[n - 1][c], in[n - 2][c]};

  kernels.step(&lanes, n);

  for_each_section(two, [&](IIR* section, int row, int column) {
    // From one section to the next a result loses its low five bits.
    const int above = row - 1, from = row % 2 == 1 ? column % 2 : column;
    const taken x = row == 0 ? inputs[column]
                             : taken{lanes.last[above + 1][above][from] & ~31,
                                     lanes.last[above][above][from] & ~31};
    const int y1 = lanes.last[row + 1][row][column], y2 = lanes.last[row][row][column];
    const int words[] = {x.x1, x.x1, x.x2, y1, y2};
    std::copy_n(words, 5, section->state);
  });
  int* const nowhere = lanes.last[0][0];
  static_assert(sizeof lanes.last >= sizeof(int) * kHalfBlockFrames);
  for (int k = 0; k < kTreeSplits; ++k) {
    const bool last = k == kTreeSplits - 1;
    int* const rest[] = {last ? two[0].bands[k + 1] : nowhere,
                         last ? two[1].bands[k + 1] : nowhere};
    kernels.deinterleave(lanes.signal[k] + 2 * k + 2,
                         {rest[0], rest[1], two[0].bands[k], two[1].bands[k]}, n);
  }
}

// The same from a sample on.
band_tree behind(band_tree channel, int start) {
  channel.in += start;
  for (int*& band : channel.bands) band += start;
  return channel;
}

}  // namespace

void portable::band_tree_32(const band_tree* two, int n) {
  const auto rest = [=](int c) { return two[c].bands[kTreeSplits]; };
  const iir_chain first[] = {{two[0].in, rest(0), &two[0].first, 1},
                             {two[1].in, rest(1), &two[1].first, 1}};
  iir_chains_32(first, 2, n);
  for (int k = 0; k < kTreeSplits; ++k) {
    const iir_chain split[] = {{rest(0), two[0].bands[k], two[0].low[k], 2},
                               {rest(0), rest(0), two[0].high[k], 2},
                               {rest(1), two[1].bands[k], two[1].low[k], 2},
                               {rest(1), rest(1), two[1].high[k], 2}};
    iir_chains_32(split, 4, n);
  }
}

void band_tree_32_in_lanes(const band_tree* two, int n, const tree_kernels& kernels) {
  if (n < kFewestBlockFrames || n > kBlockFrames) return portable::band_tree_32(two, n);
  if (n <= kHalfBlockFrames) return run_tree(two, n, kernels);
  const int half = n / 2;
  const band_tree second[] = {behind(two[0], half), behind(two[1], half)};
  run_tree(two, half, kernels);
  run_tree(second, n - half, kernels);
}
