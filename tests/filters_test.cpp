// The sixth-order section, the notch and the DC blocker.
#include <gtest/gtest.h>

#include "dsp/dc_remove.h"
#include "dsp/elliptic.h"
#include "dsp/notch.h"
#include "support/owned.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ20 = 1 << 20;
constexpr int kOneQ28 = 1 << 28;

template <typename Record, auto end, auto process>
struct filter : owned<Record, end> {
  using owned<Record, end>::owned;
  samples run(samples x) {
    for (int& v : x) process(this, &v, &v);
    return x;
  }
};
using elliptic_filter = filter<elliptic, elliptic_end, elliptic_process>;
using notch_filter = filter<notch, notch_end, notch_process>;
using dc_16 = filter<dc_remove, dc_remove_end, dc_remove_process_16>;
using dc_24 = filter<dc_remove, dc_remove_end, dc_remove_process_24>;

}  // namespace

// Each forward tap alone is a delay of its place times its weight; each feedback tap alone, at 1.0,
// repeats an impulse every k samples.
TEST(Elliptic, WeighsSevenInputsAndSixOutputsInOrder) {
  int forward[13] = {};
  for (int k = 0; k < 7; ++k) forward[k] = (k + 1) * kOneQ20;
  EXPECT_EQ(elliptic_filter(elliptic_init, forward).run(impulse(9, 1000)),
            samples({1000, 2000, 3000, 4000, 5000, 6000, 7000, 0, 0}));
  for (int k = 1; k <= 6; ++k) {
    int back[13] = {kOneQ20};
    back[6 + k] = kOneQ20;
    samples expected(20);
    for (size_t n = 0; n < 20; n += size_t(k)) expected[n] = 1000;
    EXPECT_EQ(elliptic_filter(elliptic_init, back).run(impulse(20, 1000)), expected) << k;
  }
}

// An output of -1 is replaced, in the history only where y itself is -1.
TEST(Elliptic, WrapsTheScaledInputAndTheResultAndReplacesMinusOne) {
  int c[13] = {kOneQ20};
  elliptic_filter f(elliptic_init, c);
  EXPECT_EQ(f.run({0x03FFFFFF, 0x04000000, 0x08000000, -2, -1}),
            samples({0x03FFFFFF, -0x04000000, 0, -2, 0}));
  EXPECT_EQ(f.state[7], -32);
  c[0] = 2 * kOneQ20;
  EXPECT_EQ(f.run({0x02000000, 0x03000000}), samples({-0x04000000, -0x02000000}));
  c[0] = kOneQ20 / 32;
  EXPECT_EQ(f.run({-1}), samples({0}));
  EXPECT_EQ(f.state[7], 0);
}

TEST(Elliptic, LeavesTheResidueInWordZeroWithoutUsingIt) {
  int c[13] = {3};
  elliptic_filter f(elliptic_init, c);
  f.run({1000});  // 3 * 32000 = 96000 = 11 * 8192 + 5888
  EXPECT_EQ(std::pair(f.state[0], f.state[1]), std::pair(5888, 32000));
  c[0] = kOneQ20;
  EXPECT_EQ(f.run({0}), samples({0}));
  EXPECT_EQ(f.state[0], 0);
}

TEST(Elliptic, BorrowsTheTableAndClearsTheHistoryWithANewOne) {
  int c[13] = {0, kOneQ20}, other[13] = {0, kOneQ20, kOneQ20, 0, 0, 0, 0, kOneQ20};
  elliptic_filter f(elliptic_init, c);
  f.run({500});
  c[1] = 2 * kOneQ20;  // an edit of the caller's table counts at once
  EXPECT_EQ(f.run({500}), samples({1000}));
  elliptic_setcoef(&f, other);
  EXPECT_EQ(f.run({7, 0}), samples({0, 7}));
  elliptic_resetstate(&f);
  EXPECT_EQ(f.run({0}), samples({0}));
  elliptic_end(&f);
  EXPECT_TRUE(!f.coef && !f.state);
}

// At a quarter of the rate the middle terms vanish: (1 + z^-2) / (1 + r^2 z^-2) with
// r^2 = 0.765625, so 1, 1 - r^2, then each times -r^2. Exact in integers for 2^20.
//
// f = -1 (2^-28) with r = 8191: r f >> 28 rounds down to -1 before it meets y[n-1] = 8000, so the
// sum is floor(-8000 / 2^15) + 8000 = 7999, all of it residue. It comes back in the next sum, which
// is 7999 + 8000 * 8192 - floor(8191^2 * 8000 / 8192) = 7999 + 65536000 - 65520000 = 2 * 8192 +
// 7615.
TEST(Notch, GivesTheImpulseResponsesWorkedOutByHand) {
  EXPECT_EQ(notch_filter(notch_init, 7168, 0).run(impulse(7, 1048576)),
            samples({1048576, 0, 245760, 0, -188160, 0, 144060}));
  notch_filter f(notch_init, 8191, -1);
  EXPECT_EQ(f.run({8000, 0}), samples({8000, 0}));
  EXPECT_EQ(f.state[4], 7999);
  EXPECT_EQ(f.run({0}), samples({2}));
  EXPECT_EQ(f.state[4], 7615);
}

TEST(Notch, SilencesItsFrequencyAndHasTheClosedFormsResponseBeside) {
  constexpr double kRate = 48000.0, kRadius = 7168.0 / 8192.0;
  const double middle = -2.0 * std::cos(2.0 * std::numbers::pi * 3000.0 / kRate);
  for (double frequency : {1000.0, 2500.0, 3000.0, 3300.0, 12000.0}) {
    notch_filter f(notch_init, 7168, static_cast<int>(middle * kOneQ28));
    const samples x = sine(9600, frequency, kRate, 4000000.0);
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    const double expected = decibels(
        std::abs((1.0 + (middle + z1) * z1) / (1.0 + kRadius * (middle + kRadius * z1) * z1)));
    const double measured = gain_db(x, f.run(x), frequency, kRate, 4800);
    if (frequency == 3000.0)
      EXPECT_LT(measured, -100.0);
    else
      EXPECT_NEAR(measured, expected, 0.01) << frequency;
  }
}

TEST(Notch, KeepsMinusOneAndTheWideResultInTheHistory) {
  notch_filter f(notch_init, 0, 0);
  EXPECT_EQ(f.run({-1}), samples({0}));
  EXPECT_EQ(f.state[2], -1);
  notch_resetstate(&f);
  EXPECT_EQ(f.run({INT32_MAX, 0, INT32_MAX}), samples({INT32_MAX, 0, -2})) << "of 2^32 - 2";
  EXPECT_EQ(f.state[2], 4294967294);
}

TEST(Notch, KeepsTheHistoryWhenItMovesAndClearsItWithNewSettings) {
  notch_filter f(notch_init, 0, 0);
  f.run({800});
  notch_setfi(&f, kOneQ28);  // x[n-1] now counts once
  EXPECT_EQ(f.run({0}), samples({800}));
  f.state[4] = 8192;  // a residue of one step
  notch_setcoef(&f, 4096, kOneQ28);
  EXPECT_EQ(std::pair(f.radius, f.freq), std::pair(4096, kOneQ28));
  EXPECT_EQ(f.run({0}), samples({0}));
  notch_end(&f);
  EXPECT_TRUE(f.radius == 0 && f.freq == 0 && !f.state);
}

// 1000 times powers of 0.996, the constant a hair less: 995.99, 992.01, 988.05. With only 5 bits of
// room the wide variant has 31871, 31743, 31616 at its scale, and 31743.5 / 32 = 991.98.
TEST(DcRemove, GivesTheStepResponsesWorkedOutByHand) {
  dc_24 wide(dc_remove_init);
  EXPECT_EQ(dc_16(dc_remove_init).run(samples(3, 1000)), samples({995, 992, 988}));
  EXPECT_EQ(wide.run(samples(3, 1000)), samples({995, 991, 988}));
  dc_remove_reset(&wide);
  EXPECT_EQ(wide.run({0}), samples({0}));
}

TEST(DcRemove, HasTheClosedFormsResponse) {
  constexpr double kRate = 48000.0, kPole = 0.996;
  for (double frequency : {10.0, 30.0, 100.0, 1000.0}) {
    const samples x = sine(48000, frequency, kRate, 20000.0);
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    const double expected = decibels(std::abs(kPole * (1.0 - z1) / (1.0 - kPole * z1)));
    for (const samples& y : {dc_16(dc_remove_init).run(x), dc_24(dc_remove_init).run(x)})
      EXPECT_NEAR(gain_db(x, y, frequency, kRate, 24000), expected, 0.02) << frequency;
  }
}

// 2^25 << 13 times 0.996 * 2^26 leaves 64 bits: 2^38 (66840428 - 2^26) = -268436 * 2^38.
TEST(DcRemove, SaturatesInTheWideVariantAndWrapsInTheNarrowOne) {
  dc_24 wide(dc_remove_init);
  wide.run(samples(20000, INT32_MIN));
  EXPECT_EQ(wide.run({INT32_MAX}), samples({INT32_MAX}));
  dc_16 narrow(dc_remove_init);
  EXPECT_EQ(narrow.run({1 << 25}), samples({-134218}));
  EXPECT_EQ(narrow.y_prev, -268436LL * 4096);
}

// Truncation stops the decay from below where 0.996 y rounds down to y, at -249 of the internal
// scale: under one unit of 16 bits (so 0 by the rule for -1), eight units of 24 bits.
TEST(DcRemove, EndsAConstantInSilenceOrJustBelowIt) {
  dc_16 narrow(dc_remove_init);
  dc_24 wide(dc_remove_init);
  EXPECT_EQ(narrow.run(samples(10001, -32768)).back(), 0);
  EXPECT_EQ(wide.run(samples(10001, -32768)).back(), -8);
  EXPECT_EQ(std::pair(narrow.y_prev, wide.y_prev), (std::pair<int64_t, int64_t>(-249, -249)));
  EXPECT_EQ(dc_24(dc_remove_init).run({-1}), samples({0})) << "-0.996 rounds down to -1";
}
