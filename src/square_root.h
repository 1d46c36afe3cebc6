// The digit-by-digit square root of sqrt_fixed and the bass compressor.
#pragma once

// Square root of x, rounded to the nearest integer, from the trial bit first_bit (a power of four
// not below the largest power of four in x) down to 1.
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

// Square root of a Q16 value in Q16, over the full unsigned range; the low 8 bits of the result
// are 0, because the root of a Q16 number is a Q8 one.
constexpr unsigned int sqrtFxQ16(unsigned int x) { return rounded_sqrt<1u << 30>(x) << 8; }
