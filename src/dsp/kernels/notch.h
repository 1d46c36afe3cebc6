// The notch's step, and the notch over a block.
#pragma once

#include "dsp/kernels/fade.h"
#include "dsp/notch.h"
#include "fixed.h"

// A notch in registers: construct from the object, step over a block, store.
struct notch_registers {
  int64_t freq;            // f, Q28
  int64_t pole;            // r f, Q13
  int64_t radius_squared;  // r^2, Q26
  int64_t x1, x2, y1, y2, residue;

  explicit notch_registers(const notch* filter)
      : freq(filter->freq),
        pole((int64_t{filter->radius} * filter->freq) >> 28),
        radius_squared(int64_t{filter->radius} * filter->radius),
        x1(filter->state[0]),
        x2(filter->state[1]),
        y1(filter->state[2]),
        y2(filter->state[3]),
        residue(filter->state[4]) {}

  void store(notch* filter) const {
    filter->state[0] = x1;
    filter->state[1] = x2;
    filter->state[2] = y1;
    filter->state[3] = y2;
    filter->state[4] = residue;
  }
};

// x + x[n-2] + f x[n-1] - r f y[n-1] - r^2 y[n-2] and the residue, in Q13.
// What comes out is its low 32 bits, -1 as 0.
inline int64_t notch_step(notch_registers& r, int in) {
  const int64_t x = in;
  int64_t sum =
      wrap_sub64(wrap_mul64(r.x1, r.freq) >> 15, wrap_mul64(r.radius_squared, r.y2) >> 13);
  sum = wrap_add64(sum, wrap_mul64(wrap_add64(x, r.x2), 8192));
  sum = wrap_add64(sum, r.residue);
  sum = wrap_sub64(sum, wrap_mul64(r.pole, r.y1));  // last: it depends on the latest result
  const int64_t y = sum >> 13;
  r.residue = sum & 0x1FFF;
  r.x2 = r.x1;
  r.x1 = x;
  r.y2 = r.y1;
  r.y1 = y;
  return y;
}

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of notch_process.
void notch_block(notch* filter, const int* in, int* out, int n);

// n samples in place through count notches in a row, each with a share of its own in its output;
// the same bits as notch_block and fade_block for one notch after the other. n < 1 does nothing.
struct notch_share {
  notch* filter;
  fade share;
};
void notch_row_block(notch_share* row, int count, int* x, int n);

// The variants.
void notch_row_block_portable(notch_share* row, int count, int* x, int n);
void notch_row_block_avx2(notch_share* row, int count, int* x, int n);
