// What theory says about a filter's coefficients and response, to check those in force.
#pragma once

#include <gtest/gtest.h>

#include <array>
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

// A second-order section as theory has it: b0, b1, b2, -a1, -a2 in Q28.
using section_words = std::array<double, 5>;

inline void expect_section(const int* c, const section_words& theory) {
  for (size_t k = 0; k < 5; ++k) EXPECT_NEAR(c[k], theory[k], 3.0) << "word " << k;
}

// (n0 s^2 + n1 s + n2) / (s^2 + d1 s + d2) through the bilinear transform s = (z - 1) / (z + 1).
inline section_words bilinear(double n0, double n1, double n2, double d1, double d2) {
  const double unit = 268435456.0 / (1.0 + d1 + d2);
  return {unit * (n0 + n1 + n2), unit * 2.0 * (n2 - n0), unit * (n0 - n1 + n2),
          unit * 2.0 * (1.0 - d2), unit * (d1 - d2 - 1.0)};
}

inline double warped(double frequency, double rate) {
  return std::tan(std::numbers::pi * frequency / rate);
}

inline section_words butterworth_low_pass(double corner, double rate) {
  const double w = warped(corner, rate);
  return bilinear(0.0, 0.0, w * w, std::numbers::sqrt2 * w, w * w);
}
inline section_words butterworth_high_pass(double corner, double rate) {
  const double w = warped(corner, rate);
  return bilinear(1.0, 0.0, 0.0, std::numbers::sqrt2 * w, w * w);
}

// 0 dB at the centre, whatever q is.
inline section_words band_pass(double centre, double q, double rate) {
  const double w = warped(centre, rate);
  return bilinear(0.0, w / q, 0.0, w / q, w * w);
}

// -180 degrees at the turn; the default has a double real pole.
inline section_words all_pass(double turn, double rate, double q = 0.5) {
  const double w = warped(turn, rate);
  return bilinear(1.0, -w / q, w * w, w / q, w * w);
}

// 0 dB at 0 Hz, level at the top; Butterworth zeros at the corner and poles at level^(1/2) of it.
inline section_words high_shelf(double corner, double level_db, double rate) {
  const double w = warped(corner, rate), level = std::pow(10.0, level_db / 20.0);
  const double pole = std::sqrt(level) * w;
  return bilinear(level, level * std::numbers::sqrt2 * w, level * w * w, std::numbers::sqrt2 * pole,
                  pole * pole);
}

// Two equal Butterworth low-passes and two equal high-passes at one corner.
inline void expect_crossover(const spectral_band_split* split, double corner, double rate) {
  for (int k = 0; k < 2; ++k) {
    expect_section(split->low[k]->coef, butterworth_low_pass(corner, rate));
    expect_section(split->high[k]->coef, butterworth_high_pass(corner, rate));
  }
}
