#include "ktv/gramophone.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/signals.h"

namespace {

int overdriven(int x) {
  overdrive_process(&x, &x);
  return x;
}

// Every test here works on a fresh one.
struct Gramophone : testing::Test {
  gramophone effect;
  Gramophone() { gramophone_init(&effect); }
  ~Gramophone() override { gramophone_end(&effect); }

  samples played(samples x) {
    gramophone_process(&effect, x.data(), x.data(), static_cast<int>(x.size()));
    return x;
  }
  samples band_passed(samples x) {
    elliptic_resetstate(effect.filter);
    for (int& v : x) elliptic_process(effect.filter, &v, &v);
    elliptic_resetstate(effect.filter);
    return x;
  }
};

}  // namespace

TEST(Overdrive, JoinsItsThreePieces) {
  constexpr int kTop = 8388607;
  for (int sign : {1, -1}) {
    EXPECT_EQ(overdriven(sign * 1398100), sign * 5592400);
    EXPECT_EQ(overdriven(sign * 2796202), sign * kTop);
    EXPECT_EQ(overdriven(sign * kTop), sign * kTop);
  }
  for (int v = 1398101; v <= 2796202; ++v) {
    const int64_t t = 16777214 - 6LL * v;
    const int bent = kTop - static_cast<int>(t * t / 6 >> 22);
    if (overdriven(v) != bent || overdriven(-v) != -bent) FAIL() << "off the parabola at " << v;
  }
}

TEST_F(Gramophone, PassesTheBandOfAHorn) {
  const auto expect_gain = [this](double hertz, double gain, double tolerance) {
    const samples in = sine(14400, hertz, 48000.0, kFullScale);
    EXPECT_NEAR(gain_db(in, band_passed(in), hertz, 48000.0, 4800), gain, tolerance);
  };
  expect_gain(950.0, 2.17, 0.02);
  for (double edge : {814.0, 1722.0}) expect_gain(edge, 2.17 - 3.0, 0.03);
  expect_gain(50.0, 2.17 - 63.9, 0.1);
  expect_gain(10000.0, 2.17 - 68.1, 0.1);
}

// The recursion rounds down by half a step on average, with a gain of 2^20 / 17 at 0 Hz and 5 bits
// of scale: -0.5 * 61681 / 32 = -964.
TEST_F(Gramophone, RestsOnTheOffsetOfItsRounding) {
  EXPECT_EQ(peak(played(samples(1000))), 0);
  played(noise(1000, kFullScale, 3));
  played(samples(24000));
  const samples rest = played(samples(48000));
  EXPECT_NEAR(std::accumulate(rest.begin(), rest.end(), 0.0) / 48000.0, -964.0, 5.0);
  EXPECT_LT(peak(rest), 3500);
}
