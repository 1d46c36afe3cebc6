// Weighted sums with AVX2.
#include "dsp/kernels/vectors_avx2.h"
// The kernels proper, in these words.
#include "dsp/kernels/mix_vectors.h"

void mix_three_block_avx2(const mix_input* three, int* out, int n) { mix_three(three, out, n); }

void mix_wrapping_block_avx2(const mix_input* inputs, int count, int* out, int n) {
  mix_wrapping(inputs, count, out, n);
}
