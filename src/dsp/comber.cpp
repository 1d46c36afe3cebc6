#include "dsp/comber.h"

#include <algorithm>

#include "dsp/kernels/comber.h"
#include "dsp/memory.h"

void comb_init(comber* comb, int n) {
  comb->feedback = 4096;
  comb->filter_store = 0;
  comb_setsetdamp(comb, kOneQ13);
  comb->length = n;
  comb->index = 0;
  if (!take(comb->buffer, n)) comb_end(comb);
}

void comb_reset(comber* comb) {
  comb->index = 0;
  comb->filter_store = 0;
  if (!has_memory(comb)) return;
  std::fill_n(comb->buffer, std::max(comb->length, 1), 0);
}

void comb_end(comber* comb) { release(comb->buffer); }

void comb_setfeedback(comber* comb, int feedback) { comb->feedback = feedback; }

void comb_setsetdamp(comber* comb, int damp) {
  comb->damp1 = damp;
  comb->damp2 = wrap_sub(kOneQ13, damp);
}

int comb_process_16(int x, comber* comb) {
  if (!has_memory(comb)) return x;
  int out = 0;
  comb_block_add_16(comb, &x, &out, 1);
  return out;
}

int comb_process_24(int x, comber* comb) {
  if (!has_memory(comb)) return x;
  int out = 0;
  comb_block_add_24(comb, &x, &out, 1);
  return out;
}
