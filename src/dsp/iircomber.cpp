#include "dsp/iircomber.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/fir_block.h"
#include "dsp/iircomber_block.h"
#include "dsp/loop.h"
#include "dsp/memory.h"
#include "dsp/mix_block.h"

void iircomber_init(iircomber* comb, int n) {
  comb->buffer = allocate<int>(n);
  comb->capacity = n;
  comb->index = 0;
  comb->feedback = 4096;
  comb->b0 = 4096;
  comb->b1 = 4096;
  comb->a1 = 5734;
  comb->delay = 0;
  comb->x1 = comb->y1 = 0;
}

void iircomber_reset(iircomber* comb) {
  comb->index = 0;
  comb->x1 = comb->y1 = 0;
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
  step_by_step(comb, &x, 1);
  return x;
}

namespace {

// A stretch of the loop whose cells don't wait for each other: only the loop filter's recursion
// goes from sample to sample.
void run(iircomber_registers& r, int* cells, int* samples, int n) {
  if (n < 8) {
    for (int i = 0; i < n; ++i) samples[i] = iircomber_step(r, samples[i], cells[i]);
    return;
  }
  int delayed[1 + kBlockFrames], filtered[kBlockFrames];
  int64_t inputs[kBlockFrames];
  delayed[0] = r.x1;
  std::copy_n(cells, n, delayed + 1);
  const int b[] = {r.b0, r.b1};
  fir_sums_block(delayed + 1, b, 2, inputs, n);
  for (int i = 0; i < n; ++i) {
    r.y1 = scale_down_wrapping<13>(wrap_sub64(inputs[i], int64_t{r.a1} * r.y1));
    filtered[i] = r.y1;
  }
  r.x1 = delayed[n];
  const mix_input fed_back = {filtered, r.feedback};
  mix_wrapping_block(&fed_back, 1, filtered, n);
  for (int i = 0; i < n; ++i) cells[i] = samples[i] = wrap_add(filtered[i], samples[i]);
}

}  // namespace

void iircomber_block(iircomber* comb, int* samples, int n) {
  iircomber_registers registers(comb);
  for_each_block(n, [&](int64_t start, int count) {
    comb->index = walk_loop(comb->buffer, comb->index, comb->delay, count,
                            [&](int* cells, int first, int stretch) {
                              run(registers, cells, samples + start + first, stretch);
                            });
  });
  registers.store(comb);
}
