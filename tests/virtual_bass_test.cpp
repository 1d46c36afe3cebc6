#include "effects/virtual_bass_system.h"

#include <gtest/gtest.h>

#include "support/filter_theory.h"
#include "support/owned.h"
#include "support/stereo.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000};

struct virtual_bass : effect<virtual_bass_system, virtual_bass_system_init, virtual_bass_system_end,
                             virtual_bass_system_process> {
  explicit virtual_bass(int rate = 1) {
    virtual_bass_system_set_sample_rate(this, static_cast<SampleRateType>(rate));
  }

  virtual_bass& gains(int origin, int harmonics, int high) {
    virtual_bass_system_set_origin_gain(this, origin);
    virtual_bass_system_set_nld_gain(this, harmonics);
    virtual_bass_system_set_high_band_gain(this, high);
    return *this;
  }
};

// What a part makes of one sample.
int step(void (*process)(NLD*, int*, int*), NLD* nld, int x) {
  process(nld, &x, &x);
  return x;
}
int step(compressor_bass* compressor, int x) {
  compressor_bass_process(compressor, &x, &x, 1);
  return x;
}

// The default polynomial in real numbers, full scale being 1.
double ideal_polynomial(double x) {
  double y = 0.0, power = 1.0;
  for (int c : {123008, -511, 699050, -345, 310689, -288, 116508, -256})
    y += power *= x * c / 32768.0;
  return y;
}

TEST(VirtualBass, FiltersAreTheirDesigns) {
  for (int rate : {0, 1, 2, -1, 4, INT32_MAX}) {
    virtual_bass bass(rate);
    const int hertz = rate >= 0 && rate < 3 ? kRates[rate] : 48000;
    for (spectral_band_split* split : {bass.split_left, bass.split_right})
      expect_crossover(split, 250.0, hertz);
    expect_section(bass.nld_band->coef, butterworth_low_pass(500.0, hertz));
    for (IIR* section : {bass.align_left, bass.align_right, bass.align_bass})
      expect_section(section->coef, all_pass(820.0, hertz));
  }
  EXPECT_EQ(virtual_bass(SAMPLE_RATE_192000).run_mono(wild(2000, 1)), samples(2000));
}

// The third coefficient, 21, amplifies the rounding of the second power: some tens of units. At the
// largest input c0 x is cut to 2^31 - 1, and the terms that follow are at the rails:
// max + min + min + max + max + min + min + max, each sum saturated.
TEST(NonLinearDevice, FollowsItsPolynomial) {
  owned<NLD, NLD_end> nld(NLD_init);
  for (double x : {-1.0, -0.5, -0.25, -0.01, 0.0, 0.003, 0.125, 0.25, 0.7, 1.0})
    EXPECT_NEAR(step(multiplier_process, &nld, static_cast<int>(x * 8388608)),
                ideal_polynomial(x) * 8388608, 64.0);
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MAX), -1);
  nld.coefficients[1] = 0;  // breaks the chain after the first term
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MAX), INT32_MAX);
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MIN), INT32_MIN);
}

// Between 24577 and 32768 the law 0.756 (peak / 32768)^-3/4. 24577: 402653184 / 24577 = 16383,
// a = 16384, both roots are 1.0: 16383 x 15 x 65536 >> 17 = 122872. 29000: 13884, a = 19333, roots
// 139 and 267 / 256: 108604. 32635: 12338 and, a being cut to 21756, roots 147 and 274, 99041.
// 32768: 12288, a = 21845, roots 148 and 275, 99000. The first step towards the target is 1/128
// down, 1/512 up.
TEST(CompressorBass, FollowsItsLaw) {
  constexpr int kTargets[][2] = {{24576, 131072}, {24577, 122872}, {29000, 108604}, {32635, 99041},
                                 {32768, 99000},  {32769, 71680},  {65536, 71680},  {65537, 47104},
                                 {90112, 47104},  {90113, 18432}};
  constexpr int kDistances[][2] = {{128, 127}, {127, 127}, {-512, -511}, {0, 0}};
  for (const auto& [peak, target] : kTargets)
    for (const auto& [before, after] : kDistances) {
      compressor_bass c{1, 131072, target + before, 0, 0};
      const int x = step(&c, -peak * 256);
      EXPECT_EQ(c.gain, target + after) << peak;
      EXPECT_EQ(x, -peak * int64_t{256} * c.gain >> 17);
    }
}

// The plain path: bass and treble meet in phase.
TEST(VirtualBass, PassesMonoFlat) {
  for (int rate : {0, 1, 2})
    for (double f : {40.0, 100.0, 180.0, 250.0, 340.0, 600.0, 2000.0, 10000.0}) {
      const samples in = sine(kRates[rate] / 2, f, kRates[rate], 2000000.0);
      const samples out = virtual_bass(rate).gains(8192, 0, 8192).run_mono(in, 240);
      EXPECT_NEAR(gain_db(in, out, f, kRates[rate], in.size() / 5 * 2), 0.0, 0.1) << f;
    }
}

TEST(VirtualBass, MakesTheHarmonicsOfItsPolynomial) {
  for (int rate : {0, 1, 2}) {
    const double hertz = kRates[rate];
    virtual_bass bass(rate);
    bass.gains(0, 1024, 8192);
    virtual_bass_system_set_nld_clip_level(&bass, 32767);  // out of the way
    const samples out = bass.run_mono(sine(kRates[rate], 60.0, hertz, 0.7 * 8388608), 240);
    // One period of the low band's tone through the polynomial.
    const double amplitude = 0.7 * std::norm(response(bass.split_left->low[0]->coef, 60.0, hertz));
    for (int h : {2, 3, 4, 5}) {
      std::complex<double> level = 0.0;
      for (double turn = 0.0; turn < 6.28; turn += std::numbers::pi / 32)
        level += ideal_polynomial(amplitude * std::sin(turn)) * std::polar(1.0 / 32, -turn * h);
      level *= magnitude(bass.nld_band->coef, h * 60.0, hertz) / 8 * 8388608 * hertz / 4;
      // Half a second: whole periods.
      const auto made = spectrum_at(out, h * 60.0, hertz, out.size() / 2);
      EXPECT_NEAR(decibels(std::abs(made) / std::abs(level)), 0.0, 0.1) << h << " at " << hertz;
    }
  }
}

TEST(VirtualBass, FadesTheBassIn) {
  const samples out =
      virtual_bass().gains(8192, 0, 0).run_mono(sine(9600, 50.0, 48000.0, 4000000.0), 240);
  for (int part : {0, 1, 2})  // 20 ms each: a period of the tone
    EXPECT_LT(peak({out.begin() + part * 960, out.begin() + (part + 1) * 960}),
              4000000 * (1.0 - std::pow(511.0 / 512.0, 960 * (part + 1))));
  EXPECT_GT(peak({out.end() - 960, out.end()}), 3900000);
}

}  // namespace
