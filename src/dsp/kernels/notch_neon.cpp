#include "dsp/kernels/kernels.h"

// A NEON vector holds two 64-bit lanes, too few to gain over four portable notches that overlap.
void neon::notch_row(notch_share* row, int count, int* x, int n) {
  portable::notch_row(row, count, x, n);
}
