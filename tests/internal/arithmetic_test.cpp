// Arithmetic over a block, every variant against the portable one; and the ramps and slews of gains
// over a block against their steps.
#include <gtest/gtest.h>

#include "dsp/block.h"
#include "dsp/gain_ramp.h"
#include "dsp/kernels/arithmetic.h"
#include "dsp/kernels/nonlinear.h"
#include "effects/gain_slew.h"
#include "support/kernels.h"
#include "support/signals.h"

namespace {

constexpr int kGains[] = {8192, 4096, 1, 0, -8192, 16384, 131072, INT32_MAX, INT32_MIN};

// Any words, full scale, next to nothing.
samples words(int n, unsigned seed) {
  return seed % 3 == 0 ? wild(n, seed) : noise(n, seed % 3 == 1 ? kFullScale : 3, seed);
}

// What follows the block must not change.
constexpr int kGuard = 8;

// Runs function(a, b, out, n) in both sets, beside its inputs and in place of either.
template <typename Function>
void expect_same(const block_arithmetic& found, Function function) {
  for (unsigned seed = 0; seed < 6; ++seed) {
    for (int n : {-1, 0, 1, 7, 8, 9, 31, 240, 255, 256}) {
      const size_t size = static_cast<size_t>(std::max(n, 0)) + kGuard;
      const samples a = words(int(size), seed), b = words(int(size), seed + 10);
      const samples old = noise(int(size), 1000, 5);
      samples expected = old, out = old, in_a = a, in_b = b;
      function(kArithmeticPortable, a.data(), b.data(), expected.data(), n);
      function(found, a.data(), b.data(), out.data(), n);
      ASSERT_EQ(out, expected) << n;
      function(found, in_a.data(), b.data(), in_a.data(), n);
      function(found, a.data(), in_b.data(), in_b.data(), n);
      for (size_t i = 0; i + kGuard < size; ++i) {
        ASSERT_EQ(in_a[i], expected[i]) << n;
        ASSERT_EQ(in_b[i], expected[i]) << n;
      }
      for (size_t i = size - kGuard; i < size; ++i) ASSERT_TRUE(in_a[i] == a[i] && in_b[i] == b[i]);
    }
  }
}

}  // namespace

TEST(Arithmetic, OfEveryVariantGivesThePortableBits) {
  with_each_kernel([] {
    using set = block_arithmetic;
    const set& found = arithmetic();
    for (int gain : kGains) {
      SCOPED_TRACE(gain);
      expect_same(found, [=](const set& s, const int* a, const int*, int* out, int n) {
        s.scale(a, gain, out, n);
      });
      expect_same(found, [=](const set& s, const int* a, const int*, int* out, int n) {
        s.scale_quarter(a, gain, out, n);
      });
      expect_same(found, [=](const set& s, const int* a, const int*, int* out, int n) {
        s.scale_down(a, gain, out, n);
      });
      expect_same(found, [=](const set& s, const int* a, const int* b, int* out, int n) {
        s.mix(a, gain, b, 5000, out, n);
      });
    }
    expect_same(found, [=](const set& s, const int* a, const int* b, int* out, int n) {
      s.scale_down_twice(a, b, a, out, n);
    });
    for (auto two : {&set::scale_down_each, &set::add, &set::subtract, &set::clip})
      expect_same(found, [=](const set& s, const int* a, const int* b, int* out, int n) {
        (s.*two)(a, b, out, n);
      });
  });
}

TEST(Arithmetic, MeasuresTheSameInEveryVariant) {
  with_each_kernel([] {
    for (unsigned seed = 0; seed < 9; ++seed)
      for (int n : {-1, 0, 1, 7, 8, 9, 240, 1001}) {
        samples x = words(std::max(n, 1), seed);
        for (int last : {x.back(), INT32_MIN, INT32_MAX, -INT32_MAX}) {
          x.back() = last;
          const auto& portable = kArithmeticPortable;
          const block_level level = arithmetic().level(x.data(), n);
          ASSERT_EQ(level.largest, portable.level(x.data(), n).largest) << n;
          ASSERT_EQ(level.sum, portable.level(x.data(), n).sum) << n;
          ASSERT_EQ(arithmetic().peak(x.data(), n), portable.peak(x.data(), n)) << n;
          ASSERT_EQ(arithmetic().energy(x.data(), n), portable.energy(x.data(), n)) << n;
        }
      }
  });
}

// Small and large coefficients of both signs: powers that die away, and such that saturate.
TEST(Arithmetic, OfThePolynomialGivesThePortableBits) {
  const samples kSets[] = {{123008, -511, 699050, -345, 310689, -288, 116508, -256},
                           {32768, 32768, 32768, 32768, 32768, 32768, 32768, 32768},
                           {-300000, 65536, -1, 500000, 70000000, -32768, 65536, 0},
                           {1 << 30, 1 << 28, -(1 << 28), 1 << 24, 1 << 24, 1 << 24, 77, 1 << 30},
                           wild(8, 1),
                           wild(8, 2)};
  with_each_kernel([&] {
    for (const samples& c : kSets)
      expect_same(arithmetic(), [&](const block_arithmetic& s, const int* a, const int*, int* out,
                                    int n) { s.polynomial(c.data(), a, out, n); });
  });
}

// With inputs up to the largest that fits, at the rails of that range too.
TEST(Arithmetic, OfThePolynomialThatFitsGivesThePortableBits) {
  const polynomial_coefficients kSets[] = {{123008, -511, 699050, -345, 310689, -288, 116508, -256},
                                           {32768, 32768, 32768, 32768, 32768, 32768, 32768, 32768},
                                           {-1, 1, -1, 1, -1, 1, -1, 1},
                                           {-32768, 700000, -700000, 700000, 90000, -32768, 7, 0}};
  with_each_kernel([&] {
    for (const auto& c : kSets) {
      int largest = 1 << 30;
      while (!polynomial_fits(c, largest)) largest -= largest / 100 + 1;
      ASSERT_GT(largest, 1 << 18);
      samples x = noise(240, largest, 3), expected(240), found(240);
      x[0] = largest;
      x[1] = -largest;
      kArithmeticPortable.polynomial(c, x.data(), expected.data(), 240);
      arithmetic().fitting_polynomial(c, x.data(), found.data(), 240);
      ASSERT_EQ(found, expected);
    }
  });
}

// All pairs of gains around the rules' edges, far and near, with wraps.
TEST(GainRamp, OverABlockGivesTheBitsOfItsSteps) {
  const int kFrom[] = {
      0,    1,    31,      32,       33,     63,      64,         159,           4095,
      4096, 4127, 9000,    131072,   524288, 8000000, 1000000000, INT32_MAX - 1, INT32_MAX,
      -1,   -32,  -131072, INT32_MIN};
  for (int from : kFrom)
    for (int target : kFrom)
      for (int n : {0, 1, 2, 3, 256}) {
        SCOPED_TRACE(testing::Message() << from << " to " << target << " in " << n);
        int expected = from, gains[2][kBlockFrames];
        for (int i = 0; i < n; ++i) gains[0][i] = expected = gain_ramp_step<5, 7>(expected, target);
        ASSERT_EQ((gain_ramp_block<5, 7>(from, target, gains[1], n)), expected);
        ASSERT_TRUE(std::equal(gains[0], gains[0] + n, gains[1]));
      }
}

TEST(GainSlew, OverABlockGivesTheBitsOfItsSteps) {
  samples levels = {0,         1,  7,        8, 9, 131072, 131071, 8 << 17, (8 << 17) + 1,
                    INT32_MAX, -1, INT32_MIN};
  for (int distance : {5, 7, 8, 31, 32, 33, 63, 64, 65, 1024, 1025, 8193, 16384, 16385, 300000})
    for (int sign : {-1, 1}) levels.push_back(131072 + sign * distance);
  for (int distance : {32, 64, 100, 255, 257, 767, 769, 1025})  // own steps are as large here
    levels.push_back((8 << 17) - distance);
  unsigned pair = 0;
  for (int from : levels)
    for (int target : levels) {
      const int gate_from = levels[++pair % levels.size()];
      const int gate_target = levels[pair / 7 % levels.size()];
      int expected[2] = {from, gate_from}, found[2] = {from, gate_from};
      for (int n : {0, 1, 37, 256, 256}) {  // on from where the last block ended
        int gains[2][kBlockFrames], gates[2][kBlockFrames];
        for (int i = 0; i < n; ++i) {
          gains[0][i] = expected[0] = gain_slew_step(expected[0], target);
          gates[0][i] = expected[1] = gate_slew_step(expected[1], gate_target);
        }
        slew_block(found[0], target, found[1], gate_target, gains[1], gates[1], n);
        ASSERT_TRUE(std::equal(gains[0], gains[0] + n, gains[1])) << from << ' ' << target;
        ASSERT_TRUE(std::equal(gates[0], gates[0] + n, gates[1]))
            << gate_from << ' ' << gate_target;
        ASSERT_EQ(found[0], expected[0]);
        ASSERT_EQ(found[1], expected[1]);
      }
    }
}
