// The gramophone's bent curve and its grit, sample by sample.
#pragma once

#include <cstdint>

#include "fixed.h"

// Limits of the overdrive's pieces, on the magnitude of d = 2x: a third and two thirds of 2^23.
constexpr int kLinearLimit = 2796201;
constexpr int kSoftLimit = 5592404;
constexpr int kCeiling = 8388607;  // 24-bit full scale, on both sides

// x ──► d = 2x, a = |d|, both wrapping
//         a <= 2796201   y = 2d
//         a <= 5592404   y = +-(8388607 - t^2 / (6 * 2^22)), t = 16777214 - 3a
//         else           y = +-8388607
//
// The pieces join: 5592400 and 5592405 at the inputs around the first limit, 8388607 twice around
// the second. 3a stands for 6x or, where d is negative, -6x: the same at 32 bits, also where 2x has
// wrapped. All three are worked out and one is chosen, so that the cost does not depend on the signal.
inline int overdrive_step(int x) {
  const int d = wrap_shl(x, 1);
  const int a = d < 0 ? wrap_neg(d) : d;  // stays -2^31 for d = -2^31, which takes the linear piece
  const uint32_t t = 2U * kCeiling - 3U * static_cast<uint32_t>(a);  // 2..8388611 where used
  // t^2 / 6 / 2^22 rounded down twice is t^2 / 2^23 / 3 rounded down twice.
  const int bend = static_cast<int>(static_cast<uint32_t>(uint64_t{t} * t >> 23) / 3);
  const int magnitude = a <= kSoftLimit ? kCeiling - bend : kCeiling;
  return a <= kLinearLimit ? wrap_shl(d, 1) : d > 0 ? magnitude : -magnitude;
}

// A negative value's term is its low 16 bits read as a negative number, plus 1.
inline int bit_shift_step(int y) {
  const int low = y & 0xFFFF;
  return wrap_add(y, y < 0 ? low - 0xFFFF : low);
}
