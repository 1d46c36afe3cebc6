#include "portable_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The largest of error(x) over evenly spread x, the ends included.
template <typename Error>
double worst(double low, double high, Error error) {
  constexpr int kPoints = 200000;
  double largest = 0.0;
  for (int i = 0; i <= kPoints; ++i)
    largest = std::max(largest, static_cast<double>(error(low + (high - low) * i / kPoints)));
  return largest;
}

long double relative(double value, long double truth) { return std::fabs(value / truth - 1.0L); }

}  // namespace

TEST(PortableMath, IsAsAccurateAsItsHeaderSays) {
  for (const double range : {0.8, 3.2, 1000.0}) {
    const auto sine = [](long double x) { return std::fabs(portable_sin(x) - std::sin(x)); };
    const auto cosine = [](long double x) { return std::fabs(portable_cos(x) - std::cos(x)); };
    EXPECT_LT(worst(-range, range, sine), 1.8e-16);
    EXPECT_LT(worst(-range, range, cosine), 1.8e-16);
  }
  const auto power = [](long double x) { return relative(portable_exp2(x), std::exp2(x)); };
  EXPECT_LT(worst(-1.0, 1.0, power), 5e-16);
  EXPECT_LT(worst(-1000.0, 1000.0, power), 5e-16);
  const auto logarithm = [](long double x) {
    const long double truth = std::log2(x);
    return std::fabs(portable_log2(x) - truth) / std::max(1.0L, std::fabs(truth));
  };
  EXPECT_LT(worst(0.4, 3.0, logarithm), 3e-16);
  EXPECT_LT(worst(1e-300, 1e-9, logarithm), 3e-16);
  EXPECT_LT(worst(1.0, 1e300, logarithm), 3e-16);
  const auto gain = [](long double x) {
    return relative(db_to_linear(x), std::pow(10.0L, x / 20.0L));
  };
  // Where long double is double, as on 32-bit ARM, the exponent's rounding is the reference's own:
  // half a unit of 10, times ln 10.
  const double reference = std::numeric_limits<long double>::digits > 53 ? 0.0 : 2.1e-15;
  EXPECT_LT(worst(-200.0, 200.0, gain), 4e-15 + reference);
  const auto decibels = [](long double x) {
    return std::fabs(linear_to_db(x) - 20.0L * std::log10(x)) / 20.0L;
  };
  EXPECT_LT(worst(0.1, 10.0, decibels), 2e-15);
}

TEST(PortableMath, IsExactWhereAnExactValueExists) {
  for (int k = -1000; k <= 1000; ++k) {
    EXPECT_EQ(portable_exp2(k), std::ldexp(1.0, k));
    EXPECT_EQ(portable_log2(std::ldexp(1.0, k)), k);
  }
  EXPECT_EQ(portable_sin(0.0), 0.0);
  EXPECT_EQ(portable_cos(0.0), 1.0);
  EXPECT_EQ(db_to_linear(0.0), 1.0);
  EXPECT_EQ(linear_to_db(1.0), 0.0);
}
