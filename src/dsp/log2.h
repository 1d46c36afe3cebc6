// Levels of powers, in integers: 1024 is a factor of two (3.01 dB).
#pragma once

#include <bit>
#include <cstdint>

constexpr int kOctave = 1024;

// Decibels of power as a level difference.
constexpr int level_of_db(double db) { return static_cast<int>(db * 340.1654); }

// log2(power) in Q10, 0 for 0; off by 0.008 at most, which is 0.03 dB. Between powers of two,
// log2(1 + m) is taken as m + 0.344 m (1 - m).
inline int log2_q10(uint64_t power) {
  if (power == 0) return 0;
  const int exponent = static_cast<int>(std::bit_width(power)) - 1;
  const uint64_t aligned = exponent > 20 ? power >> (exponent - 20) : power << (20 - exponent);
  const int m = static_cast<int>(aligned >> 10) & 1023;
  return exponent * kOctave + m + ((m * (1024 - m) >> 10) * 352 >> 10);
}
