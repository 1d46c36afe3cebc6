#include "dsp/comber.h"

#include <algorithm>

#include "dsp/comber_block.h"
#include "dsp/fixed.h"
#include "dsp/loop.h"
#include "dsp/memory.h"

namespace {

constexpr int kBits16 = 13;  // a 16-bit sample stands 13 bits up inside the loop
constexpr int kBits24 = 5;

template <int bits>
void comb_block_add(comber* comb, const int* in, int* sum, int n) {
  const int feedback = comb->feedback, damp1 = comb->damp1, damp2 = comb->damp2;
  int store = comb->filter_store;
  comb->index =
      walk_loop(comb->buffer, comb->index, comb->length, n, [&](int* cells, int start, int count) {
        for (int i = 0; i < count; ++i) {
          const int delayed = cells[i];
          store = scale_down<13>(mac(int64_t{damp2} * delayed, damp1, store));
          cells[i] =
              wrap_add(scale_down<13>(int64_t{feedback} * store), wrap_shl(in[start + i], bits));
          sum[start + i] = wrap_add(sum[start + i], silence_minus_one(delayed >> bits));
        }
      });
  comb->filter_store = store;
}

}  // namespace

void comb_init(comber* comb, int n) {
  comb->feedback = 4096;
  comb->filter_store = 0;
  comb_setsetdamp(comb, 8192);
  comb->buffer = allocate<int>(n);
  comb->length = n;
  comb->index = 0;
}

void comb_reset(comber* comb) {
  comb->index = 0;
  comb->filter_store = 0;
  std::fill_n(comb->buffer, std::max(comb->length, 1), 0);
}

void comb_end(comber* comb) { release(comb->buffer); }

void comb_setfeedback(comber* comb, int feedback) { comb->feedback = feedback; }

void comb_setsetdamp(comber* comb, int damp) {
  comb->damp1 = damp;
  comb->damp2 = wrap_sub(8192, damp);
}

int comb_process_16(int x, comber* comb) {
  int out = 0;
  comb_block_add_16(comb, &x, &out, 1);
  return out;
}

int comb_process_24(int x, comber* comb) {
  int out = 0;
  comb_block_add_24(comb, &x, &out, 1);
  return out;
}

void comb_block_add_16(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kBits16>(comb, in, sum, n);
}

void comb_block_add_24(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kBits24>(comb, in, sum, n);
}
