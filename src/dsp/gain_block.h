// A Q13 gain over a block.
#pragma once

#include "dsp/fixed.h"

// out = in * gain / 8192, rounded down, saturated, -1 becomes 0; in place allowed.
inline void gain_block(const int* in, int gain, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<13>(int64_t{in[i]} * gain);
}
