#include "effects/smart_volume_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>

#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr int kBlock = 240;             // 5 ms at 48 kHz, 5 periods of 1 kHz
constexpr double kTarget = 67277003.0;  // energy_target at level 8192
constexpr double kTone = 1000.0, kRate = 48000.0;

struct control {
  smart_volume_control_t svc;

  control() { smart_volume_control_init(&svc); }
  ~control() { smart_volume_control_end(&svc); }

  // One block to both channels.
  void run(samples left, samples right) {
    smart_volume_control_process(&svc, left.data(), right.data(), left.data(), right.data(),
                                 static_cast<int>(left.size()));
  }
  void run(const samples& x) { run(x, x); }
};

std::complex<double> response(const IIR* section, double frequency, double rate) {
  const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  const int* c = section->coef;
  return (double(c[0]) + double(c[1]) * z + double(c[2]) * z * z) /
         (double(1 << 28) - double(c[3]) * z - double(c[4]) * z * z);
}

// The share of a tone's energy that the default band weights count: 1/8, 1/2, 1 and 1/4 of what
// the low-passes and the rests behind them let through.
double weight(const smart_volume_control_t& svc, double frequency, double rate) {
  const double shares[] = {1.0 / 8, 1.0 / 2, 1.0};
  std::complex<double> rest = 1.0;
  double sum = 0.0;
  for (int k = 0; k < 3; ++k) {
    const std::complex<double> band = rest * response(svc.low_pass_left[k], frequency, rate);
    rest -= band;
    sum += shares[k] * std::norm(band);
  }
  return sum + std::norm(rest) / 4;
}

// A 1 kHz tone that measures as energy per block: energy x 2^24 = 240 x amplitude^2 / 2 x weight.
samples tone(const control& c, double energy) {
  const double amplitude =
      std::sqrt(energy * 0x1p24 / (kBlock / 2.0 * weight(c.svc, kTone, kRate)));
  EXPECT_LT(amplitude, kFullScale);
  return sine(kBlock, kTone, kRate, amplitude);
}

// What the ramp can lag behind: it stops 127 / 131072 short of its target.
constexpr double kRampError = 0.002;
// The root's result is an integer in Q5.
constexpr double kRootError = 0.5 / 32;

double gain_of(const control& c) { return c.svc.gain / 131072.0; }

}  // namespace

// From init the estimate stands at T/4 and falls to T/8 by 1/128 per block; the gain is
// sqrt(0.875 T / estimate): sqrt(3.5) at first, sqrt(7) = +8.45 dB in the end, where the output
// measures 0.875 T, -0.58 dB.
TEST(SmartVolume, RaisesQuietMaterialToTheTarget) {
  control c;
  const samples quiet = tone(c, kTarget / 8);
  for (int block = 1; block <= 1280; ++block) {
    c.run(quiet);
    if (block != 20 && block != 128 && block != 320 && block != 1280) continue;
    const double estimate = kTarget / 8 * (1.0 + std::pow(127.0 / 128.0, block));
    EXPECT_NEAR(double(c.svc.energy_est) / estimate, 1.0, 0.01) << block;
    EXPECT_NEAR(gain_of(c), std::sqrt(0.875 * kTarget / estimate), kRootError + 0.01) << block;
  }
  EXPECT_NEAR(decibels(gain_of(c) / std::sqrt(8.0)), -0.58, 0.1);

  // Back to material at the target: the estimate rises from T/8 by 1/8 of the distance per block
  // and passes T/2, from which on the gain is 1.0, when (7/8)^k falls below 4/7: after 5 blocks.
  const samples right = tone(c, kTarget);
  for (int block = 1; block <= 4; ++block) c.run(right);
  EXPECT_GT(gain_of(c), 1.3) << "sqrt(0.875 / 0.487) after four blocks";
  c.run(right);
  EXPECT_NEAR(gain_of(c), 1.0, kRampError);
}

// At level 2048 the target is T/16 and the estimate starts at a quarter of it; with 8 times the
// target the distance shrinks by 7/8 per block: 1.22 T after one, 2.07 T after two (the first gain
// below 1.0), 8 T in the end, where sqrt(1.25 / 8) brings the output to +0.97 dB.
TEST(SmartVolume, LowersLoudMaterialToTheTarget) {
  control c;
  smart_volume_control_set_level(&c.svc, 2048);
  const samples loud = tone(c, kTarget / 16 * 8), right = tone(c, kTarget / 16);
  c.svc.gain = 131072;
  c.run(loud);
  EXPECT_NEAR(gain_of(c), 1.0, kRampError);
  c.run(loud);
  EXPECT_NEAR(gain_of(c), std::sqrt(1.25 / 2.07), kRootError + 0.01);
  for (int block = 3; block <= 80; ++block) c.run(loud);
  EXPECT_NEAR(gain_of(c), std::sqrt(1.25 / 8), kRootError);
  EXPECT_NEAR(decibels(gain_of(c) * std::sqrt(8.0)), 0.97, 0.3);

  // And back: the estimate falls from 8 T to T by 1/128 of the distance per block and is at 2 T
  // after ln 7 / -ln(127 / 128) = 248.1 blocks, 1.24 s.
  int block = 0;
  while (c.svc.energy_est > 2 * c.svc.energy_target && block < 1000) {
    EXPECT_LT(gain_of(c), 0.85);
    c.run(right);
    ++block;
  }
  EXPECT_NEAR(block, 249, 1);
  for (int rest = 0; rest < 10; ++rest) c.run(right);
  EXPECT_NEAR(gain_of(c), 1.0, kRampError);

  smart_volume_control_set_level(&c.svc, 256);  // 36 dB are wanted, 12 dB is the most
  for (int rest = 0; rest < 40; ++rest) c.run(loud);
  EXPECT_NEAR(gain_of(c), 0.25, kRampError);
}

TEST(SmartVolume, NeverRaisesTheGainInSilence) {
  control fresh;
  samples x(kBlock);
  for (int block = 0; block < 400; ++block) fresh.run(x);
  EXPECT_EQ(fresh.svc.gain, 0);

  for (double energy : {kTarget / 8, kTarget / 2, kTarget}) {
    control c;
    for (int block = 0; block < 400; ++block) c.run(tone(c, energy));
    const int before = c.svc.gain;
    for (int block = 0; block < 1000; ++block) {
      c.run(x);
      EXPECT_LE(c.svc.gain, before);
    }
    EXPECT_GT(c.svc.gain, before * 0.9) << "held, not faded";
  }
}

// Tones just below the floor, 24 dB under the target, count as silence; just above, they don't.
TEST(SmartVolume, HoldsBelowTheFloorAndActsAboveIt) {
  for (int level : {8192, 4096}) {
    control c;
    smart_volume_control_set_level(&c.svc, level);
    const double floor = kTarget * level / 8192.0 * level / 8192.0 / 256;
    const int64_t estimate = c.svc.energy_est;
    for (int block = 0; block < 20; ++block) c.run(tone(c, floor * 0.98));
    EXPECT_EQ(c.svc.energy_est, estimate);
    EXPECT_EQ(c.svc.gain, 0);
    for (int block = 0; block < 20; ++block) c.run(tone(c, floor * 1.03));
    EXPECT_LT(c.svc.energy_est, estimate);
    EXPECT_GT(c.svc.gain, 131072);
  }
}

// The ramp by hand. Estimate on target, so the gain aimed at is 1.0, 131072: from 0 upwards by
// 131072 / 128 = 1024, then 130048 / 128 = 1016; from 2.0 downwards by 131072 / 32 = 4096.
TEST(SmartVolume, RampsOneGainOverBothChannels) {
  control c;
  smart_volume_control_set_attact_order(&c.svc, 63);
  smart_volume_control_set_release_order(&c.svc, 62);
  int left[] = {8000000, 8000000, -1}, right[] = {-4000000, 0, -131072};
  c.svc.energy_est = c.svc.energy_target;
  c.svc.energy_floor = 0;
  smart_volume_control_process(&c.svc, left, right, left, right, 3);
  EXPECT_EQ(left[0], 62500);  // 8000000 x 1024 / 131072
  EXPECT_EQ(right[0], -31250);
  EXPECT_EQ(left[1], 124511);  // x 2040: 124511.7
  EXPECT_EQ(left[2], 0) << "-1 becomes 0";
  EXPECT_EQ(right[2], -3048);  // 2040 + 129032 / 128 = 3048
  c.svc.gain = 262144;
  int loud[] = {8000000}, rail[] = {INT32_MIN};
  c.svc.peak_env = 0;
  smart_volume_control_process(&c.svc, loud, rail, loud, rail, 1);
  EXPECT_EQ(c.svc.gain, 262144 - 4096);
  EXPECT_EQ(loud[0], 15750000);
  EXPECT_EQ(rail[0], INT32_MIN) << "saturates";
  c.svc.energy_floor = INT64_MAX;
  c.svc.gain = 47;
  c.run({0});
  EXPECT_EQ(c.svc.gain, 47) << "held: 47 and its target 32 are less than a step apart";
  c.svc.gain = 31;
  c.run({0});
  EXPECT_EQ(c.svc.gain, 0) << "ends in exact silence";
}

// A boost of 4.0 (the estimate is far below the target) held back by the followed peak: full boost
// up to a quarter of full scale, then to 28672 / peak, beyond 49152 / 4 to 24576 / peak, never
// below 1.0. Eight clicks in a block have little energy for their peak.
TEST(SmartVolume, HoldsTheBoostBackForPeaks) {
  struct peak_case {
    int peak;
    double gain;
  };
  const peak_case cases[] = {{8192, 4.0},
                             {8193, 28672.0 / 8193},
                             {12288, 28672.0 / 12288},
                             {12289, 24576.0 / 12289},
                             {20000, 24576.0 / 20000},
                             {32767, 1.0},
                             {8388607, 1.0}};
  for (const auto& [height, gain] : cases) {
    control c;
    samples clicks(kBlock);
    for (size_t i = 0; i < 240; i += 30) clicks[i] = height * 256 + 255;
    if (height > 32767) std::fill(clicks.begin() + 1, clicks.end(), 0);  // 2^62 fits once
    c.svc.energy_est = c.svc.energy_target / 50;
    c.svc.energy_floor = 0;
    smart_volume_control_set_attact_order(&c.svc, 63);  // the estimate stays
    for (int block = 0; block < 20; ++block) c.run(clicks);
    EXPECT_EQ(c.svc.peak_env, height);
    EXPECT_NEAR(gain_of(c), gain, kRampError) << height;
  }
}

TEST(SmartVolume, FollowsThePeakOfTheLouderChannel) {
  control c;
  c.run({256 * 1000, INT32_MIN}, {-256 * 2000 - 255, 0});
  EXPECT_EQ(c.svc.peak_env, 2000) << "the lowest word has no magnitude";
  smart_volume_control_process(&c.svc, nullptr, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(c.svc.peak_env, 1996);  // 2000 - 2000 / 512, rounded towards minus infinity
}

// With both orders 0 the estimate is the measurement itself.
TEST(SmartVolume, MeasuresTonesByTheirBandsAtEveryRate) {
  struct rate_case {
    int rate;
    double hertz;
    std::array<double, 3> corners;
  };
  const rate_case rates[] = {{0, 44100, {161, 592, 4364}},
                             {1, 48000, {161, 644, 4335}},
                             {2, 96000, {161, 644, 4221}},
                             {3, 192000, {4 * 161, 4 * 644, 4 * 4335}}};  // the 48 kHz filters
  for (const auto& [rate, hertz, corners] : rates) {
    control c;
    smart_volume_control_set_sample_rate(&c.svc, static_cast<SampleRateType>(rate));
    for (IIR* const* channel : {c.svc.low_pass_left, c.svc.low_pass_right}) {
      for (size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(std::abs(response(channel[k], 0.0, hertz)), 1.0, 0.0001);
        EXPECT_NEAR(decibels(std::abs(response(channel[k], corners[k], hertz))), -3.01, 0.02);
      }
    }
    smart_volume_control_set_attact_order(&c.svc, 0);
    smart_volume_control_set_release_order(&c.svc, 0);
    c.svc.energy_floor = 0;
    for (double frequency : {60.0, 300.0, 2000.0, 9000.0}) {
      const int n = 19200;  // whole periods at all rates but 44100, and long against the attack
      c.run(sine(n, frequency, hertz, 4e6));
      const double expected = n / 2.0 * 4e6 * 4e6 / 0x1p24 * weight(c.svc, frequency, hertz);
      EXPECT_NEAR(double(c.svc.energy_est) / expected, 1.0, 0.03) << frequency << " at " << hertz;
    }
  }
}

TEST(SmartVolume, CountsTheLouderChannelAndShiftsBandsByLowSixteenBits) {
  const auto measure = [](std::array<int, 4> shifts, double left, double right) {
    control c;
    smart_volume_control_set_attact_order(&c.svc, 0);
    c.svc.energy_floor = c.svc.energy_est = 0;
    std::copy(shifts.begin(), shifts.end(), c.svc.band_shift);
    c.run(sine(960, kTone, kRate, left), sine(960, kTone, kRate, right));
    return double(c.svc.energy_est);
  };
  const double one = measure({3, 1, 0, 2}, 2e6, 0);
  EXPECT_EQ(measure({3, 1, 0, 2}, 0, 2e6), one);
  EXPECT_EQ(measure({3, 1, 0, 2}, 2e6, 1e6), one);
  EXPECT_EQ(measure({0x70003, 1, -0x10000, 2}, 2e6, 0), one);
  EXPECT_NEAR(measure({1, -1, 0xFFFE, 0}, 2e6, 0) / one, 4.0, 0.0001);
}

// One call is one measurement, however long; the filters and the sums run on over its stretches.
TEST(SmartVolume, MeasuresALongCallAsOneBlock) {
  const samples x = noise(1000, kFullScale, 2);
  control whole, parts;
  for (control* c : {&whole, &parts}) {
    smart_volume_control_set_attact_order(&c->svc, 0);
    smart_volume_control_set_release_order(&c->svc, 0);
    c->svc.energy_floor = -1;
  }
  whole.run(x);
  int64_t sum = 0;
  over_random_splits(1000, 400, 7, [&](int start, int count) {
    parts.run(samples(x.begin() + start, x.begin() + start + count));
    sum += parts.svc.energy_est;
  });
  EXPECT_NEAR(double(whole.svc.energy_est), double(sum), 20) << "each part truncates";
}

// With the low-pass full of 2^26, the lowest word less it must saturate: the rest keeps 0.994 of
// the lowest word's energy of 2^62 (the other low-passes take 0.003 of its root), weighted 1/4,
// >> 24.
TEST(SmartVolume, SaturatesTheSplit) {
  control c;
  smart_volume_control_set_attact_order(&c.svc, 0);
  c.run(samples(4800, (1 << 26) - 1));
  c.run({INT32_MIN});
  EXPECT_NEAR(double(c.svc.energy_est) / 0x1p36, 0.994, 0.005);
}

TEST(SmartVolume, GivesTheSameBitsHoweverTheBuffersCoincide) {
  const samples left = noise(600, kFullScale, 3), right = noise(600, kFullScale, 4);
  samples out_left(600), out_right(600), a = left, b = right;
  samples twin[] = {left, left};
  control apart, swapped, mono, twins;
  for (control* c : {&apart, &swapped, &mono, &twins}) c->svc.gain = 100000;
  {
    samples l = left, r = right;
    smart_volume_control_process(&apart.svc, l.data(), r.data(), out_left.data(), out_right.data(),
                                 600);
    EXPECT_EQ(l, left) << "inputs are only read";
  }
  smart_volume_control_process(&swapped.svc, a.data(), b.data(), b.data(), a.data(), 600);
  EXPECT_EQ(b, out_left);
  EXPECT_EQ(a, out_right);
  smart_volume_control_process(&twins.svc, twin[0].data(), twin[1].data(), twin[0].data(),
                               twin[1].data(), 600);
  a = left;
  smart_volume_control_process(&mono.svc, a.data(), a.data(), a.data(), a.data(), 600);
  EXPECT_EQ(a, twin[0]);
  EXPECT_EQ(a, twin[1]);
}

TEST(SmartVolume, RestartsFromNothingOnReset) {
  control c;
  for (int block = 0; block < 50; ++block) c.run(tone(c, kTarget));
  smart_volume_control_reset(&c.svc);
  samples silence(kBlock);
  c.run(silence);
  EXPECT_EQ(c.svc.energy_est, 0) << "the filters are empty: nothing above the floor";
  EXPECT_EQ(c.svc.gain, 0);
  EXPECT_EQ(c.svc.peak_env, 0);
  c.run(tone(c, kTarget));
  EXPECT_NEAR(double(c.svc.energy_est), kTarget / 8, kTarget / 8 * 0.05);
  smart_volume_control_end(&c.svc);
  EXPECT_EQ(c.svc.low_pass_right[2], nullptr);
}

// Any setting, any sample: nothing undefined (under the sanitizers).
TEST(SmartVolume, SurvivesAnySettings) {
  const samples words = wild(4000, 12);
  for (size_t i = 0; i + 16 < words.size(); i += 8) {
    control any;
    smart_volume_control_set_attact_order(&any.svc, words[i]);
    smart_volume_control_set_release_order(&any.svc, words[i + 1]);
    std::copy_n(&words[i + 2], 4, any.svc.band_shift);
    smart_volume_control_set_level(&any.svc, words[i + 6]);
    if (i % 16 == 0) any.svc.gain = words[i + 7];
    if (i % 32 == 0) any.svc.peak_env = words[i + 8];
    if (i % 64 == 0) any.svc.energy_est = INT64_MIN, any.svc.energy_target = INT64_MAX;
    if (i % 128 == 0) any.svc.energy_est = -1, any.svc.energy_target = INT64_MIN;
    samples left = wild(60, static_cast<unsigned>(i)), right = wild(60, 1);
    for (int block = 0; block < 3; ++block)
      smart_volume_control_process(&any.svc, &left[size_t(block) * 20], &right[size_t(block) * 20],
                                   &left[size_t(block) * 20], &right[size_t(block) * 20], 20);
    EXPECT_EQ(std::count(left.begin(), left.end(), -1), 0);
  }
}
