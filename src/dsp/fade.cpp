#include "dsp/fade_block.h"

#include <algorithm>

#include "dsp/fixed.h"
#include "dsp/kernels.h"

int fade_block(const int* other, int* x, int depth, int step, int n) {
  return kernels().fade_block(other, x, depth, step, n);
}

// A weighted mean of 32-bit words: it fits.
int fade_block_portable(const int* other, int* x, int depth, int step, int n) {
  for (int i = 0; i < n; ++i) {
    depth = std::clamp(depth + step, 0, kFadeFull);
    x[i] = wrap32((int64_t{kFadeFull - depth} * x[i] + int64_t{depth} * other[i]) >> 20);
  }
  return depth;
}
