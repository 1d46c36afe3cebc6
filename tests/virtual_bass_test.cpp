#include "effects/virtual_bass_system.h"

#include <gtest/gtest.h>

#include <array>

#include "dsp/fixed.h"
#include "support/filter_theory.h"
#include "support/stereo.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000, 192000};

SampleRateType rate_type(int number) { return static_cast<SampleRateType>(number); }

struct virtual_bass : effect<virtual_bass_system, virtual_bass_system_init, virtual_bass_system_end,
                             virtual_bass_system_process> {
  explicit virtual_bass(int rate = 1) {
    virtual_bass_system_set_sample_rate(this, rate_type(rate));
  }

  virtual_bass& gains(int origin, int harmonics, int high) {
    virtual_bass_system_set_origin_gain(this, origin);
    virtual_bass_system_set_nld_gain(this, harmonics);
    virtual_bass_system_set_high_band_gain(this, high);
    return *this;
  }
};

struct harmonics : NLD {
  harmonics() { NLD_init(this); }
  ~harmonics() { NLD_end(this); }

  int clip(int x) {
    clip_process(this, &x, &x);
    return x;
  }
  int polynomial(int x) {
    multiplier_process(this, &x, &x);
    return x;
  }
};

// The default polynomial in real numbers, full scale being 1: its coefficients of x, x^2, ... x^8.
std::array<double, 8> ideal_polynomial() {
  std::array<double, 8> a{123008, -511, 699050, -345, 310689, -288, 116508, -256};
  for (size_t k = 0; k < 8; ++k) a[k] *= (k == 0 ? 1.0 : a[k - 1]) / 32768.0;
  return a;
}

TEST(VirtualBass, LoadsTheFiltersThatTheoryExpectsAtEachRate) {
  virtual_bass bass;
  for (int rate = 0; rate < 3; ++rate) {
    SCOPED_TRACE(kRates[rate]);
    virtual_bass_system_set_sample_rate(&bass, rate_type(rate));
    for (spectral_band_split* split : {bass.split_left, bass.split_right})
      expect_crossover(split, 250.0, kRates[rate]);
    expect_section(bass.nld_band->coef, butterworth_low_pass(500.0, kRates[rate]));
    for (IIR* section : {bass.align_left, bass.align_right, bass.align_bass})
      expect_section(section->coef, all_pass(820.0, kRates[rate]));
  }
  for (int unknown : {-1, 4, INT32_MAX}) {
    virtual_bass_system_set_sample_rate(&bass, rate_type(unknown));
    expect_crossover(bass.split_left, 250.0, 48000.0);
  }
}

TEST(VirtualBass, IsSilentAt192000Hz) {
  EXPECT_EQ(virtual_bass(SAMPLE_RATE_192000).run_mono(wild(2000, 1)), samples(2000));
}

TEST(SpectralBandSplit, ReadsTheInputBeforeItWritesABandOverIt) {
  virtual_bass apart, over_low, over_high;
  for (int x : wild(500, 2)) {
    int low, high, low2 = x, high2, low3, high3 = x;
    spectral_band_split_process(apart.split_left, &x, &low, &high);
    spectral_band_split_process(over_low.split_left, &low2, &low2, &high2);
    spectral_band_split_process(over_high.split_left, &high3, &low3, &high3);
    ASSERT_EQ((std::array{low2, high2, low3, high3}), (std::array{low, high, low, high}));
  }
}

// The third coefficient, 21, amplifies the rounding of the second power: some tens of units.
TEST(NonLinearDevice, FollowsThePolynomialInRealNumbers) {
  harmonics nld;
  for (double x : {-1.0, -0.5, -0.25, -0.01, 0.0, 0.003, 0.125, 0.25, 0.7, 1.0}) {
    double y = 0.0, power = 1.0;
    for (double a : ideal_polynomial()) y += a * (power *= x);
    EXPECT_NEAR(nld.polynomial(static_cast<int>(x * 8388608)), y * 8388608, 64.0) << x;
  }
}

// At the largest input c0 x is cut to 2^31 - 1, and the terms that follow are at the rails:
// max + min + min + max + max + min + min + max, each sum saturated.
TEST(NonLinearDevice, SaturatesEveryTermAndEverySum) {
  harmonics nld;
  EXPECT_EQ(nld.polynomial(INT32_MAX), -1);
  nld.coefficients[1] = 0;  // breaks the chain after the first term
  EXPECT_EQ(nld.polynomial(INT32_MAX), INT32_MAX);
  EXPECT_EQ(nld.polynomial(INT32_MIN), INT32_MIN);
}

// By 1/128 of the distance per sample: exact from above, 127 short from below.
TEST(NonLinearDevice, GlidesToANewClipLevel) {
  harmonics nld;
  EXPECT_EQ(nld.clip(8388607), 2097152) << "a quarter of full scale";
  NLD_set_clip_level(&nld, 0);
  EXPECT_EQ(nld.clip(8388607), 2097152 - 16384);
  EXPECT_EQ(nld.clip(-8388608), -(2080768 - 16256));
  for (const auto& [level, envelope] :
       {std::pair{4096, 1048576}, {8192, 2097152 - 127}, {-1, -256}}) {
    NLD_set_clip_level(&nld, level);
    for (int i = 0; i < 5000; ++i) nld.clip(0);
    EXPECT_EQ(nld.clip_envelope, envelope);
  }
  EXPECT_EQ(std::pair(nld.clip(0), nld.clip(-256)), std::pair(-256, 256)) << "above, else below";
  NLD_set_clip_flag(&nld, 0);
  NLD_set_clip_level(&nld, 1);
  EXPECT_EQ(nld.clip(8388607), 8388607);
  EXPECT_EQ(nld.clip_envelope, -256) << "no glide while off";
  int flag = 1;
  NLD_get_clip_flag(&nld, &flag);
  NLD_reset(&nld);
  EXPECT_EQ((std::array{flag, nld.clip_envelope, nld.clip_level_scaled}),
            (std::array{0, 2097152, 256}));
}

// -(-2^31) wraps to itself; the distance from 2^31 - 1 to -2^31 wraps to 1, and 1 >> 7 is 0.
TEST(NonLinearDevice, ClipsAtTheRails) {
  harmonics nld;
  for (const auto& [level, scaled] :
       {std::pair{8388607, 2147483392}, {8388608, INT32_MAX}, {INT32_MIN, INT32_MIN}}) {
    NLD_set_clip_level(&nld, level);
    EXPECT_EQ(nld.clip_level_scaled, scaled);
  }
  nld.clip_envelope = INT32_MIN;
  EXPECT_EQ(std::pair(nld.clip(5), nld.clip(INT32_MIN)), std::pair(INT32_MIN, INT32_MIN));
  nld.clip_envelope = INT32_MAX;
  EXPECT_EQ(nld.clip(INT32_MAX), INT32_MAX);
}

TEST(CompressorBass, MeasuresThePeakIn16BitUnits) {
  int x[] = {-512, 255, INT32_MIN, 600, INT32_MAX};  // -2^31 is never the largest
  samples peaks;
  for (int n = 0; n <= 5; ++n) peaks.push_back(find_current_max_bass(x, n));
  EXPECT_EQ(peaks, samples({0, 2, 2, 2, 2, 8388607}));
  EXPECT_EQ(find_current_max_bass(x + 2, 1), 0);
}

// The gain that a steady peak ends at, approached from above: 127 over the target.
TEST(CompressorBass, LevelsLoudBassAtAQuarterSlopeAndCutsOverloads) {
  const auto target = [](int peak) {
    compressor_bass compressor;
    compressor_bass_init(&compressor);
    compressor.gain = 200000;
    samples x(6000, peak * 256);
    compressor_bass_process(&compressor, x.data(), x.data(), 6000);
    EXPECT_EQ(x.back(), static_cast<int>(peak * int64_t{256} * compressor.gain >> 17));
    return compressor.gain - 127;
  };
  for (int peak : {24577, 26000, 29000, 32768}) {
    const double law = 131072 * 0.75557 * std::pow(peak / 32768.0, -0.75);
    EXPECT_NEAR(target(peak), law, 0.005 * law) << peak;
  }
  for (const auto& [peak, gain] : {std::pair{24576, 131072},
                                   {32769, 71680},
                                   {65536, 71680},
                                   {65537, 47104},
                                   {90112, 47104},
                                   {90113, 18432}})
    EXPECT_EQ(target(peak), gain) << peak;
}

// 24577: 402653184 / 24577 = 16383, a = 16384, both roots are 1.0: 16383 x 15 x 65536 >> 17 =
// 122872. 32768: 12288, a = 21845, roots 148 and 275, so 12288 x 15 x (275 x 256) >> 17 = 99000.
// 32635: 12338 and, a being cut to 21756, roots 147 and 274, 99041. The first step towards the
// target is 1/128 down, 1/512 up.
TEST(CompressorBass, GivesTheTargetsWorkedOutByHand) {
  compressor_bass compressor;
  compressor_bass_init(&compressor);
  for (const auto& [peak, target] : {std::pair{24577, 122872}, {32768, 99000}, {32635, 99041}})
    for (const auto& [distance, left] : {std::pair{128, 127}, {-512, -511}, {0, 0}}) {
      compressor.level = 0;
      compressor.gain = target + distance;
      int x = -peak * 256;
      compressor_bass_process(&compressor, &x, &x, 1);
      EXPECT_EQ(compressor.gain, target + left) << peak;
    }
}

TEST(CompressorBass, RemembersTheLevelAndTakesAGainBelow32AsZero) {
  compressor_bass c;
  compressor_bass_init(&c);
  int x = 24577 * 256, faint = -1;
  compressor_bass_process(&c, &x, &x, 1);
  EXPECT_EQ(c.level, 24577) << "at once";
  compressor_bass_process(&c, &x, &x, 0);
  EXPECT_EQ(c.level, 24577 - 768) << "1/32";
  c.level = 65536 + 1;
  c.gain = 31;
  compressor_bass_process(&c, &faint, &faint, 1);
  EXPECT_EQ((std::array{c.level, c.gain, faint}),
            (std::array{65537 - 2048, 31 + ((71680 - 31) >> 9), 0}));
  for (const auto& [target, gain] : {std::pair{16383, 0}, {16384, 32}}) {
    compressor_bass_init(&c);
    c.default_gain = target;  // 1/512 of it is the first step: 31 or 32
    compressor_bass_process(&c, &faint, &faint, 1);
    EXPECT_EQ(c.gain, gain);
  }
}

TEST(CompressorBass, KeepsItsSettingsOverAResetAndDefaultsAtInitAndEnd) {
  const auto after = [](void (*call)(compressor_bass*)) {
    compressor_bass c{3, 4, 5, 6, 7};
    call(&c);
    return std::array{c.status, c.default_gain, c.gain, c.level, c.reserved};
  };
  EXPECT_EQ(after(compressor_bass_reset), (std::array{3, 4, 0, 0, 0}));
  EXPECT_EQ(after(compressor_bass_init), (std::array{1, 131072, 0, 0, 0}));
  EXPECT_EQ(after(compressor_bass_end), (std::array{0, 131072, 0, 0, 0}));
}

// What a user knows of clipping: a square wave has the odd harmonics 1 / h.
TEST(VirtualBass, TurnsAClippedToneIntoTheHarmonicsOfASquareWave) {
  virtual_bass bass;
  bass.gains(0, 8192, 0);
  virtual_bass_system_set_nld_clip_level(&bass, 64);  // -54 dB: the polynomial is linear there
  const samples out = bass.run_mono(sine(48000, 50.0, 48000.0, 8000000.0), 240);
  const double square = 4.0 / std::numbers::pi * 64 * 256 * 123008 / 32768.0;
  for (int h : {1, 3, 5, 7})
    EXPECT_NEAR(std::abs(spectrum_at(out, h * 50.0, 48000.0, 24000)) / 12000.0,
                square / h * magnitude(bass.nld_band->coef, h * 50.0, 48000.0), 0.01 * square / h)
        << h;
}

TEST(VirtualBass, PassesAMonoSignalFlatWithTheHarmonicsOff) {
  for (int rate = 0; rate < 3; ++rate)
    for (double f : {40.0, 100.0, 180.0, 250.0, 340.0, 600.0, 2000.0, 10000.0}) {
      const samples in = sine(kRates[rate] / 2, f, kRates[rate], 2000000.0);
      const samples out = virtual_bass(rate).gains(8192, 0, 8192).run_mono(in, 240);
      EXPECT_NEAR(gain_db(in, out, f, kRates[rate], in.size() / 5 * 2), 0.0, 0.1)
          << f << " Hz at " << kRates[rate];
    }
}

TEST(VirtualBass, ScalesTheHighBandAndTurnsMinusOneIntoSilence) {
  const samples in = sine(24000, 2000.0, 48000.0, 4000000.0);
  const samples out = virtual_bass().gains(4096, 4096, 2048).run_mono(in, 240);
  EXPECT_NEAR(gain_db(in, out, 2000.0, 48000.0, 12000), -12.04, 0.02);
  const samples quiet = virtual_bass().gains(0, 0, 8192).run_mono(noise(2000, 20, 6), 240);
  EXPECT_GT(std::count(quiet.begin(), quiet.end(), -2), 0);
  EXPECT_EQ(std::count(quiet.begin(), quiet.end(), -1), 0);
}

// A reset leaves what init made; a new rate or a new band keep what isn't a filter's.
TEST(VirtualBass, ForgetsTheFiltersAtANewRateAndEverythingAtReset) {
  const stereo x = noise_pair(1024, 8000000, 6), y = noise_pair(1024, 8000000, 16);
  for (bool reset : {false, true}) {
    virtual_bass used, fresh;
    virtual_bass_system_set_nld_clip_level(&fresh, 100);
    virtual_bass_system_set_nld_clip_level(&used, 100);
    used.run(x);
    if (reset) {
      virtual_bass_system_reset(&used);
      EXPECT_EQ(samples(used.bass_buffer, used.bass_buffer + 256), samples(256));
    } else {
      virtual_bass_system_set_sample_rate(&used, SAMPLE_RATE_48000);
      fresh.nld->clip_envelope = used.nld->clip_envelope;
      *fresh.bass_compressor = *used.bass_compressor;
    }
    EXPECT_EQ(used.run(y), fresh.run(y));
    int words[] = {1, 2, 3, 4, 5}, got[5];
    const samples state(used.nld_band->state, used.nld_band->state + 5);
    EXPECT_NE(state, samples(5));
    virtual_bass_system_set_nld_band_param(&used, words);
    virtual_bass_system_get_nld_band_param(&used, got);
    EXPECT_TRUE(std::ranges::equal(got, words));
    EXPECT_TRUE(std::equal(state.begin(), state.end(), used.nld_band->state));
  }
}

// The filters round toward minus infinity, so rest is a constant a little below 0.
TEST(VirtualBass, ComesToRestAfterTheSignal) {
  for (int rate = 0; rate < 3; ++rate)
    for (double f : {0.0, 40.0, 63.0, 100.0, 250.0}) {
      SCOPED_TRACE(f);
      const int n = kRates[rate];
      samples in = f > 0.0 ? sine(n / 10, f, n, 8000000.0) : noise(n / 10, 8000000, 3);
      in.resize(size_t(n));
      const samples out = virtual_bass(rate).run_mono(in, 240);
      EXPECT_EQ(samples(out.end() - n / 10, out.end()), samples(size_t(n / 10), out.back()));
      EXPECT_LE(out.back(), 0);
      EXPECT_GT(out.back(), rate < 2 ? -250 : -900);
    }
}

// Every setting at random, within reason or far beyond it, and the parts' own words too.
void set_at_random(virtual_bass* bass, std::mt19937& generator) {
  const auto any = [&] {
    const int word = static_cast<int>(generator());
    return generator() % 3 == 0 ? word : word >> 17;
  };
  bass->gains(any(), any(), any());
  virtual_bass_system_set_nld_clip_level(bass, any());
  NLD_set_clip_flag(bass->nld, generator() % 4 != 0);
  if (generator() % 4 == 0) bass->nld->coefficients[generator() % 8] = any();
  if (generator() % 4 == 0) bass->bass_compressor->default_gain = any();
  if (generator() % 4 == 0) bass->bass_compressor->gain = any();
  int coefficients[5];
  virtual_bass_system_get_nld_band_param(bass, coefficients);
  coefficients[generator() % 5] = any();
  if (generator() % 4 == 0) virtual_bass_system_set_nld_band_param(bass, coefficients);
}

// The module from its one-sample parts, a sample at a time.
void sample_by_sample(virtual_bass_system* b, int* in_left, int* in_right, int* out_left,
                      int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    int low_left, low_right, high_left, high_right, harmonic;
    spectral_band_split_process(b->split_left, &in_left[i], &low_left, &high_left);
    spectral_band_split_process(b->split_right, &in_right[i], &low_right, &high_right);
    int plain = wrap_add(low_left, low_right) >> 1;
    NLD_process(b->nld, &plain, &harmonic);
    IIR_process_32(b->nld_band, &harmonic, &harmonic);
    IIR_process_32(b->align_bass, &plain, &plain);
    IIR_process_32(b->align_left, &high_left, &high_left);
    IIR_process_32(b->align_right, &high_right, &high_right);
    b->bass_buffer[i] =
        silence_minus_one(saturate_add(saturate32(int64_t{b->origin_gain} * plain >> 13),
                                       saturate32(int64_t{b->nld_gain} * harmonic >> 13)));
    out_left[i] = scale_down<13>(int64_t{b->high_band_gain} * high_left);
    out_right[i] = scale_down<13>(int64_t{b->high_band_gain} * high_right);
  }
  compressor_bass_process(b->bass_compressor, b->bass_buffer, b->bass_buffer, n);
  for (int i = 0; i < n; ++i) {
    out_left[i] = saturate_add(out_left[i], b->bass_buffer[i]);
    out_right[i] = saturate_add(out_right[i], b->bass_buffer[i]);
  }
}

// Wild input and settings, random blocks, and each way in which whole buffers may coincide.
TEST(VirtualBass, GivesTheBitsOfItsPartsWhicheverBuffersCoincide) {
  constexpr int kPatterns[][4] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0}, {0, 0, 1, 2},
                                  {0, 0, 0, 0}, {0, 1, 2, 2}, {0, 1, 1, 1}};
  constexpr int kFrames = 6000;
  unsigned seed = 10;
  for (const auto& p : kPatterns) {
    virtual_bass fast, slow;
    std::mt19937 generator(seed), same(seed);
    samples fast_buffers[4], slow_buffers[4];
    for (unsigned k = 0; k < 4; ++k)
      fast_buffers[k] = slow_buffers[k] =
          k % 2 ? wild(kFrames, seed + k) : noise(kFrames, 1 << 24, k);
    over_random_splits(kFrames, 256, seed, [&](int start, int count) {
      int *x[4], *y[4];
      for (int k = 0; k < 4; ++k) {
        x[k] = &fast_buffers[p[k]][start];
        y[k] = &slow_buffers[p[k]][start];
      }
      virtual_bass_system_process(&fast, x[0], x[1], x[2], x[3], count);
      sample_by_sample(&slow, y[0], y[1], y[2], y[3], count);
      set_at_random(&fast, generator);
      set_at_random(&slow, same);
    });
    for (int k = 0; k < 4; ++k) ASSERT_EQ(fast_buffers[k], slow_buffers[k]) << "pattern " << seed;
    ++seed;
  }
}

TEST(VirtualBass, TakesALongCallAsBlocksOf256AndAnEmptyOneAsAStepOfTheLevel) {
  virtual_bass whole, parts;
  const stereo x = noise_pair(700, 8000000, 4);
  EXPECT_EQ(whole.run(x), parts.run(x, 256));
  whole.bass_compressor->level = 3200;
  virtual_bass_system_process(&whole, nullptr, nullptr, nullptr, nullptr, 0);
  virtual_bass_system_process(&whole, nullptr, nullptr, nullptr, nullptr, -5);
  EXPECT_EQ(whole.bass_compressor->level, 3200 - 100 - 96);
}

TEST(VirtualBass, KeepsItsSettingsFromTheirDefaultsOnAndEndsTwice) {
  virtual_bass bass;
  const auto settings = [&] {
    std::array<int, 6> v;
    virtual_bass_system_getstatus(&bass, &v[0]);
    virtual_bass_system_get_origin_gain(&bass, &v[1]);
    virtual_bass_system_get_nld_gain(&bass, &v[2]);
    virtual_bass_system_get_high_band_gain(&bass, &v[3]);
    virtual_bass_system_get_nld_clip_level(&bass, &v[4]);
    compresso_bassr_getstatus(bass.bass_compressor, &v[5]);
    return v;
  };
  EXPECT_EQ(settings(), (std::array{0, 4096, 4096, 8192, 8192, 1}));
  bass.gains(6, 7, 8);
  virtual_bass_system_setstatus(&bass, 5);
  virtual_bass_system_set_nld_clip_level(&bass, 9);
  compressor_bass_setstatus(bass.bass_compressor, 10);
  EXPECT_EQ(settings(), (std::array{5, 6, 7, 8, 9, 10}));
  virtual_bass_system_end(&bass);
  EXPECT_TRUE(!bass.bass_buffer && !bass.split_left && !bass.bass_compressor);
}  // the destructor ends it again

// Amplitudes of the harmonics that the default polynomial makes of a sine, full scale being 1.
std::array<double, 6> ideal_harmonics(double amplitude) {
  const auto a = ideal_polynomial();
  constexpr int steps = 64;
  std::array<std::complex<double>, 6> sum{};
  for (int i = 0; i < steps; ++i) {
    const double turn = 2.0 * std::numbers::pi * i / steps, x = amplitude * std::sin(turn);
    double y = 0.0;
    for (size_t k = a.size(); k-- > 0;) y = (y + a[k]) * x;
    for (size_t h = 0; h < sum.size(); ++h)
      sum[h] += y * std::polar(2.0 / steps, -turn * static_cast<double>(h));
  }
  std::array<double, 6> level{};
  for (size_t h = 0; h < sum.size(); ++h) level[h] = std::abs(sum[h]);
  return level;
}

TEST(VirtualBass, MakesTheHarmonicsOfALowToneThatThePolynomialImplies) {
  for (int rate = 0; rate < 3; ++rate) {
    const double hertz = kRates[rate], full = kFullScale + 1.0, gain = 0.125;
    virtual_bass bass(rate);
    bass.gains(0, 1024, 8192);
    virtual_bass_system_set_nld_clip_level(&bass, 32767);  // out of the way
    const samples out = bass.run_mono(sine(kRates[rate], 60.0, hertz, 0.7 * full), 240);
    const size_t first = out.size() / 2;  // half a second: whole periods
    const auto level =
        ideal_harmonics(0.7 * std::norm(response(bass.split_left->low[0]->coef, 60.0, hertz)));
    for (int h : {2, 3, 4, 5}) {
      const double expected =
          level[size_t(h)] * gain * std::abs(response(bass.nld_band->coef, h * 60.0, hertz));
      const double measured =
          std::abs(spectrum_at(out, h * 60.0, hertz, first)) / (double(first) / 2.0) / full;
      EXPECT_NEAR(decibels(measured / expected), 0.0, 0.1) << h << " x 60 Hz at " << hertz;
    }
  }
}

TEST(VirtualBass, PassesTheHighsFlatSumsItsBandsFlatAndFadesTheBassIn) {
  const samples treble = sine(24000, 2000.0, 48000.0, 4000000.0);
  EXPECT_NEAR(gain_db(treble, virtual_bass().run_mono(treble), 2000.0, 48000.0, 12000), 0.0, 0.02);

  for (int rate = 0; rate < 3; ++rate) {
    virtual_bass bass(rate);
    samples sum = impulse(kRates[rate] / 5, 1 << 25);
    for (int& x : sum) {
      int low, high;
      spectral_band_split_process(bass.split_left, &x, &low, &high);
      x = low + high;
    }
    for (double f : {30.0, 100.0, 200.0, 250.0, 315.0, 1000.0, 5000.0, 18000.0})
      EXPECT_NEAR(decibels(std::abs(spectrum_at(sum, f, kRates[rate])) / (1 << 25)), 0.0, 0.05)
          << f << " Hz at " << kRates[rate];
  }

  virtual_bass bass;
  bass.gains(8192, 0, 0);
  const samples first = bass.run_mono(sine(9600, 50.0, 48000.0, 4000000.0), 240);
  for (int part : {0, 1, 2})  // 20 ms each: a period of the tone
    EXPECT_LT(peak({first.begin() + part * 960, first.begin() + (part + 1) * 960}),
              4000000 * (1.0 - std::pow(511.0 / 512.0, 960 * (part + 1))));
  EXPECT_GT(peak({first.end() - 960, first.end()}), 3900000);
}

}  // namespace
