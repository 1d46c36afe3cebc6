#include "dsp/iircomber.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/fir.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/mix.h"
#include "dsp/loop.h"
#include "dsp/memory.h"

void iircomber_init(iircomber* comb, int n) {
  comb->capacity = n;
  comb->index = 0;
  comb->feedback = 4096;
  comb->b0 = 4096;
  comb->b1 = 4096;
  comb->a1 = 5734;
  comb->delay = 0;
  comb->x1 = comb->y1 = 0;
  if (!take(comb->buffer, n)) iircomber_end(comb);
}

void iircomber_reset(iircomber* comb) {
  comb->index = 0;
  comb->x1 = comb->y1 = 0;
  if (!has_memory(comb)) return;
  std::fill_n(comb->buffer, std::max(comb->capacity, 1), 0);
}

void iircomber_end(iircomber* comb) { release(comb->buffer); }

void iircomber_setdelay(iircomber* comb, int n) { comb->delay = std::min(comb->capacity, n); }
void iircomber_getdelay(iircomber* comb, int* n) { *n = comb->delay; }

void iircomber_setfeedback(iircomber* comb, int feedback) { comb->feedback = feedback; }
void iircomber_getfeedback(iircomber* comb, int* feedback) { *feedback = comb->feedback; }

namespace {

void step_by_step(iircomber* comb, int* samples, int n) {
  iircomber_registers registers(comb);
  comb->index =
      walk_loop(comb->buffer, comb->index, comb->delay, n, [&](int* cells, int start, int count) {
        for (int i = 0; i < count; ++i)
          samples[start + i] = iircomber_step(registers, samples[start + i], cells[i]);
      });
  registers.store(comb);
}

}  // namespace

int iircomber_process(int x, iircomber* comb) {
  if (!has_memory(comb)) return x;
  step_by_step(comb, &x, 1);
  return x;
}

namespace {

constexpr int kShort = 8;  // samples: less aren't worth the passes

// A stretch of each channel's loop whose cells don't wait for each other: only the loop filter's
// recursion goes from sample to sample.
template <int channels>
void run(const iircomber_channel* channel, int start, int n) {
  int delayed[1 + kBlockFrames], filtered[channels][kBlockFrames];
  int64_t inputs[channels][kBlockFrames];
  int y1[channels];
  for (int c = 0; c < channels; ++c) {
    iircomber* comb = channel[c].comb;
    delayed[0] = comb->x1;
    std::copy_n(comb->buffer + comb->index, n, delayed + 1);
    const int b[] = {comb->b0, comb->b1};
    fir_sums_block(delayed + 1, b, 2, inputs[c], n);
    comb->x1 = comb->buffer[comb->index + n - 1];
    y1[c] = comb->y1;
  }
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < channels; ++c) {
      const int64_t fed_back = int64_t{channel[c].comb->a1} * y1[c];
      filtered[c][i] = y1[c] = scale_down_wrapping<13>(wrap_sub64(inputs[c][i], fed_back));
    }
  for (int c = 0; c < channels; ++c) {
    iircomber* comb = channel[c].comb;
    comb->y1 = y1[c];
    const mix_input fed_back = {filtered[c], comb->feedback};
    mix_wrapping_block(&fed_back, 1, filtered[c], n);
    int *cells = comb->buffer + comb->index, *samples = channel[c].samples + start;
    for (int i = 0; i < n; ++i) cells[i] = samples[i] = wrap_add(filtered[c][i], samples[i]);
    comb->index = advance(comb->index + n - 1, comb->delay);
  }
}

template <int channels>
void run_stretches(const iircomber_channel* channel, int n) {
  for (int start = 0; start < n;) {
    int count = std::min(n - start, kBlockFrames);
    for (int c = 0; c < channels; ++c)
      count = in_a_row(channel[c].comb->index, channel[c].comb->delay, count);
    if (count >= kShort)
      run<channels>(channel, start, count);
    else
      for (int c = 0; c < channels; ++c)
        step_by_step(channel[c].comb, channel[c].samples + start, count);
    start += count;
  }
}

}  // namespace

void iircomber_block(iircomber* comb, int* samples, int n) {
  const iircomber_channel channel = {comb, samples};
  run_stretches<1>(&channel, n);
}

void iircomber_two_block(const iircomber_channel* two, int n) { run_stretches<2>(two, n); }
