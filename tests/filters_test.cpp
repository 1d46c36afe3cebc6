// The sixth-order section, the notch and the DC blocker.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "dsp/dc_remove.h"
#include "dsp/elliptic.h"
#include "dsp/notch.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ20 = 1 << 20;
constexpr int kOneQ28 = 1 << 28;

struct elliptic_filter : elliptic {
  std::vector<int> table = std::vector<int>(13);

  elliptic_filter() { elliptic_init(this, table.data()); }
  ~elliptic_filter() { elliptic_end(this); }
  elliptic_filter(const elliptic_filter&) = delete;
  elliptic_filter& operator=(const elliptic_filter&) = delete;

  int step(int in) {
    int out;
    elliptic_process(this, &in, &out);
    return out;
  }
};

struct notch_filter : notch {
  notch_filter(int r, int f) { notch_init(this, r, f); }
  ~notch_filter() { notch_end(this); }
  notch_filter(const notch_filter&) = delete;
  notch_filter& operator=(const notch_filter&) = delete;

  int step(int in) {
    int out;
    notch_process(this, &in, &out);
    return out;
  }
};

struct dc_filter : dc_remove {
  dc_filter() { dc_remove_init(this); }

  int step_16(int in) {
    int out;
    dc_remove_process_16(this, &in, &out);
    return out;
  }
  int step_24(int in) {
    int out;
    dc_remove_process_24(this, &in, &out);
    return out;
  }
};

}  // namespace

// Each forward tap alone is a delay of its place times its weight.
TEST(Elliptic, WeighsTheSevenInputsInOrder) {
  elliptic_filter f;
  for (int k = 0; k < 7; ++k) f.table[static_cast<size_t>(k)] = (k + 1) * kOneQ20;
  for (int n = 0; n < 9; ++n) EXPECT_EQ(f.step(n == 0 ? 1000 : 0), n < 7 ? (n + 1) * 1000 : 0);
}

// Each feedback tap alone, at 1.0, repeats an impulse every k samples.
TEST(Elliptic, FeedsBackTheSixOutputsInOrder) {
  for (int k = 1; k <= 6; ++k) {
    elliptic_filter f;
    f.table[0] = kOneQ20;
    f.table[static_cast<size_t>(6 + k)] = kOneQ20;
    for (int n = 0; n < 20; ++n)
      EXPECT_EQ(f.step(n == 0 ? 1000 : 0), n % k == 0 ? 1000 : 0) << k << " " << n;
  }
}

TEST(Elliptic, WrapsTheScaledInputAndTheResult) {
  elliptic_filter f;
  f.table[0] = kOneQ20;
  EXPECT_EQ(f.step(0x03FFFFFF), 0x03FFFFFF);
  EXPECT_EQ(f.step(0x04000000), -0x04000000);
  EXPECT_EQ(f.step(0x08000000), 0);
  f.table[0] = 2 * kOneQ20;
  EXPECT_EQ(f.step(0x02000000), -0x04000000);
  EXPECT_EQ(f.step(0x03000000), -0x02000000);
}

TEST(Elliptic, ReplacesMinusOneInTheHistoryAndAtTheOutput) {
  elliptic_filter f;
  f.table[0] = kOneQ20;
  EXPECT_EQ(f.step(-1), 0);
  EXPECT_EQ(f.state[7], -32) << "only the output is replaced";
  EXPECT_EQ(f.step(-2), -2);
  f.table[0] = kOneQ20 / 32;
  EXPECT_EQ(f.step(-1), 0);
  EXPECT_EQ(f.state[7], 0) << "y itself was -1";
}

TEST(Elliptic, LeavesTheResidueInWordZeroWithoutUsingIt) {
  elliptic_filter f;
  f.table[0] = 3;
  f.step(1000);  // 3 * 32000 = 96000 = 11 * 8192 + 5888
  EXPECT_EQ(f.state[0], 5888);
  EXPECT_EQ(f.state[1], 32000);
  f.table[0] = kOneQ20;
  EXPECT_EQ(f.step(0), 0);
  EXPECT_EQ(f.state[0], 0);
}

TEST(Elliptic, BorrowsTheTableAndClearsTheHistoryWithANewOne) {
  elliptic_filter f;
  std::vector<int> other(13);
  f.table[1] = kOneQ20;
  f.step(500);
  f.table[1] = 2 * kOneQ20;  // an edit of the caller's table counts at once
  EXPECT_EQ(f.step(500), 1000);
  other[1] = other[2] = kOneQ20;
  elliptic_setcoef(&f, other.data());
  EXPECT_EQ(f.coef, other.data());
  EXPECT_EQ(f.step(7), 0);
  EXPECT_EQ(f.step(0), 7);
  elliptic_resetstate(&f);
  EXPECT_EQ(f.step(0), 0);
  elliptic_end(&f);
  EXPECT_EQ(f.coef, nullptr);
  EXPECT_EQ(f.state, nullptr);
}

// At a quarter of the rate the middle terms vanish: (1 + z^-2) / (1 + r^2 z^-2) with
// r^2 = 0.765625, so 1, 1 - r^2, then each times -r^2. Exact in integers for 2^20.
TEST(Notch, GivesTheImpulseResponseWorkedOutByHand) {
  notch_filter f(7168, 0);
  const int expected[] = {1048576, 0, 245760, 0, -188160, 0, 144060};
  for (int n = 0; n < 7; ++n) EXPECT_EQ(f.step(n == 0 ? 1048576 : 0), expected[n]);
}

TEST(Notch, SilencesItsFrequencyAndHasTheClosedFormsResponseBeside) {
  constexpr double kRate = 48000.0;
  const double angle = 2.0 * std::numbers::pi * 3000.0 / kRate;
  const int freq = static_cast<int>(-2.0 * std::cos(angle) * kOneQ28);
  const double radius = 7168.0 / 8192.0, middle = -2.0 * std::cos(angle);
  for (double frequency : {1000.0, 2500.0, 3000.0, 3300.0, 12000.0}) {
    notch_filter f(7168, freq);
    const samples x = sine(9600, frequency, kRate, 4000000.0);
    samples y;
    for (int v : x) y.push_back(f.step(v));
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    const double expected = decibels(
        std::abs((1.0 + (middle + z1) * z1) / (1.0 + radius * (middle + radius * z1) * z1)));
    const double measured = gain_db(x, y, frequency, kRate, 4800);
    if (frequency == 3000.0)
      EXPECT_LT(measured, -100.0);
    else
      EXPECT_NEAR(measured, expected, 0.01) << frequency;
  }
}

// f = -1 (2^-28) with r = 8191: r f >> 28 rounds down to -1 before it meets y[n-1] = 8000, so the
// sum is floor(-8000 / 2^15) + 8000 = 7999, all of it residue. It comes back in the next sum, which
// is 7999 + 8000 * 8192 - floor(8191^2 * 8000 / 8192) = 7999 + 65536000 - 65520000 = 2 * 8192 +
// 7615.
TEST(Notch, FormsThePoleTermBeforeTheOutputAndCarriesTheResidue) {
  notch_filter f(8191, -1);
  const int expected[] = {8000, 0, 2}, residue[] = {0, 7999, 7615};
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(f.step(n == 0 ? 8000 : 0), expected[n]);
    EXPECT_EQ(f.state[4], residue[n]);
  }
}

TEST(Notch, KeepsMinusOneAndTheWideResultInTheHistory) {
  notch_filter f(0, 0);
  EXPECT_EQ(f.step(-1), 0);
  EXPECT_EQ(f.state[2], -1);
  notch_resetstate(&f);
  f.step(INT32_MAX);
  f.step(0);
  EXPECT_EQ(f.step(INT32_MAX), -2) << "the low 32 bits of 2^32 - 2";
  EXPECT_EQ(f.state[2], 4294967294);
}

TEST(Notch, KeepsTheHistoryWhenItMovesAndClearsItWithNewSettings) {
  notch_filter f(0, 0);
  f.step(800);
  notch_setfi(&f, kOneQ28);  // x[n-1] now counts once
  EXPECT_EQ(f.step(0), 800);
  EXPECT_EQ(f.radius, 0);
  notch_setcoef(&f, 4096, kOneQ28);
  EXPECT_EQ(f.radius, 4096);
  EXPECT_EQ(f.step(0), 0);
  notch_end(&f);
  EXPECT_EQ(f.radius, 0);
  EXPECT_EQ(f.freq, 0);
  EXPECT_EQ(f.state, nullptr);
}

// 1000 times powers of 0.996, the constant a hair less: 995.99, 992.01, 988.05. With only 5 bits of
// room the wide variant has 31871, 31743, 31616 at its scale, and 31743.5 / 32 = 991.98.
TEST(DcRemove, GivesTheStepResponseWorkedOutByHand) {
  dc_filter narrow, wide;
  const int expected_narrow[] = {995, 992, 988}, expected_wide[] = {995, 991, 988};
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(narrow.step_16(1000), expected_narrow[n]);
    EXPECT_EQ(wide.step_24(1000), expected_wide[n]);
  }
  dc_remove_reset(&wide);
  EXPECT_EQ(wide.step_24(0), 0);
}

TEST(DcRemove, HasTheClosedFormsResponse) {
  constexpr double kRate = 48000.0, kPole = 0.996;
  for (double frequency : {10.0, 30.0, 100.0, 1000.0}) {
    dc_filter narrow, wide;
    const samples x = sine(48000, frequency, kRate, 20000.0);
    samples y16, y24;
    for (int v : x) {
      y16.push_back(narrow.step_16(v));
      y24.push_back(wide.step_24(v));
    }
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    const double expected = decibels(std::abs(kPole * (1.0 - z1) / (1.0 - kPole * z1)));
    EXPECT_NEAR(gain_db(x, y16, frequency, kRate, 24000), expected, 0.02) << frequency;
    EXPECT_NEAR(gain_db(x, y24, frequency, kRate, 24000), expected, 0.02) << frequency;
  }
}

TEST(DcRemove, SaturatesInTheWideVariantAndWrapsInTheNarrowOne) {
  dc_filter wide;
  for (int n = 0; n < 20000; ++n) wide.step_24(INT32_MIN);
  EXPECT_EQ(wide.step_24(INT32_MAX), INT32_MAX);
  // 2^25 << 13 times 0.996 * 2^26 leaves 64 bits: 2^38 (66840428 - 2^26) = -268436 * 2^38.
  dc_filter narrow;
  EXPECT_EQ(narrow.step_16(1 << 25), -134218);
  EXPECT_EQ(narrow.y_prev, -268436LL * 4096);
}

// Truncation stops the decay from below where 0.996 y rounds down to y, at -249 of the internal
// scale: under one unit of 16 bits (so 0 by the rule for -1), eight units of 24 bits.
TEST(DcRemove, EndsAConstantInSilenceOrJustBelowIt) {
  dc_filter narrow, wide;
  for (int n = 0; n < 10000; ++n) {
    narrow.step_16(-32768);
    wide.step_24(-32768);
  }
  EXPECT_EQ(narrow.y_prev, -249);
  EXPECT_EQ(wide.y_prev, -249);
  EXPECT_EQ(narrow.step_16(-32768), 0);
  EXPECT_EQ(wide.step_24(-32768), -8);
  dc_filter one;
  EXPECT_EQ(one.step_24(-1), 0) << "-0.996 rounds down to -1, which becomes 0";
}
