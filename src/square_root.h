// Square roots of 32-bit words.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

// Square root of x, rounded to the nearest integer, digit by digit from the trial bit first_bit (a
// power of four not below the largest power of four in x) down to 1.
template <unsigned int first_bit>
constexpr unsigned int rounded_sqrt(unsigned int x) {
  unsigned int remainder = x, root = 0;
#pragma GCC unroll 16
  for (unsigned int bit = first_bit; bit != 0; bit >>= 2) {
    const unsigned int trial = root + bit;
    root >>= 1;
    if (remainder >= trial) {
      remainder -= trial;
      root += bit;
    }
  }
  return remainder > root ? root + 1 : root;
}

// Roots by the highest eight bits: of the middle word of those that share them.
inline constexpr auto kRoots = [] {
  std::array<uint16_t, 256> roots = {};
  for (unsigned top = 0; top < 256; ++top)
    roots[top] = static_cast<uint16_t>(rounded_sqrt<1u << 30>(top << 24 | 1u << 23));
  return roots;
}();

// Square root of x, rounded down. A mean of r and x / r, both whole, is never below it, and with the
// error of r below 180 = sqrt(2^15) less than 1 above.
constexpr unsigned int floor_sqrt(unsigned int x) {
  const int shift = std::countl_zero(x | 1) & ~1;
  const unsigned int scaled = x << shift, near = kRoots[scaled >> 24];
  const unsigned int above = (near + scaled / near) / 2;
  return (above - (uint64_t{above} * above > scaled)) >> (shift / 2);
}

// Square root of a Q16 value in Q16, over the full unsigned range, rounded to the nearest Q8: the low
// 8 bits of the result are 0, because the root of a Q16 number is a Q8 one.
constexpr unsigned int sqrtFxQ16(unsigned int x) {
  const unsigned int root = floor_sqrt(x);
  return (root + (x - root * root > root)) << 8;
}
