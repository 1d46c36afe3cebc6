#include <algorithm>

#include "dsp/kernels/fade.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

void fade_block(fade* f, const int* other, int* x, int n) {
  if (n < 1) return;
  const int first = std::clamp(saturate_add(f->depth, f->step), 0, kFadeFull);
  const int step = std::clamp(f->step, -kFadeFull, kFadeFull);
  fade within = {first - step, step};
  kernels().fade_block(&within, other, x, n);
  f->depth = within.depth;
}

// A weighted mean of 32-bit words: it fits.
void fade_block_portable(fade* f, const int* other, int* x, int n) {
  int depth = f->depth;
  for (int i = 0; i < n; ++i) {
    depth = std::clamp(depth + f->step, 0, kFadeFull);
    x[i] = wrap32((int64_t{kFadeFull - depth} * x[i] + int64_t{depth} * other[i]) >> 20);
  }
  f->depth = depth;
}
