#include "dsp/kernels/scale.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

void scale_down_5_block(const int64_t* x, int* out, int n) {
  kernels().scale_down_5_block(x, out, n);
}

void scale_down_5_block_portable(const int64_t* x, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<5>(x[i]);
}
