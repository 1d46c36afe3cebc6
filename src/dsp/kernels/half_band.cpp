#include "dsp/kernels/half_band.h"

#include "dsp/kernels/kernels.h"

namespace {

// A branch's state in locals over a block.
struct branch_state {
  int words[kHalfBandSections];

  explicit branch_state(const int* from) {
    for (int i = 0; i < kHalfBandSections; ++i) words[i] = from[i];
  }
  void store_to(int* to) const {
    for (int i = 0; i < kHalfBandSections; ++i) to[i] = words[i];
  }
};

}  // namespace

// Both branches in one loop: their chains of sections overlap.
void portable::half_band_branches(int* state, int* x0, int* x1, int n) {
  branch_state first(state), second(state + kHalfBandSections);
  for (int i = 0; i < n; ++i) {
    x0[i] = half_band_step(x0[i], first.words, kHalfBand[0]);
    x1[i] = half_band_step(x1[i], second.words, kHalfBand[1]);
  }
  first.store_to(state);
  second.store_to(state + kHalfBandSections);
}
