// The dot product of a polyphase filter.
#pragma once

#include <cstdint>

#include "fixed.h"

// Sum of row[j] x[j] (Q15 x samples), rounded and saturated to a sample. Each half of a row, and each
// half of its words taken eight by eight in turns, has absolute values that add up to less than 2.0,
// so that half of the sum fits in 32 bits.
inline int16_t dot_product_q15(const int16_t* row, const int16_t* x, int taps) {
  int older = 0, newer = 0;
  for (int j = 0; j < taps / 2; ++j) older += row[j] * x[j];
  for (int j = taps / 2; j < taps; ++j) newer += row[j] * x[j];
  return saturate16(static_cast<int>((int64_t{older} + newer + 16384) >> 15));
}
