// The all-pass with AVX2.
#include "dsp/kernels/vectors_avx2.h"
// The kernel proper, in these words.
#include "dsp/kernels/allpass_vectors.h"

void allpass_block_avx2(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
