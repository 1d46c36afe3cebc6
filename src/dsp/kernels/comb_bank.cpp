#include <algorithm>

#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/comber.h"
#include "dsp/kernels/kernels.h"
#include "dsp/loop.h"

namespace {

constexpr int kUnity = 8192;  // Q13

comber& comb_of(const comb_quartet* two, int lane) { return *two[lane / 4].combs[lane % 4]; }

bool saturates_never(const comber& comb) {
  return comb.feedback >= 0 && comb.feedback <= kUnity && comb.damp1 >= 0 && comb.damp1 <= kUnity &&
         comb.damp2 >= 0 && comb.damp2 <= kUnity - comb.damp1;
}

// Samples up to the first end of a loop.
int common_stretch(const comb_quartet* two, int n) {
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

void comb_quartets_add_16(const comb_quartet* two, int n) {
  kernels().comb_quartets_add_16(two, n);
}

void comb_quartets_add_24(const comb_quartet* two, int n) {
  kernels().comb_quartets_add_24(two, n);
}

void comb_quartets_add_16_portable(const comb_quartet* two, int n) {
  for (int k = 0; k < kCombLanes; ++k)
    comb_block_add_16(&comb_of(two, k), two[k / 4].in, two[k / 4].sum, n);
}

void comb_quartets_add_24_portable(const comb_quartet* two, int n) {
  for (int k = 0; k < kCombLanes; ++k)
    comb_block_add_24(&comb_of(two, k), two[k / 4].in, two[k / 4].sum, n);
}

void walk_comb_lanes(const comb_quartet* two, int n, void (*kernel)(comb_lanes*, int),
                     void (*portable)(const comb_quartet*, int)) {
  if (n < 8) return portable(two, n);
  for (int k = 0; k < kCombLanes; ++k)
    if (!saturates_never(comb_of(two, k))) return portable(two, n);
  comb_quartet next[2] = {two[0], two[1]};
  const auto move_on = [&](int count) {
    for (comb_quartet& quartet : next) {
      quartet.in += count;
      quartet.sum += count;
    }
    n -= count;
  };
  while (n > 0) {
    const int stretch = common_stretch(next, n);
    const int whole = stretch - stretch % 8;
    if (whole > 0) {
      comb_lanes lanes = lanes_of(next);
      kernel(&lanes, whole);
      for (int k = 0; k < kCombLanes; ++k) {
        comber& comb = comb_of(next, k);
        comb.index = advance(comb.index + whole - 1, comb.length);
        comb.filter_store = lanes.store[k];
      }
      move_on(whole);
    }
    // The few up to the end of the loop; one if a position was out of range.
    const int rest = whole > 0 ? stretch - whole : std::clamp(stretch, 1, n);
    portable(next, rest);
    move_on(rest);
  }
}
