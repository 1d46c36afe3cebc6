#include "dsp/kernels/iircomber.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "dsp/loop.h"

namespace {

constexpr int kChannels = 2;

void step_by_step(iircomber* comb, int* samples, int n) {
  iircomber_registers registers(comb);
  comb->index =
      walk_loop(comb->buffer, comb->index, comb->delay, n, [&](int* cells, int start, int count) {
        for (int i = 0; i < count; ++i)
          samples[start + i] = iircomber_step(registers, samples[start + i], cells[i]);
      });
  registers.store(comb);
}

// A contiguous run of each channel's loop, n <= kBlockFrames: the inputs' sums in a pass of their own,
// the rest beside the recursions, which wait for their own last results. Exact because no cell of a
// run depends on another: of iircomber_step only the loop filter's recursion goes from sample to sample,
// and its sums are the same products in another order, with 64-bit addition that wraps.
void run_in_passes(const iircomber_channel* channel, int start, int n) {
  int delayed[1 + kBlockFrames];  // -1 .. n-1: [0] is -1
  int64_t inputs[kChannels][kBlockFrames];
  int *cells[kChannels], *samples[kChannels], a1[kChannels], feedback[kChannels], y1[kChannels];
  for (int c = 0; c < kChannels; ++c) {
    iircomber* comb = channel[c].comb;
    cells[c] = comb->buffer + comb->index;
    samples[c] = channel[c].samples + start;
    delayed[0] = comb->x1;
    std::copy_n(cells[c], n, delayed + 1);
    const int b[] = {comb->b0, comb->b1};
    kernels().fir_sums(delayed + 1, b, 2, inputs[c], n);
    comb->x1 = cells[c][n - 1];
    a1[c] = comb->a1;
    feedback[c] = comb->feedback;
    y1[c] = comb->y1;
  }
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < kChannels; ++c) {
      y1[c] = scale_down_wrapping<13>(wrap_sub64(inputs[c][i], int64_t{a1[c]} * y1[c]));
      const int fed_back = scale_down_wrapping<13>(int64_t{feedback[c]} * y1[c]);
      cells[c][i] = samples[c][i] = wrap_add(fed_back, samples[c][i]);
    }
  for (int c = 0; c < kChannels; ++c) {
    iircomber* comb = channel[c].comb;
    comb->y1 = y1[c];
    comb->index = advance(comb->index + n - 1, comb->delay);
  }
}

}  // namespace

void iircomber_two_block(const iircomber_channel* two, int n) {
  for (int start = 0; start < n;) {
    int count = std::min(n - start, kBlockFrames);
    for (int c = 0; c < kChannels; ++c)
      count = contiguous(two[c].comb->index, two[c].comb->delay, count);
    if (count >= kFewestBlockFrames)
      run_in_passes(two, start, count);
    else
      for (int c = 0; c < kChannels; ++c) step_by_step(two[c].comb, two[c].samples + start, count);
    start += count;
  }
}
