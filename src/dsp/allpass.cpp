#include "dsp/allpass.h"

#include <algorithm>

#include "dsp/kernels/kernels.h"
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
  portable::allpass_block(section, &x, 1);
  return x;
}
