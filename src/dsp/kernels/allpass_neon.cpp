// The all-pass with NEON.
#include "dsp/kernels/vectors_neon.h"
// The kernel proper, in these words.
#include "dsp/kernels/allpass_vectors.h"

void allpass_block_neon(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
