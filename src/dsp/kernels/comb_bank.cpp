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
  const auto advance_by = [&](int count) {
    for (comb_quartet& quartet : next) {
      quartet.in += count;
      quartet.sum += count;
    }
    n -= count;
  };
  while (n > 0) {
    const int run = common_run(next, n);
    const int whole = run - run % kCombLanes;
    if (whole > 0) {
      comb_lanes lanes = lanes_of(next);
      kernel(&lanes, whole);
      for (int k = 0; k < kCombLanes; ++k) {
        comber& comb = comb_of(next, k);
        comb.index = advance(comb.index + whole - 1, comb.length);
        comb.filter_store = lanes.store[k];
      }
      advance_by(whole);
    }
    // Up to the end of the loop; one sample if a position is out of range.
    const int rest = whole > 0 ? run - whole : std::clamp(run, 1, n);
    portable_form(next, rest);
    advance_by(rest);
  }
}
