// The steps of the nonlinear device: a clipper and a polynomial.
#pragma once

#include <algorithm>

#include "fixed.h"

// What is above the limit becomes the limit, what is below -limit (which wraps) becomes that.
constexpr int clip_step(int x, int limit) {
  return x > limit ? limit : std::max(x, wrap_neg(limit));
}

constexpr int kPolynomialOrder = 8;
using polynomial_coefficients = int[kPolynomialOrder];

// Whether nothing saturates in polynomial_step for any |x| up to largest.
constexpr bool polynomial_fits(const int* c, int64_t largest) {
  int64_t power = 0, sum = 0;  // bounds of their magnitudes
  for (int k = 0; k < kPolynomialOrder; ++k) {
    const int64_t coefficient = c[k];
    const int64_t scaled = ((coefficient < 0 ? -coefficient : coefficient) * largest >> 15) + 1;
    if (scaled > INT32_MAX) return false;
    power = k == 0 ? scaled : (scaled * power >> 23) + 1;
    sum += power;
    if (sum > INT32_MAX) return false;
  }
  return true;
}

// The sum of the powers: the first one is x c0, the others the one before x (x c); c in Q15, x and
// powers in Q23. Every product and every sum saturates.
constexpr int polynomial_step(const int* c, int x) {
  int power = saturate32(int64_t{c[0]} * x >> 15);
  int sum = power;
  for (int k = 1; k < kPolynomialOrder; ++k) {
    const int scaled = saturate32(int64_t{c[k]} * x >> 15);
    power = saturate32(int64_t{scaled} * power >> 23);
    sum = saturate_add(sum, power);
  }
  return sum;
}
