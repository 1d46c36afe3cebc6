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

// A contiguous run of each channel's loop, n <= kBlockFrames, in passes. Exact because within it no
// cell depends on another: of iircomber_step only the loop filter's recursion goes from sample to
// sample, and its sums are the same products in another order, with 64-bit addition that wraps.
void run_in_passes(const iircomber_channel* channel, int start, int n) {
  int delayed[1 + kBlockFrames];  // -1 .. n-1: [0] is -1
  int filtered[kChannels][kBlockFrames];
  int64_t inputs[kChannels][kBlockFrames];
  int y1[kChannels];
  for (int c = 0; c < kChannels; ++c) {
    iircomber* comb = channel[c].comb;
    delayed[0] = comb->x1;
    std::copy_n(comb->buffer + comb->index, n, delayed + 1);
    const int b[] = {comb->b0, comb->b1};
    kernels().fir_sums(delayed + 1, b, 2, inputs[c], n);
    comb->x1 = comb->buffer[comb->index + n - 1];
    y1[c] = comb->y1;
  }
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < kChannels; ++c) {
      const int64_t fed_back = int64_t{channel[c].comb->a1} * y1[c];
      filtered[c][i] = y1[c] = scale_down_wrapping<13>(wrap_sub64(inputs[c][i], fed_back));
    }
  for (int c = 0; c < kChannels; ++c) {
    iircomber* comb = channel[c].comb;
    comb->y1 = y1[c];
    const mix_input fed_back = {filtered[c], comb->feedback};
    kernels().mix_wrapping_q13(&fed_back, 1, filtered[c], n);
    int *cells = comb->buffer + comb->index, *samples = channel[c].samples + start;
    for (int i = 0; i < n; ++i) cells[i] = samples[i] = wrap_add(filtered[c][i], samples[i]);
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
