#include "dsp/kernels/comber.h"

#include "dsp/loop.h"

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

void comb_block_add_16(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kCombBits16>(comb, in, sum, n);
}

void comb_block_add_24(comber* comb, const int* in, int* sum, int n) {
  comb_block_add<kCombBits24>(comb, in, sum, n);
}
