#include "dsp/fixed_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "square_root.h"

namespace {

// r is the root of x rounded to the nearest integer: (r - 1/2)^2 < x < (r + 1/2)^2 in integers.
bool is_rounded_root(uint64_t r, uint64_t x) { return x <= r * r + r && (r == 0 || x > r * r - r); }

}  // namespace

// Every place where the rounding turns and a million words; the Q16 root has 8 low bits of 0.
TEST(SquareRoot, IsRoundedExactly) {
  std::mt19937 generator(1);
  const auto check = [](uint64_t x) {
    const uint64_t root = sqrtFxQ16(static_cast<unsigned>(x));
    return root % 256 == 0 && is_rounded_root(root / 256, x);
  };
  for (uint64_t n = 0; n < 65536; ++n) {
    ASSERT_TRUE(is_rounded_root(static_cast<uint64_t>(sqrt_fixed(static_cast<unsigned>(n))), n))
        << n;
    for (uint64_t x : {n * n, n * n + n, n * n + n + 1, n * n + 2 * n}) ASSERT_TRUE(check(x)) << x;
    for (int i = 0; i < 16; ++i) ASSERT_TRUE(check(generator() >> (i % 24)));
  }
  EXPECT_EQ(sqrt_fixed(3), 2) << "1.73 rounds up";
  EXPECT_EQ(sqrtFxQ16(262144), 131072u) << "4.0";
}

// What goes wrong in its walk (eleven constants rounded by half a unit at
// most, one truncation per factor taken, and d^2 / 2 of the linear remainder) stays below 1e-4.
TEST(Exponential, IsWithinOneTenThousandth) {
  double largest = 0.0;
  for (int x = 0, previous = 0; x < 681391; ++x) {
    const int y = exp_fixed(x);
    ASSERT_GE(y, previous) << x;
    previous = y;
    largest = std::max(largest, std::abs(y / (65536.0 * std::exp(x / 65536.0)) - 1.0));
  }
  EXPECT_LT(largest, 1e-4);
}

TEST(Logarithm, IsWithinFourUnits) {
  double largest = 0.0;
  int previous = INT32_MIN;
  // Every x up to 2^18, then about 65536 per octave.
  for (uint64_t x = 1; x < (uint64_t{1} << 31); x += x < (1u << 18) ? 1 : x >> 16) {
    const int y = log_fixed(static_cast<unsigned int>(x));
    ASSERT_GE(y, previous) << x;
    previous = y;
    largest = std::max(largest, std::abs(y - 65536.0 * std::log(static_cast<double>(x) / 65536.0)));
  }
  EXPECT_LT(largest, 4.0);
  EXPECT_EQ(log_fixed(65536), 0);
  EXPECT_EQ(log_fixed(131072), 45426) << "ln 2";
  EXPECT_EQ(log_fixed(1), -726817) << "-16 ln 2";
  EXPECT_EQ(log_fixed(INT32_MAX), 681391) << "ln 32768";
}
