#include "dsp/iircomber.h"

#include <algorithm>

#include "dsp/kernels/iircomber.h"
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

int iircomber_process(int x, iircomber* comb) {
  if (!has_memory(comb)) return x;
  iircomber_registers registers(comb);
  const int y = iircomber_step(registers, x, comb->buffer[comb->index]);
  registers.store(comb);
  comb->index = advance(comb->index, comb->delay);
  return y;
}
