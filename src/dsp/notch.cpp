#include "dsp/notch.h"

#include <algorithm>

#include "dsp/fixed.h"
#include "dsp/memory.h"
#include "dsp/notch_block.h"

namespace {

constexpr int kWords = 5;

}  // namespace

void notch_init(notch* filter, int radius, int freq) {
  filter->radius = radius;
  filter->freq = freq;
  filter->state = allocate<int64_t>(kWords);
}

void notch_setcoef(notch* filter, int radius, int freq) {
  filter->radius = radius;
  filter->freq = freq;
  notch_resetstate(filter);
}

void notch_setfi(notch* filter, int freq) { filter->freq = freq; }

void notch_resetstate(notch* filter) { std::fill_n(filter->state, kWords, int64_t{0}); }

void notch_end(notch* filter) {
  filter->radius = 0;
  filter->freq = 0;
  release(filter->state);
}

void notch_process(notch* filter, int* in, int* out) { notch_block(filter, in, out, 1); }

void notch_block(notch* filter, const int* in, int* out, int n) {
  const int64_t radius = filter->radius, freq = filter->freq;
  const int64_t pole = (radius * freq) >> 28;      // r f, Q13
  const int64_t radius_squared = radius * radius;  // Q26
  int64_t* state = filter->state;
  int64_t x1 = state[0], x2 = state[1], y1 = state[2], y2 = state[3], residue = state[4];
  for (int i = 0; i < n; ++i) {
    const int64_t x = in[i];
    int64_t sum = wrap_add64(residue, wrap_mul64(wrap_add64(x, x2), 8192));  // Q13
    sum = wrap_add64(sum, wrap_mul64(x1, freq) >> 15);
    sum = wrap_sub64(sum, wrap_mul64(pole, y1));
    sum = wrap_sub64(sum, wrap_mul64(radius_squared, y2) >> 13);
    const int64_t y = sum >> 13;
    residue = sum & 0x1FFF;
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
    out[i] = silence_minus_one(wrap32(y));
  }
  state[0] = x1;
  state[1] = x2;
  state[2] = y1;
  state[3] = y2;
  state[4] = residue;
}
