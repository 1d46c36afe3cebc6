#include "portable_math.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <numbers>

static_assert(FLT_EVAL_METHOD == 0, "intermediate results are doubles");

namespace {

// 1 + z c0 (1 + z c1 (1 + ...)), from the inside out: each term of a Taylor series is the one
// before times z and a quotient of small numbers.
template <typename Quotient>
double nested_series(double z, int terms, Quotient quotient) {
  double sum = 1.0;
  for (int k = terms - 1; k >= 0; --k) sum = 1.0 + z * sum * quotient(k);
  return sum;
}

// For |x| <= pi / 4: x - x^3 / 3! + .. and 1 - x^2 / 2! + ..; the terms left out are below 1e-18.
double sin_near_zero(double x) {
  return x * nested_series(-x * x, 9, [](int k) { return 1.0 / ((2 * k + 2) * (2 * k + 3)); });
}
double cos_near_zero(double x) {
  return nested_series(-x * x, 9, [](int k) { return 1.0 / ((2 * k + 1) * (2 * k + 2)); });
}

// sin(x + quarters * pi / 2).
double sin_of_quarter(double x, int quarters) {
  // The first part has 33 bits, so that whole multiples of it are exact.
  constexpr double kHalfPiHigh = 1.57079632673412561417, kHalfPiLow = 6.07710050650619224932e-11;
  const double turns = std::floor(x * (2.0 * std::numbers::inv_pi) + 0.5);
  const double rest = (x - turns * kHalfPiHigh) - turns * kHalfPiLow;
  switch ((static_cast<int>(turns) + quarters) & 3) {
    case 0:
      return sin_near_zero(rest);
    case 1:
      return cos_near_zero(rest);
    case 2:
      return -sin_near_zero(rest);
    default:
      return -cos_near_zero(rest);
  }
}

constexpr int kMantissaBits = 52, kExponentBias = 1023;

double power_of_two(int exponent) {
  return std::bit_cast<double>(static_cast<uint64_t>(exponent + kExponentBias) << kMantissaBits);
}

// log2(10) / 20: octaves of amplitude in a decibel.
constexpr double kOctavesPerDecibel = 0.16609640474436811739;

}  // namespace

double portable_sin(double x) { return sin_of_quarter(x, 0); }
double portable_cos(double x) { return sin_of_quarter(x, 1); }

double portable_exp2(double x) {
  const double whole = std::floor(x + 0.5);
  const double rest = (x - whole) * std::numbers::ln2;  // |rest| <= 0.35
  return power_of_two(static_cast<int>(whole)) *
         nested_series(rest, 14, [](int k) { return 1.0 / (k + 1); });
}

double portable_log2(double x) {
  const auto bits = std::bit_cast<uint64_t>(x);
  int exponent = static_cast<int>(bits >> kMantissaBits) - kExponentBias;
  double mantissa = x / power_of_two(exponent);  // 1 <= mantissa < 2
  if (mantissa > std::numbers::sqrt2) {
    mantissa *= 0.5;
    ++exponent;
  }
  // ln m = 2 artanh((m - 1) / (m + 1)) = 2 (t + t^3 / 3 + t^5 / 5 + ..), |t| <= 0.172.
  const double t = (mantissa - 1.0) / (mantissa + 1.0), z = t * t;
  double sum = 0.0;
  for (int k = 23; k >= 1; k -= 2) sum = sum * z + 1.0 / k;
  return exponent + 2.0 * std::numbers::log2e * t * sum;
}

double db_to_linear(double decibels) { return portable_exp2(decibels * kOctavesPerDecibel); }
double linear_to_db(double linear) { return portable_log2(linear) / kOctavesPerDecibel; }
