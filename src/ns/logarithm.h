// Natural logarithm and exponential of the noise suppressor, both through base 2 with a table of
// 256 steps per octave and straight lines between them: ln within 0.6 steps of Q12, exp within
// 2e-5 of the value and a step.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "ns/logarithm_tables.inc"

// ln(value) in Q12, rounded; value is at least 1.
inline int ln_q12(uint64_t value) {
  const int top = static_cast<int>(std::bit_width(value)) - 1;
  // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): top is 0 or more.
  const uint64_t fraction = (value << (63 - top)) & INT64_MAX;  // after the leading one, Q63
  const int step = static_cast<int>(fraction >> 55);
  const int64_t rest = static_cast<int64_t>((fraction >> 39) & 0xFFFF);
  const int64_t low = kLog2Steps[step], high = kLog2Steps[step + 1];
  const int64_t log2 = (int64_t{top} << 16) + low + (((high - low) * rest + 32768) >> 16);
  constexpr int64_t kLn2 = 2977044472;  // Q32
  return static_cast<int>((log2 * kLn2 + (int64_t{1} << 35)) >> 36);
}

// ln(value) in Q8.
inline int ln_q8(uint64_t value) { return (ln_q12(value) + 8) >> 4; }

// e^x with fraction_bits (0..30) fractional bits, rounded down, saturated to 32 bits; x in Q12, at
// most 32 bits wide.
inline uint32_t exp_q12(int64_t x, int fraction_bits) {
  constexpr int64_t kPerLn2 = 387270501;      // 1 / ln 2, Q28
  const int64_t power = (x * kPerLn2) >> 24;  // of 2, Q16
  const int64_t octave = power >> 16;
  const int64_t step = (power >> 8) & 255, rest = power & 255;
  const int64_t low = kPower2Steps[step], high = kPower2Steps[step + 1];
  const int64_t mantissa = low + (((high - low) * rest) >> 8);  // 1..2, Q30
  const int64_t shift = 30 - fraction_bits - octave;            // to the right
  if (shift >= 31) return 0;
  if (shift <= -2) return UINT32_MAX;
  return static_cast<uint32_t>(shift >= 0 ? mantissa >> shift : mantissa << -shift);
}
