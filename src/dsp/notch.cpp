#include "dsp/notch.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/notch.h"
#include "dsp/memory.h"

namespace {

constexpr int kWords = 5;

}  // namespace

void notch_init(notch* filter, int radius, int freq) {
  filter->radius = radius;
  filter->freq = freq;
  if (!take(filter->state, kWords)) notch_end(filter);
}

void notch_setcoef(notch* filter, int radius, int freq) {
  filter->radius = radius;
  filter->freq = freq;
  notch_resetstate(filter);
}

void notch_setfi(notch* filter, int freq) { filter->freq = freq; }

void notch_resetstate(notch* filter) {
  if (has_memory(filter)) std::fill_n(filter->state, kWords, int64_t{0});
}

void notch_end(notch* filter) {
  filter->radius = 0;
  filter->freq = 0;
  release(filter->state);
}

void notch_process(notch* filter, int* in, int* out) {
  if (!has_memory(filter)) return pass(in, out, 1);
  notch_block(filter, in, out, 1);
}

// The rule for -1 in a pass of its own: no choice between the steps.
void notch_block(notch* filter, const int* in, int* out, int n) {
  notch_registers registers(filter);
#pragma GCC unroll 2
  for (int i = 0; i < n; ++i) out[i] = wrap32(notch_step(registers, in[i]));
  registers.store(filter);
  for (int i = 0; i < n; ++i) out[i] = silence_minus_one(out[i]);
}

void notch_row_block(notch_share* row, int count, int* x, int n) {
  kernels().notch_row_block(row, count, x, n);
}

void notch_row_block_portable(notch_share* row, int count, int* x, int n) {
  for_each_block(n, [=](int64_t start, int frames) {
    int notched[kBlockFrames];
    for (notch_share* next = row; next < row + count; ++next) {
      notch_block(next->filter, x + start, notched, frames);
      fade_block(&next->share, notched, x + start, frames);
    }
  });
}
