#include "dsp/fixed_math.h"

#include "fixed.h"
#include "square_root.h"

namespace {

// Q16, rounded.
constexpr int kLn2[] = {45426, 90852, 181704, 363409, 726817};                // 1, 2, 4, 8, 16 ln 2
constexpr int kLnOnePlus[] = {0, 26573, 14624, 7719, 3973, 2017, 1016, 510};  // ln(1 + 2^-k)
constexpr int kLn32768 = 681391;

}  // namespace

int sqrt_fixed(unsigned int x) { return static_cast<int>(rounded_sqrt<1u << 14>(x)); }

// Takes k ln 2 and ln(1 + 2^-k) out of x while it stays non-negative, and multiplies y by what was
// taken; what is left, below 2^-7, follows e^d = 1 + d bit by bit.
int exp_fixed(int x) {
  int y = 65536;
#pragma GCC unroll 4
  for (int k = 3; k >= 0; --k) {
    if (x >= kLn2[k]) {
      x = wrap_sub(x, kLn2[k]);
      y = wrap_shl(y, 1 << k);
    }
  }
#pragma GCC unroll 7
  for (int k = 1; k <= 7; ++k) {
    if (x >= kLnOnePlus[k]) {
      x = wrap_sub(x, kLnOnePlus[k]);
      y = wrap_add(y, y >> k);
    }
  }
#pragma GCC unroll 9
  for (int bit = 8; bit >= 0; --bit) {
    if ((x >> bit) & 1) y = wrap_add(y, y >> (16 - bit));
  }
  return y;
}

// Scales x up towards 2^31 by powers of two and by 1 + 2^-k, and takes each factor's logarithm off
// ln 32768 (which is what 2^31 stands for in Q16); the rest is linear.
int log_fixed(unsigned int x) {
  int y = kLn32768;
  const auto scale_below = [&](unsigned int limit, int log2_bits, int ln) {
    if (x < limit) {
      x <<= log2_bits;
      y -= ln;
    }
  };
  scale_below(1u << 15, 16, kLn2[4]);
  scale_below(1u << 23, 8, kLn2[3]);
  scale_below(1u << 27, 4, kLn2[2]);
  scale_below(1u << 29, 2, kLn2[1]);
  scale_below(1u << 30, 1, kLn2[0]);
#pragma GCC unroll 7
  for (int k = 1; k <= 7; ++k) {
    const int scaled = wrap_add(static_cast<int>(x), static_cast<int>(x) >> k);
    if (scaled >= 0) {
      x = static_cast<unsigned int>(scaled);
      y -= kLnOnePlus[k];
    }
  }
  return y - static_cast<int>(((int64_t{1} << 31) - x) >> 15);
}
