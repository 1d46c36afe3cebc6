// The split in lanes with NEON.
#include "dsp/kernels/split_energies.h"

#include "dsp/kernels/iir_rows_neon.h"

namespace {

void run(split_lanes* lanes, const int* const (&in)[2], int n) {
  row_registers row[kSplitRows];
  for (int k = 0; k < kSplitRows; ++k) row[k].load_from(lanes->sections, k);
  const sums none = {vdupq_n_s64(0), vdupq_n_s64(0)};
  sums energy[kSplitRows] = {none, none}, rest_energy = none;
  int32x4_t older = vld1q_s32(lanes->rest[0][0]), rest = vld1q_s32(lanes->rest[1][0]);  // of row 0
  int32x4_t taken[kSplitRows];

  const auto step = [&](int t) {
    // Row 0's lanes 0 and 1 leave for lanes 2 and 3, and these for row 1.
    const int32x2_t inputs = vset_lane_s32(in[1][t], vdup_n_s32(in[0][t]), 1);
    taken[0] = vcombine_s32(inputs, vget_low_s32(older));
    taken[1] = vcombine_s32(vget_high_s32(older), vdup_n_s32(0));
    older = rest;
    int32x4_t left[kSplitRows];
    for (int k = 0; k < kSplitRows; ++k) {
      row[k].step<rule::saturating>(vqshlq_n_s32(taken[k], 5));
      const int32x4_t band = vshrq_n_s32(row[k].y, 5);
      left[k] = vqsubq_s32(taken[k], band);
      energy[k] = mac(energy[k], band, band);
    }
    rest = left[0];
    rest_energy = mac(rest_energy, left[1], left[1]);
  };

  int t = 0;
  for (; t < n - 2; ++t) step(t);
  for (int i = 0; i < 2; ++i) {
    step(t + i);
    for (int k = 0; k < kSplitRows; ++k) {
      vst1q_s32(lanes->taken[i][k], taken[k]);
      vst1q_s32(lanes->last[i][k], row[k].y);
    }
  }
  vst1q_s32(lanes->rest[0][0], older);
  vst1q_s32(lanes->rest[1][0], rest);
  for (int k = 0; k < kSplitRows; ++k) store_sums(energy[k], lanes->energy[k]);
  store_sums(rest_energy, lanes->rest_energy);
}

}  // namespace

void neon::split_energies(const split_channel* two, int n) { split_energies_in_lanes(two, n, run); }
