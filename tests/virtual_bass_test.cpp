#include "effects/virtual_bass_system.h"

#include <gtest/gtest.h>

#include "fixed.h"
#include "support/filter_theory.h"
#include "support/owned.h"
#include "support/settings.h"
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
  samples buffers(int n) { return {bass_buffer, bass_buffer + n}; }
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

TEST(VirtualBass, LoadsTheFiltersThatTheoryExpectsAtEachRateAndIsSilentAt192000Hz) {
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
TEST(NonLinearDevice, FollowsThePolynomialInRealNumbersAndSaturatesEveryTermAndEverySum) {
  owned<NLD, NLD_end> nld(NLD_init);
  for (double x : {-1.0, -0.5, -0.25, -0.01, 0.0, 0.003, 0.125, 0.25, 0.7, 1.0})
    EXPECT_NEAR(step(multiplier_process, &nld, static_cast<int>(x * 8388608)),
                ideal_polynomial(x) * 8388608, 64.0);
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MAX), -1);
  nld.coefficients[1] = 0;  // breaks the chain after the first term
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MAX), INT32_MAX);
  EXPECT_EQ(step(multiplier_process, &nld, INT32_MIN), INT32_MIN);
}

// By 1/128 of the distance per sample, rounded down: exact from above, 127 short from below. A
// sample above the level is cut first. -(-2^31) wraps to itself; the distance from 2^31 - 1 to
// -2^31 wraps to 1, and 1 >> 7 is 0.
TEST(NonLinearDevice, ClipsAtALevelThatGlidesToItsSetting) {
  owned<NLD, NLD_end> nld(NLD_init);
  // level, envelope and sample before; clipped sample, envelope and scaled level after
  constexpr int kSteps[][6] = {{0, 2097152, 8388607, 2080768, 2080768, 0},
                               {4096, 1048577, 5, 5, 1048576, 1048576},
                               {8192, 2097025, 5, 5, 2097025, 2097152},
                               {-1, -256, 0, -256, -256, -256},
                               {-1, -256, -256, 256, -256, -256},
                               {8388607, 0, 9, 9, 16777214, 2147483392},
                               {8388608, 0, -9, -9, 16777215, INT32_MAX},
                               {INT32_MIN, INT32_MIN, 5, INT32_MIN, INT32_MIN, INT32_MIN},
                               {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN},
                               {INT32_MIN, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MIN}};
  for (const auto& [level, envelope, x, clipped, left, scaled] : kSteps) {
    NLD_set_clip_level(&nld, level);
    nld.clip_envelope = envelope;
    EXPECT_EQ(samples({step(clip_process, &nld, x), nld.clip_envelope, nld.clip_level_scaled}),
              samples({clipped, left, scaled}));
  }
  NLD_set_clip_flag(&nld, 0);
  NLD_set_clip_level(&nld, 1);
  int flag = 1;
  NLD_get_clip_flag(&nld, &flag);
  EXPECT_EQ(step(clip_process, &nld, 8388607), 8388607);
  EXPECT_EQ(step(NLD_process, &nld, 8388607), step(multiplier_process, &nld, 8388607));
  EXPECT_EQ(samples({flag, nld.clip_envelope}), samples({0, INT32_MAX})) << "no glide while off";
}

// Between 24577 and 32768 the law 0.756 (peak / 32768)^-3/4. 24577: 402653184 / 24577 = 16383,
// a = 16384, both roots are 1.0: 16383 x 15 x 65536 >> 17 = 122872. 29000: 13884, a = 19333, roots
// 139 and 267 / 256: 108604. 32635: 12338 and, a being cut to 21756, roots 147 and 274, 99041.
// 32768: 12288, a = 21845, roots 148 and 275, 99000. The first step towards the target is 1/128
// down, 1/512 up.
TEST(CompressorBass, LevelsLoudBassCutsOverloadsAndApproachesItsTargets) {
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

TEST(CompressorBass, RemembersTheLevelAndTakesAGainBelow32AsZero) {
  compressor_bass c{1, 131072, 0, 0, 0};
  step(&c, 24577 * 256);
  EXPECT_EQ(c.level, 24577) << "at once";
  compressor_bass_process(&c, nullptr, nullptr, 0);
  EXPECT_EQ(c.level, 24577 - 768) << "1/32";
  c.level = 65536 + 1;
  c.gain = 31;
  EXPECT_EQ(step(&c, -1), 0);
  EXPECT_EQ(std::pair(c.level, c.gain), std::pair(65537 - 2048, 31 + ((71680 - 31) >> 9)));
  for (const auto& [target, gain] : {std::pair{16383, 0}, {16384, 32}}) {
    compressor_bass_init(&c);
    c.default_gain = target;  // 1/512 of it is the first step: 31 or 32
    step(&c, -1);
    EXPECT_EQ(c.gain, gain);
  }
  samples x = {-512, 255, INT32_MIN, 600, INT32_MAX}, peaks;  // -2^31 is never the largest
  for (int n = 0; n <= 5; ++n) peaks.push_back(find_current_max_bass(x.data(), n));
  EXPECT_EQ(peaks, samples({0, 2, 2, 2, 2, 8388607})) << "in 16-bit units";
}

TEST(CompressorBass, KeepsItsSettingsOverAResetAndDefaultsAtInitAndEnd) {
  compressor_bass c{3, 4, 5, 6, 7};
  const auto after = [&](void (*call)(compressor_bass*)) {
    call(&c);
    return samples({c.status, c.default_gain, c.gain, c.level, c.reserved});
  };
  EXPECT_EQ(after(compressor_bass_reset), samples({3, 4, 0, 0, 0}));
  EXPECT_EQ(after(compressor_bass_end), samples({0, 131072, 0, 0, 0}));
  EXPECT_EQ(after(compressor_bass_init), samples({1, 131072, 0, 0, 0}));
}

// A reset leaves what init made; a new rate keeps what isn't a filter's.
TEST(VirtualBass, ForgetsTheFiltersAtANewRateAndEverythingAtReset) {
  const stereo x = noise_pair(1024, 8000000, 6);
  for (bool reset : {false, true}) {
    virtual_bass used, fresh;
    for (virtual_bass* bass : {&used, &fresh}) virtual_bass_system_set_nld_clip_level(bass, 100);
    used.run(x);
    if (reset) {
      virtual_bass_system_reset(&used);
      EXPECT_EQ(used.buffers(256), samples(256));
    } else {
      virtual_bass_system_set_sample_rate(&used, SAMPLE_RATE_48000);
      fresh.nld->clip_envelope = used.nld->clip_envelope;
      *fresh.bass_compressor = *used.bass_compressor;
    }
    EXPECT_EQ(used.run(x), fresh.run(x));
  }
}

// The module from its one-sample parts; a splitter may put a band in the place of its input.
void by_parts(virtual_bass* b, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    int plain = in_left[i], low = in_right[i], left, right = low, harmonic;
    spectral_band_split_process(b->split_left, &plain, &plain, &left);
    spectral_band_split_process(b->split_right, &right, &low, &right);
    plain = wrap_add(plain, low) >> 1;
    NLD_process(b->nld, &plain, &harmonic);
    IIR_process_32(b->nld_band, &harmonic, &harmonic);
    IIR_process_32(b->align_bass, &plain, &plain);
    IIR_process_32(b->align_left, &left, &left);
    IIR_process_32(b->align_right, &right, &right);
    b->bass_buffer[i] =
        silence_minus_one(saturate_add(saturate32(int64_t{b->origin_gain} * plain >> 13),
                                       saturate32(int64_t{b->nld_gain} * harmonic >> 13)));
    out_left[i] = scale_down<13>(int64_t{b->high_band_gain} * left);
    out_right[i] = scale_down<13>(int64_t{b->high_band_gain} * right);
  }
  compressor_bass_process(b->bass_compressor, b->bass_buffer, b->bass_buffer, n);
  for (int* out : {out_left, out_right})
    for (int i = 0; i < n; ++i) out[i] = saturate_add(out[i], b->bass_buffer[i]);
}

TEST(VirtualBass, GivesTheBitsOfItsPartsWhicheverBuffersCoincide) {
  expect_the_bits_of_its_parts<virtual_bass>(6000, by_parts, [](virtual_bass& b, const samples& w) {
    b.gains(w[0], w[1], w[2]);
    virtual_bass_system_set_nld_clip_level(&b, w[3]);
    NLD_set_clip_flag(b.nld, w[4] & 3);
    if (w[5] % 4 == 0) b.nld->coefficients[w[6] & 7] = w[7];
    if (w[5] % 4 == 1) b.bass_compressor->default_gain = w[8];
    if (w[5] % 4 == 2) b.bass_compressor->gain = w[9];
    if (w[5] % 4 != 3) return;
    int words[5], state = b.nld_band->state[0];
    virtual_bass_system_get_nld_band_param(&b, words);
    words[(w[10] & 255) % 5] = w[11];
    virtual_bass_system_set_nld_band_param(&b, words);
    EXPECT_TRUE(std::equal(words, words + 5, b.nld_band->coef) && b.nld_band->state[0] == state);
  });
}

TEST(VirtualBass, TakesALongCallAsBlocksOf256AndAnEmptyOneAsAStepOfTheLevel) {
  virtual_bass whole, parts;
  const stereo x = noise_pair(700, 8000000, 4);
  EXPECT_EQ(whole.run(x), parts.run(x, 256));
  whole.bass_compressor->level = 3200;
  for (int n : {0, -5}) whole.frames(nullptr, nullptr, nullptr, nullptr, n);
  EXPECT_EQ(whole.bass_compressor->level, 3200 - 100 - 96);
}

TEST(VirtualBass, TurnsMinusOneInTheMixedBassIntoSilenceBeforeTheCompressor) {
  virtual_bass bass;
  bass.bass_compressor->gain = bass.bass_compressor->default_gain = 262144;  // 2.0
  const samples out = bass.gains(4096, 0, 0).run_mono(noise(8000, 9000, 6), 240);
  EXPECT_EQ(std::count(out.begin(), out.end(), -2), 0);
}

constexpr setting<virtual_bass_system> kSettings[] = {
    {virtual_bass_system_setstatus, virtual_bass_system_getstatus},
    {virtual_bass_system_set_origin_gain, virtual_bass_system_get_origin_gain},
    {virtual_bass_system_set_nld_gain, virtual_bass_system_get_nld_gain},
    {virtual_bass_system_set_high_band_gain, virtual_bass_system_get_high_band_gain},
    {virtual_bass_system_set_nld_clip_level, virtual_bass_system_get_nld_clip_level}};
constexpr setting<compressor_bass> kStatus[] = {
    {compressor_bass_setstatus, compresso_bassr_getstatus}};

TEST(VirtualBass, KeepsItsSettingsFromTheirDefaultsOnAndEndsTwice) {
  virtual_bass bass;
  expect_settings<virtual_bass_system>(&bass, kSettings, {0, 4096, 4096, 8192, 8192});
  expect_settings(bass.bass_compressor, kStatus, {1});
  virtual_bass_system_end(&bass);
  EXPECT_TRUE(!bass.bass_buffer && !bass.split_left && !bass.bass_compressor);
}  // the destructor ends it again

// The plain path: bass and treble meet in phase.
TEST(VirtualBass, PassesAMonoSignalFlatWithTheHarmonicsOff) {
  for (int rate : {0, 1, 2})
    for (double f : {40.0, 100.0, 180.0, 250.0, 340.0, 600.0, 2000.0, 10000.0}) {
      const samples in = sine(kRates[rate] / 2, f, kRates[rate], 2000000.0);
      const samples out = virtual_bass(rate).gains(8192, 0, 8192).run_mono(in, 240);
      EXPECT_NEAR(gain_db(in, out, f, kRates[rate], in.size() / 5 * 2), 0.0, 0.1) << f;
    }
}

TEST(VirtualBass, MakesTheHarmonicsOfALowToneThatThePolynomialImplies) {
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

TEST(VirtualBass, FadesTheBassInByA512thPerSample) {
  const samples out =
      virtual_bass().gains(8192, 0, 0).run_mono(sine(9600, 50.0, 48000.0, 4000000.0), 240);
  for (int part : {0, 1, 2})  // 20 ms each: a period of the tone
    EXPECT_LT(peak({out.begin() + part * 960, out.begin() + (part + 1) * 960}),
              4000000 * (1.0 - std::pow(511.0 / 512.0, 960 * (part + 1))));
  EXPECT_GT(peak({out.end() - 960, out.end()}), 3900000);
}

}  // namespace
