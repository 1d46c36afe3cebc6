// The echo comb's step, and the echo comb over a block.
#pragma once

#include "dsp/iircomber.h"
#include "fixed.h"

// A comb in registers, all but its loop: construct from the object, step over a block, store.
struct iircomber_registers {
  int feedback, b0, b1, a1;
  int x1, y1;

  explicit iircomber_registers(const iircomber* comb)
      : feedback(comb->feedback),
        b0(comb->b0),
        b1(comb->b1),
        a1(comb->a1),
        x1(comb->x1),
        y1(comb->y1) {}

  void store(iircomber* comb) const {
    comb->x1 = x1;
    comb->y1 = y1;
  }
};

// One sample through one cell of the loop:
//   cell ──► loop filter ──► × feedback ──► + ──┬──► out
//                                  x ───────┘   └──► cell
inline int iircomber_step(iircomber_registers& r, int x, int& cell) {
  const int64_t sum = mac(int64_t{r.b0} * cell, r.b1, r.x1);
  r.y1 = scale_down_wrapping<13>(wrap_sub64(sum, int64_t{r.a1} * r.y1));
  r.x1 = cell;
  return cell = wrap_add(scale_down_wrapping<13>(int64_t{r.feedback} * r.y1), x);
}

// n samples of two channels in place, in one pass, as their recursions overlap in time; n < 1 does
// nothing. The same bits as n calls of iircomber_process for each.
struct iircomber_channel {
  iircomber* comb;
  int* samples;
};
void iircomber_two_block(const iircomber_channel* two, int n);
