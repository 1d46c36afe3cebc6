// The all-pass with AVX2.
#include "dsp/vectors_avx2_internal.h"
// The kernel proper, in these words.
#include "dsp/allpass_vectors_internal.h"

void allpass_block_avx2(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
