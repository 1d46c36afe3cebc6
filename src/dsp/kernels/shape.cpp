#include "dsp/kernels/shape.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/overdrive.h"

void shape_block(const int* in, int* out, int n) { kernels().shape_block(in, out, n); }

void shape_block_portable(const int* in, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = bit_shift_step(overdrive_step(in[i]));
}
