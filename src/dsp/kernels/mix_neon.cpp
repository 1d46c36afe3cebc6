// Weighted sums with NEON.
#include "dsp/kernels/vectors_neon.h"
// The kernels proper, in these words.
#include "dsp/kernels/mix_vectors.h"

void mix_three_block_neon(const mix_input* three, int* out, int n) { mix_three(three, out, n); }

void mix_wrapping_block_neon(const mix_input* inputs, int count, int* out, int n) {
  mix_wrapping(inputs, count, out, n);
}
