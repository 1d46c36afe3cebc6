#include "dsp/allpass.h"

#include <algorithm>

#include "dsp/kernels/allpass.h"
#include "dsp/kernels/kernels.h"
#include "dsp/loop.h"
#include "dsp/memory.h"

void allpass_init(allpass* section, int n) {
  section->length = n;
  section->index = 0;
  section->feedback = 4096;
  if (!take(section->buffer, n)) allpass_end(section);
}

void allpass_reset(allpass* section) {
  section->index = 0;
  if (!has_memory(section)) return;
  std::fill_n(section->buffer, std::max(section->length, 1), 0);
}

void allpass_end(allpass* section) { release(section->buffer); }

void allpass_setfeedback(allpass* section, int feedback) { section->feedback = feedback; }
void allpass_getfeedback(allpass* section, int* feedback) { *feedback = section->feedback; }

int allpass_process(int x, allpass* section) {
  if (!has_memory(section)) return x;
  allpass_block_portable(section, &x, 1);
  return x;
}

void allpass_block(allpass* section, int* samples, int n) {
  kernels().allpass_block(section, samples, n);
}

void allpass_block_portable(allpass* section, int* samples, int n) {
  const int feedback = section->feedback;
  section->index = walk_loop(
      section->buffer, section->index, section->length, n, [=](int* cells, int start, int count) {
        for (int i = 0; i < count; ++i)
          samples[start + i] = allpass_step(samples[start + i], cells[i], feedback);
      });
}

void walk_allpass_of_half(allpass* section, int* samples, int n,
                          void (*kernel)(int* cells, int* samples, int count)) {
  if (section->feedback != 4096 || n < 8) return allpass_block_portable(section, samples, n);
  section->index =
      walk_loop(section->buffer, section->index, section->length, n,
                [=](int* cells, int start, int count) { kernel(cells, samples + start, count); });
}
