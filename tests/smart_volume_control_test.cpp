#include "effects/smart_volume_control.h"

#include <gtest/gtest.h>

#include "support/filter_theory.h"
#include "support/stereo.h"

namespace {

constexpr int kBlock = 240;             // 5 ms at 48 kHz, 5 periods of 1 kHz
constexpr double kTarget = 67277003.0;  // energy_target at level 8192

struct control : effect<smart_volume_control_t, smart_volume_control_init, smart_volume_control_end,
                        smart_volume_control_process> {
  double gain_now() const { return gain / 131072.0; }
  // The estimate stays, goes at once to the measurement, or anything between.
  void follow_by(int attack, int release) {
    smart_volume_control_set_attact_order(this, attack);
    smart_volume_control_set_release_order(this, release);
  }
};

// The share of a tone's energy that the default band weights count: 1/8, 1/2, 1 and 1/4 of what
// the low-passes and the rests behind them let through.
double weight(const control& c, double frequency, double rate) {
  std::complex<double> rest = 1.0;
  double sum = 0.0;
  for (int k = 0; k < 3; ++k) {
    const std::complex<double> band = rest * response(c.low_pass_left[k]->coef, frequency, rate);
    rest -= band;
    sum += std::norm(band) / (k == 0 ? 8 : k == 1 ? 2 : 1);
  }
  return sum + std::norm(rest) / 4;
}

// A 1 kHz tone that measures as energy per block: energy x 2^24 = 240 x amplitude^2 / 2 x weight.
samples tone(const control& c, double energy) {
  const double amplitude = std::sqrt(energy * 0x1p24 / (kBlock / 2 * weight(c, 1000.0, 48000.0)));
  EXPECT_LT(amplitude, kFullScale);
  return sine(kBlock, 1000.0, 48000.0, amplitude);
}

// What the ramp can lag behind: it stops 127 / 131072 short of its target.
constexpr double kRampError = 0.002;
// The root's result is an integer in Q5; the tones measure within 1 %.
constexpr double kRootError = 0.5 / 32 + 0.01;

// The estimate e, in units of the target, starts at 1/4 and moves towards the tone's energy by 1/8
// of the distance upwards, by 1/128 downwards. The gain is sqrt(0.875 / e) below e = 1/2, 1.0 up
// to 2, sqrt(1.25 / e) above, within 1/4 and 4.
TEST(SmartVolume, BringsItsEstimateToTheTarget) {
  // Of the tone, blocks, the estimate and the gain after them.
  constexpr double kPhases[][4] = {{0.125, 20, 0.23185, 1.9427},   // 1/8 + 1/8 (127/128)^20
                                   {0.125, 300, 0.13516, 2.5443},  // ... ^320
                                   {0.125, 960, 0.125, 2.6458},    // the output is 0.58 dB low
                                   {1.0, 4, 0.48708, 1.3403},      // 1 - 7/8 (7/8)^4
                                   {1.0, 1, 0.55120, 1.0},         // ... ^5
                                   {8.0, 1, 1.4823, 1.0},         {8.0, 1, 2.2970, 0.7377},
                                   {8.0, 78, 7.9998, 0.3953},   // 0.97 dB high
                                   {1.0, 247, 2.0086, 0.7889},  // 1 + 7 (127/128)^247
                                   {1.0, 10, 1.9326, 1.0}};     // above 2 for 248.1 blocks
  control c;
  smart_volume_control_set_level(&c, 2048);
  for (const auto& [energy, blocks, estimate, gain] : kPhases) {
    const samples x = tone(c, kTarget / 16 * energy);
    for (int block = 0; block < blocks; ++block) c.run_mono(x);
    const double ratio = double(c.energy_est) / (kTarget / 16 * estimate);
    EXPECT_NEAR(ratio, 1.0, energy < 1.0 ? 0.01 : 0.03) << estimate;  // the filters swing in
    EXPECT_NEAR(c.gain_now(), gain, gain == 1.0 ? kRampError : kRootError) << estimate;
  }
  smart_volume_control_set_level(&c, 256);  // 36 dB are wanted, 12 dB is the most
  for (int block = 0; block < 40; ++block) c.run_mono(tone(c, kTarget / 2));
  EXPECT_NEAR(c.gain_now(), 0.25, kRampError);
}

// A tone just below the floor, 24 dB under the target, counts as silence; just above, it doesn't.
TEST(SmartVolume, HoldsTheGainBelowTheFloor) {
  for (double energy : {0.0, kTarget / 8, kTarget / 2, kTarget}) {
    control c;
    for (int block = 0; block < 400; ++block) c.run_mono(tone(c, energy));
    const int gain = c.gain;
    EXPECT_EQ(gain == 0, energy == 0.0);
    const samples quiet = tone(c, kTarget / 256 * 0.98);
    c.run_mono(quiet);  // and what the filters still hold
    const int64_t estimate = c.energy_est;
    for (int block = 0; block < 1000; ++block) {
      c.run_mono(quiet);
      ASSERT_TRUE(c.gain <= gain && c.gain >= gain * 0.9) << "held, not faded";
    }
    EXPECT_EQ(c.energy_est, estimate);
    for (int block = 0; block < 20; ++block) c.run_mono(tone(c, kTarget / 256 * 1.03));
    EXPECT_LT(c.energy_est, estimate);
  }
}

// A boost of 4.0 (the estimate is far below the target) held back by the followed peak: full boost
// up to a quarter of full scale, then to 28672 / peak, beyond 49152 / 4 to 24576 / peak, never
// below 1.0. Eight clicks in a block have little energy for their peak.
TEST(SmartVolume, HoldsTheBoostBackForPeaks) {
  const samples peaks = {8192, 8193, 12288, 12289, 20000, 32767, 8388607};
  const double gains[] = {4.0, 3.49957, 2.33333, 1.99984, 1.2288, 1.0, 1.0};
  for (size_t k = 0; k < peaks.size(); ++k) {
    control c;
    samples clicks(kBlock);
    for (size_t i = 0; i < (k == 6 ? 1 : 240); i += 30) clicks[i] = peaks[k] * 256 + 255;
    c.energy_est = c.energy_target / 50;
    c.energy_floor = 0;
    c.follow_by(63, 7);
    for (int block = 0; block < 20; ++block) c.run_mono(clicks);
    EXPECT_EQ(c.peak_env, peaks[k]);
    EXPECT_NEAR(c.gain_now(), gains[k], kRampError) << peaks[k];
  }
  control c;
  c.run({{256 * 1000, INT32_MIN}, {-256 * 2000 - 255, 0}});
  EXPECT_EQ(c.peak_env, 2000) << "the louder channel's; the lowest word has no magnitude";
  smart_volume_control_process(&c, nullptr, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(c.peak_env, 1996);  // 2000 - 2000 / 512, rounded towards minus infinity
}

// With both orders 0 the estimate is the measurement itself.
TEST(SmartVolume, MeasuresTonesByTheirBands) {
  constexpr double kHertz[] = {44100, 48000, 96000, 192000};
  constexpr double kCorners[][3] = {
      {161, 592, 4364}, {161, 644, 4335}, {161, 644, 4221}, {4 * 161, 4 * 644, 4 * 4335}};
  for (size_t rate = 0; rate < 4; ++rate) {  // 192 kHz has the filters of 48 kHz
    const double hertz = kHertz[rate];
    control c;
    smart_volume_control_set_sample_rate(&c, static_cast<SampleRateType>(rate));
    for (IIR** channel : {c.low_pass_left, c.low_pass_right})
      for (size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(magnitude(channel[k]->coef, 0.0, hertz), 1.0, 0.0001);
        EXPECT_NEAR(decibels(magnitude(channel[k]->coef, kCorners[rate][k], hertz)), -3.01, 0.02);
      }
    c.follow_by(0, 0);
    c.energy_floor = 0;
    for (double frequency : {60.0, 300.0, 2000.0, 9000.0}) {
      const int n = 19200;  // whole periods at all rates but 44100, and long against the attack
      c.run_mono(sine(n, frequency, hertz, 4e6));
      const double expected = n / 2.0 * 4e6 * 4e6 / 0x1p24 * weight(c, frequency, hertz);
      EXPECT_NEAR(double(c.energy_est) / expected, 1.0, 0.03) << frequency << " at " << hertz;
    }
  }
}

}  // namespace
