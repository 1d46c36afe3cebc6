#include "dsp/kernels/comb_bank.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/loop.h"

namespace {

comber& comb_of(const comb_quartet* two, int lane) { return *two[lane / 4].combs[lane % 4]; }

bool never_saturates(const comber& comb) {
  return comb.feedback >= 0 && comb.feedback <= kOneQ13 && comb.damp1 >= 0 &&
         comb.damp1 <= kOneQ13 && comb.damp2 >= 0 && comb.damp2 <= kOneQ13 - comb.damp1;
}

// How many of n samples reach no loop's end; 0 if a position is out of range.
int common_run(const comb_quartet* two, int n) {
  for (int k = 0; k < kCombLanes; ++k) {
    const comber& comb = comb_of(two, k);
    n = comb.index < 0 ? 0 : std::min(n, comb.length - comb.index);
  }
  return n;
}

comb_lanes lanes_of(const comb_quartet* two) {
  comb_lanes lanes = {};
  for (int q = 0; q < 2; ++q) {
    lanes.in[q] = two[q].in;
    lanes.sum[q] = two[q].sum;
  }
  for (int k = 0; k < kCombLanes; ++k) {
    const comber& comb = comb_of(two, k);
    lanes.cells[k] = comb.buffer + comb.index;
    lanes.feedback[k] = comb.feedback;
    lanes.damp1[k] = comb.damp1;
    lanes.damp2[k] = comb.damp2;
    lanes.store[k] = comb.filter_store;
  }
  return lanes;
}

bool none_shorter(const comb_quartet* two, int length) {
  for (int k = 0; k < kCombLanes; ++k)
    if (comb_of(two, k).length < length) return false;
  return true;
}

// A multiple of eight samples, which reach no loop's end.
void run_in_place(const comb_quartet* two, int count, void (*kernel)(comb_lanes*, int)) {
  comb_lanes lanes = lanes_of(two);
  kernel(&lanes, count);
  for (int k = 0; k < kCombLanes; ++k) {
    comber& comb = comb_of(two, k);
    comb.index = advance(comb.index + count - 1, comb.length);
    comb.filter_store = lanes.store[k];
  }
}

// Eight samples among which loops end: those loops' cells go through a copy.
void run_across_ends(const comb_quartet* two, void (*kernel)(comb_lanes*, int)) {
  int cells[kCombLanes][kCombLanes];
  comb_lanes lanes = lanes_of(two);
  // Calls use(cell, i) for the eight cells and returns the position behind them.
  const auto for_each_cell = [](const comber& comb, auto use) {
    int at = comb.index;
    for (int i = 0; i < kCombLanes; ++i) {
      use(comb.buffer[at], i);
      at = advance(at, comb.length);
    }
    return at;
  };
  const auto ends = [](const comber& comb) { return comb.length - comb.index < kCombLanes; };
  for (int k = 0; k < kCombLanes; ++k) {
    const comber& comb = comb_of(two, k);
    if (!ends(comb)) continue;
    for_each_cell(comb, [&](int cell, int i) { cells[k][i] = cell; });
    lanes.cells[k] = cells[k];
  }
  kernel(&lanes, kCombLanes);
  for (int k = 0; k < kCombLanes; ++k) {
    comber& comb = comb_of(two, k);
    comb.index = ends(comb) ? for_each_cell(comb, [&](int& cell, int i) { cell = cells[k][i]; })
                            : advance(comb.index + kCombLanes - 1, comb.length);
    comb.filter_store = lanes.store[k];
  }
}

}  // namespace

void portable::comb_quartets_add_16(const comb_quartet* two, int n) {
  for (int k = 0; k < kCombLanes; ++k)
    comb_block_add_16(&comb_of(two, k), two[k / 4].in, two[k / 4].sum, n);
}

void portable::comb_quartets_add_24(const comb_quartet* two, int n) {
  for (int k = 0; k < kCombLanes; ++k)
    comb_block_add_24(&comb_of(two, k), two[k / 4].in, two[k / 4].sum, n);
}

void walk_comb_lanes(const comb_quartet* two, int n, void (*kernel)(comb_lanes*, int),
                     void (*portable_form)(const comb_quartet*, int)) {
  if (n < kFewestBlockFrames) return portable_form(two, n);
  for (int k = 0; k < kCombLanes; ++k)
    if (!never_saturates(comb_of(two, k))) return portable_form(two, n);
  comb_quartet next[2] = {two[0], two[1]};
  while (n > 0) {
    const int run = common_run(next, n);
    int count = run - run % kCombLanes;
    if (count > 0) {
      run_in_place(next, count, kernel);
    } else if (run > 0 && n >= kCombLanes && none_shorter(next, kCombLanes)) {
      count = kCombLanes;
      run_across_ends(next, kernel);
    } else {  // the last few, a loop that is very short, or a position out of range
      count = std::clamp(run, 1, n);
      portable_form(next, count);
    }
    for (comb_quartet& quartet : next) {
      quartet.in += count;
      quartet.sum += count;
    }
    n -= count;
  }
}
