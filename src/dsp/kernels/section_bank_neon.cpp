// A slice through rows of sections with NEON.
#include "dsp/kernels/iir_rows_neon.h"
#include "dsp/kernels/section_bank.h"

namespace {

template <int rows>
void run(section_bank* bank, int first_row) {
  int_row signal[rows][kSliceFrames];
  row_registers row[rows];
  for (int k = 0; k < rows; ++k) {
    const int r = first_row + k;
    interleave<rule::saturating>(bank->in[r], signal[k], kSliceFrames);
    for (int i : {0, 1}) vst1q_s32(bank->taken[i][r], vld1q_s32(signal[k][kSliceFrames - 2 + i]));
    row[k].load_from(bank->state, r);
  }

  for (int t = 0; t < kSliceFrames; ++t)
#pragma GCC unroll 8
    for (int k = 0; k < rows; ++k) {
      row[k].template step<rule::saturating>(vld1q_s32(signal[k][t]));
      vst1q_s32(signal[k][t], row[k].y);
    }

  for (int k = 0; k < rows; ++k) {
    const int r = first_row + k;
    for (int i : {0, 1}) vst1q_s32(bank->last[i][r], vld1q_s32(signal[k][kSliceFrames - 2 + i]));
    store_sums(row[k].first, bank->state.first[r]);
    store_sums(row[k].second, bank->state.second[r]);
    deinterleave<rule::saturating>(signal[k], bank->out[r], kSliceFrames);
  }
}

}  // namespace

namespace variant = neon;
#include "dsp/kernels/section_bank_vectors.h"
