// Scaling down on NEON, four samples at a time; the narrowing shift saturates as wanted.
#include "dsp/kernels/scale.h"
#include "dsp/kernels/vectors_neon.h"

void scale_down_5_block_neon(const int64_t* x, int* out, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const vector y = vqshrn_high_n_s64(vqshrn_n_s64(vld1q_s64(x + i), 5), vld1q_s64(x + i + 2), 5);
    store(out + i, silence_minus_one(y));
  }
  scale_down_5_block_portable(x + i, out + i, n - i);
}
