// Logarithm, sigmoid and division of the band post-processing.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "ns/band_post_tables.inc"

// ln(value) in Q8: a binary logarithm from the eight bits after the leading one, times ln 2,
// rounded down. The result is at most 2.3 steps below and 0.4 above the exact value. 0 has no
// logarithm and gives 0.
inline int log_q8(uint32_t value) {
  if (value == 0) return 0;
  const int zeros = std::countl_zero(value);
  const int log2 = kLog2Fraction[((value << zeros) >> 23) & 255] + 256 * (31 - zeros);
  return (log2 * 45426) >> 16;  // 45426 / 65536 = ln 2
}

// num / den in Q15, rounded down, for 0 <= num <= den; num == den gives 32767. Anything else has no
// result: a message to standard output, then exit(0), which flushes it. The sigmoid never divides
// by 0; that message is part of the interface all the same.
inline short s16_div_s16_s16(short num, short den) {
  if (num > den || num < 0 || den < 0) {
    std::printf("Division Error var1=%d  var2=%d\n", num, den);
    std::exit(0);
  }
  if (den == 0) {
    std::puts("Division by 0, Fatal error ");
    std::exit(0);
  }
  if (num == den) return 32767;
  return static_cast<short>((num << 15) / den);
}

constexpr unsigned kSigmoidEnd = 19 * 32768;  // the first magnitude beyond the table of e^k

// 1 / (1 + e^-x), x and result in Q15. 0 gives 16383; from 11.1 on (e^a beyond 31 bits) the result
// is 32767, or 0 on the negative side. The series of e^f ends with its fourth power and truncates
// its terms: the result is within 26 steps of the exact value. At a magnitude of 19.0 or more
// (622592) it ends the process: the division has no result.
inline short sigmoid(int x) {
  const unsigned a = x < 0 ? 0u - static_cast<unsigned>(x) : static_cast<unsigned>(x);
  if (a >= kSigmoidEnd) return s16_div_s16_s16(x > 0 ? INT16_MAX : 0, INT16_MIN);

  // e^a = e^k e^f with the whole part k from the table. Powers of f in Q15, then over 2, 6, 24.
  const int f = static_cast<int>(a & 32767);
  const int f2 = (f * f) >> 15, f3 = (f2 * f) >> 15, f4 = (f3 * f) >> 15;
  const int64_t series =
      32767 + ((f * 32767) >> 15) + ((f * f) >> 16) + ((f3 * 5461) >> 15) + ((f4 * 1365) >> 15);
  const int64_t e = std::min<int64_t>((kExponential[a >> 15] * series) >> 8, INT32_MAX);
  const int64_t d = std::min<int64_t>(e + 32767, INT32_MAX);

  // The quotient is taken from the top 15 bits of d and the bits of the numerator at the same
  // place.
  const int norm = std::countl_zero(static_cast<uint32_t>(d)) - 1;
  const int64_t numerator = x > 0 ? e : 32767;
  return s16_div_s16_s16(static_cast<short>((numerator << norm) >> 16),
                         static_cast<short>((d << norm) >> 16));
}
