// The all-pass with NEON.
#include "dsp/vectors_neon_internal.h"
// The kernel proper, in these words.
#include "dsp/allpass_vectors_internal.h"

void allpass_block_neon(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
