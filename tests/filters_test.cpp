// The sixth-order section, the notch, the DC blocker, the all-pass and the echo comb.
#include <gtest/gtest.h>

#include "dsp/allpass.h"
#include "dsp/dc_remove.h"
#include "dsp/elliptic.h"
#include "dsp/iircomber.h"
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

TEST(Elliptic, BorrowsItsTable) {
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

TEST(Notch, FollowsTheClosedForm) {
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

TEST(DcRemove, FollowsTheClosedForm) {
  constexpr double kRate = 48000.0, kPole = 0.996;
  for (double frequency : {10.0, 30.0, 100.0, 1000.0}) {
    const samples x = sine(48000, frequency, kRate, 20000.0);
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    const double expected = decibels(std::abs(kPole * (1.0 - z1) / (1.0 - kPole * z1)));
    for (const samples& y : {dc_16(dc_remove_init).run(x), dc_24(dc_remove_init).run(x)})
      EXPECT_NEAR(gain_db(x, y, frequency, kRate, 24000), expected, 0.02) << frequency;
  }
}

TEST(Allpass, PassesAllEnergy) {
  for (int gain : {4096, -6000}) {
    owned<allpass, allpass_end> section(allpass_init, 7);
    allpass_setfeedback(&section, gain);
    double energy = 0.0;
    for (int v : impulse(840, 1 << 23)) energy += std::pow(allpass_process(v, &section), 2);
    EXPECT_NEAR(energy / 0x1p46, 1.0, 1e-5);
  }
}

// The loop filter's gain at 0 Hz is 1 / 1.69995, so a constant settles at x / (1 - g / 1.69995).
TEST(EchoComb, SettlesByItsLoopGain) {
  owned<iircomber, iircomber_end> comb(iircomber_init, 4);
  iircomber_setfeedback(&comb, 4096);
  int y = 0;
  for (int i = 0; i < 2000; ++i) y = iircomber_process(1000000, &comb);
  EXPECT_NEAR(y, 1000000.0 / (1.0 - 0.5 / (1.0 + 5734.0 / 8192.0)), 4.0);
}
