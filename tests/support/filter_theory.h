// What theory says about the filters of a crossover, checked on the coefficients in force.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "effects/spectral_band_split.h"

// The response of a Q28 set b0, b1, b2, -a1, -a2 in real numbers.
inline std::complex<double> response(const int* c, double frequency, double rate) {
  const auto z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  return (double(c[0]) + double(c[1]) * z + double(c[2]) * z * z) /
         (268435456.0 - double(c[3]) * z - double(c[4]) * z * z);
}

inline double magnitude(const int* c, double frequency, double rate) {
  return std::abs(response(c, frequency, rate));
}

// 1 at 0 Hz and 3 dB down within 1 % of the corner.
inline void expect_low_pass(const int* c, double corner, double rate) {
  EXPECT_NEAR(magnitude(c, 0.0, rate), 1.0, 1e-3);
  EXPECT_GT(magnitude(c, 0.99 * corner, rate), std::sqrt(0.5));
  EXPECT_LT(magnitude(c, 1.01 * corner, rate), std::sqrt(0.5));
}

// 1 at half the rate and 3 dB down within 1 % of the corner.
inline void expect_high_pass(const int* c, double corner, double rate) {
  EXPECT_NEAR(magnitude(c, rate / 2.0, rate), 1.0, 1e-3);
  EXPECT_LT(magnitude(c, 0.99 * corner, rate), std::sqrt(0.5));
  EXPECT_GT(magnitude(c, 1.01 * corner, rate), std::sqrt(0.5));
}

// The numerator is the denominator reversed (1.0 at its end as 2^28 - 1), and the section is
// stable.
inline void expect_allpass(const int* c) {
  EXPECT_EQ(c[0], -c[4]);
  EXPECT_EQ(c[1], -c[3]);
  EXPECT_EQ(c[2], 268435455);
  EXPECT_LT(std::abs(c[4]), 268435456);
}

// Two equal low-passes and two equal high-passes at one corner, with the same poles.
inline void expect_crossover(const spectral_band_split* split, double corner, double rate) {
  for (int k = 0; k < 2; ++k) {
    expect_low_pass(split->low[k]->coef, corner, rate);
    expect_high_pass(split->high[k]->coef, corner, rate);
    for (int pole : {3, 4}) EXPECT_EQ(split->low[k]->coef[pole], split->high[k]->coef[pole]);
  }
  for (int word = 0; word < 5; ++word) {
    EXPECT_EQ(split->low[0]->coef[word], split->low[1]->coef[word]);
    EXPECT_EQ(split->high[0]->coef[word], split->high[1]->coef[word]);
  }
}
