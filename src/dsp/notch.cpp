#include "dsp/notch.h"

#include <algorithm>

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
