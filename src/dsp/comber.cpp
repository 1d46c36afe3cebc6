#include "dsp/comber.h"

#include <algorithm>

#include "dsp/kernels/comber.h"
#include "dsp/loop.h"
#include "dsp/memory.h"

namespace {

template <int bits>
void comb_block_add(comber* comb, const int* in, int* sum, int n) {
  const int feedback = comb->feedback, damp1 = comb->damp1, damp2 = comb->damp2;
  int store = comb->filter_store;
  comb->index =
      walk_loop(comb->buffer, comb->index, comb->length, n, [&](int* cells, int start, int count) {
        for (int i = start; i < start + count; ++i) {
          const int out = comb_step<bits>(in[i], *cells++, store, feedback, damp1, damp2);
          sum[i] = wrap_add(sum[i], out);
        }
      });
  comb->filter_store = store;
}

}  // namespace

void comb_init(comber* comb, int n) {
  comb->feedback = 4096;
  comb->filter_store = 0;
  comb_setsetdamp(comb, 8192);
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
  comb->damp2 = wrap_sub(8192, damp);
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

void comb_block_add_16(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kCombBits16>(comb, in, sum, n);
}

void comb_block_add_24(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kCombBits24>(comb, in, sum, n);
}
