// The arithmetic of the transforms in 32 bits.
//
// The 16-bit transform's results are rounded once: (a 2^15 + r) / 2^(15 + shift), r = c b - ..., a
// sum of two products. For a sine and a cosine of one angle r fits in 32 bits, and since a 2^15 has
// no bits to round, it can be added after r is scaled down.
#pragma once

#include <cstdint>

#include "fixed.h"

template <int shift>
inline int butterfly_result(int a, int r) {
  return saturate16((a + ((r + (1 << (14 + shift))) >> 15)) >> shift);
}
