#include "dsp/kernels/allpass.h"

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "dsp/loop.h"

void portable::allpass_block(allpass* section, int* samples, int n) {
  const int feedback_q13 = section->feedback;
  section->index = walk_loop(
      section->buffer, section->index, section->length, n, [=](int* cells, int start, int count) {
        for (int i = 0; i < count; ++i)
          samples[start + i] = allpass_step(samples[start + i], cells[i], feedback_q13);
      });
}

void walk_allpass_of_half(allpass* section, int* samples, int n,
                          void (*kernel)(int* cells, int* samples, int count)) {
  if (section->feedback != kOneQ13 / 2 || n < kFewestBlockFrames)
    return portable::allpass_block(section, samples, n);
  section->index =
      walk_loop(section->buffer, section->index, section->length, n,
                [=](int* cells, int start, int count) { kernel(cells, samples + start, count); });
}
