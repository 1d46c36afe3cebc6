// The notch's step, the notch over a block, and four notches side by side.
#pragma once

#include "dsp/kernels/kernels.h"
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

constexpr int kNotchLanes = 4;

// Four notches of a row with their shares, a notch in each 64-bit lane.
struct alignas(32) notch_lanes {
  int64_t freq[kNotchLanes], pole[kNotchLanes], radius_squared[kNotchLanes];
  int64_t x1[kNotchLanes], x2[kNotchLanes], y1[kNotchLanes], y2[kNotchLanes];
  int64_t residue[kNotchLanes];
  int64_t depth[kNotchLanes], step[kNotchLanes];  // Q20
};

// False if one of the 32-bit factors (settings, x1, x2, share) doesn't fit, or a share is out of its
// range.
bool load_lanes(notch_lanes* lanes, const notch_share* row);

// State and shares back; x1 and x2 are the low 32 bits.
void store_lanes(const notch_lanes& lanes, notch_share* row);
