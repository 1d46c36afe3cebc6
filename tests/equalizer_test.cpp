#include "effects/equalizer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "support/log_capture.h"
#include "support/signals.h"
#include "support/splits.h"
#include "support/tones.h"

namespace {

using curve = std::array<int, 10>;
using row = std::array<int, 5>;

constexpr int kRates[] = {44100, 48000, 96000};

const std::vector<int> kHertz = {20, 40, 60, 100, 160, 320, 1000, 2000, 4000, 8000, 15980, 20000};

struct Equalizer : testing::Test {
  Equalizer() { equalizer_init(&eq); }
  ~Equalizer() override {
    equalizer_end(&eq);
    take_log();
  }

  int set(curve indices, int rate = 1) {
    return equalizer_set_param_index(&eq, indices.data(), static_cast<SampleRateType>(rate));
  }

  row band(int k) {
    int rows[10][5];
    equalizer_getparameter(&eq, rows);
    return std::to_array(rows[k]);
  }

  equalizer_t eq;
};

// The analogue prototype at s = i tan(pi f / rate) / tan(pi f0 / rate), which is what the bilinear
// transform makes of it.
double closed_form_db(int band, double decibels_set, double f, double rate) {
  using std::numbers::pi;
  const double f0 = band == 9 ? 16000.0 : 31.25 * (1 << band), q = 2.0;
  const std::complex<double> s(0.0, std::tan(pi * f / rate) / std::tan(pi * f0 / rate));
  const double v = std::pow(10.0, std::abs(decibels_set) / 20.0);
  std::complex<double> boost;
  if (band == 0)
    boost = (s * s + std::sqrt(2 * v) * s + v) / (s * s + std::sqrt(2.0) * s + 1.0);
  else if (band == 9)
    boost = (v * s * s + std::sqrt(2 * v) * s + 1.0) / (s * s + std::sqrt(2.0) * s + 1.0);
  else
    boost = (s * s + v / q * s + 1.0) / (s * s + s / q + 1.0);
  return decibels(std::abs(boost)) * (decibels_set < 0 ? -1.0 : 1.0);
}

}  // namespace

TEST_F(Equalizer, HoldsTheRowsThatMustNeverChange) {
  set({15, 0, 0, 0, 0, 15, 0, 0, 0, 15});
  EXPECT_EQ(band(0), (row{269502361, -535307660, 265830485, 535318014, -266887037}));
  EXPECT_EQ(band(1), (row{268435455, -535757166, 267339642, 535757166, -267339642}));
  EXPECT_EQ(band(5), (row{307654307, -515457721, 212251278, 515457721, -251470130}));
  EXPECT_EQ(band(9), (row{600679916, -218379176, 117153571, -166484770, -64534086}));
  set({-15, 0, 0, 0, 0, -15, 0, 0, 0, -15});
  EXPECT_EQ(band(0), (row{267372772, -533198797, 265830485, 533188484, -264778115}));
  EXPECT_EQ(band(5), (row{234216104, -449748710, 219413469, 449748710, -185194119}));
  EXPECT_EQ(band(9), (row{119960051, 74399715, 28839380, 97590600, -52354292}));
  set({0, 0, 0, 0, 0, 1});
  EXPECT_EQ(band(5), (row{269470496, -515457721, 250435089, 515457721, -251470130}));
  set({0, 0, 0, 0, 0, 15}, SAMPLE_RATE_44100);
  EXPECT_EQ(band(5), (row{310981976, -513212728, 207484123, 513212728, -250030644}));
  set({0, 0, 0, 0, 0, 15}, SAMPLE_RATE_96000);
  EXPECT_EQ(band(5), (row{288401750, -527102883, 239832122, 527102883, -259798417}));
}

// Every section of every table, run on its own: the shipped arithmetic, not the coefficients.
TEST_F(Equalizer, FollowsTheClosedFormFrom20HzTo20kHzWithEverySection) {
  for (int rate = 0; rate < 3; ++rate) {
    const tones signal(kRates[rate], 500000.0, kHertz);
    for (int index = -15; index <= 15; ++index) {
      curve all;
      all.fill(index);
      set(all, rate);
      for (int k = 0; k < 10; ++k) {
        IIR* section = eq.left_section[k];
        const auto measured = signal.measure([section](const int* in, int* out, int n) {
          for (int i = 0; i < n; ++i) IIR_process_32(section, in + i, out + i);
        });
        for (const auto& [hertz, gain] : measured)
          EXPECT_NEAR(gain, closed_form_db(k, index, hertz, kRates[rate]), 0.01)
              << kRates[rate] << " Hz, band " << k << " at " << index << " dB, " << hertz << " Hz";
      }
    }
  }
}

TEST_F(Equalizer, AddsUpItsBandsAndTheInputGainOnBothChannels) {
  const tones signal(48000, 100000.0, kHertz);
  const curve indices = {9, 4, -3, 0, -7, 2, 12, -15, 6, 3};
  const double gain_db = decibels(set(indices) / 8192.0);
  for (const bool right : {false, true}) {
    const auto measured = signal.measure([&](int* in, int* out, int n) {
      samples other(static_cast<size_t>(n));
      equalizer_process_stereo(&eq, right ? other.data() : in, right ? in : other.data(),
                               right ? other.data() : out, right ? out : other.data(), n);
    });
    for (const auto& [hertz, gain] : measured) {
      double expected = gain_db;
      for (int k = 0; k < 10; ++k)
        expected += closed_form_db(k, indices[static_cast<size_t>(k)], hertz, 48000.0);
      EXPECT_NEAR(gain, expected, 0.02) << hertz << " Hz, right " << right;
    }
  }
}

// Together with the test of every section: the widths that a user hears.
TEST(EqualizerBands, SpanTheOctavesStatedBetweenTheirHalfGainPoints) {
  const auto half_gain = [](int band, double from, double to) {  // gain falls from..to
    for (int i = 0; i < 50; ++i) {
      const double middle = std::sqrt(from * to);
      (closed_form_db(band, 15.0, middle, 48000.0) > 7.5 ? from : to) = middle;
    }
    return from;
  };
  for (int band = 1; band <= 8; ++band) {
    const double f0 = 31.25 * (1 << band);
    const double octaves = std::log2(half_gain(band, f0, 2.5 * f0) / half_gain(band, f0, f0 / 2.5));
    EXPECT_NEAR(octaves, band == 8 ? 1.3 : band == 7 ? 1.5 : 1.6, 0.06) << "band " << band;
  }
  EXPECT_NEAR(half_gain(0, 20.0, 200.0), 48.0, 1.0);
  EXPECT_NEAR(closed_form_db(0, 15.0, 0.1, 48000.0), 15.0, 0.001);
  EXPECT_NEAR(closed_form_db(9, 15.0, 23999.0, 48000.0), 15.0, 0.001);
  EXPECT_NEAR(closed_form_db(9, 15.0, 16000.0, 48000.0), 12.1, 0.05);
}

TEST_F(Equalizer, SetsTheInputGainFromTheCurve) {
  curve flat{}, boosted, cut;
  boosted.fill(15);
  cut.fill(-15);
  EXPECT_EQ(set(flat), 8192);
  EXPECT_EQ(set(boosted), 730) << "-21 dB";
  EXPECT_EQ(set(cut), 16345) << "+6 dB";
  // 20 * 8 + 0.3 * 8 * (22 + 18) = 256, times -21 / 1680 = -3.2 dB.
  EXPECT_EQ(set({0, 0, 0, 0, 0, 8}), 5667);
  // One boost: the cut counts -4.995. 4 * 15 + 18 * (4.5 - 1.4985) - 20 * 4.995 - 22 * 1.4985.
  EXPECT_EQ(set({15, 0, -15}), 8417) << "+0.2355 dB";
  // Two boosts: it doesn't. 4 * 19.5 + 18 * 19.5 + 20 * 4.5 = 519, -6.4875 dB.
  EXPECT_EQ(set({15, 15, -15}), 3881);
  EXPECT_EQ(set({15, 15}), 3881);
  EXPECT_NE(set({8, 15, -15}), set({8, 15})) << "8 is not beyond 8";
  const curve slope = {3, 2, 1, 0, -1, -2, -3, 4, 5, 6};
  EXPECT_EQ(set(slope), 7110);
  EXPECT_EQ(eq.gain, 7110);
  curve high = slope;
  high[9] = -15;
  EXPECT_EQ(set(high), 7110) << "band 9 has no say";
}

// Curves whose result changes by one when a product and a sum are rounded together (as a fused
// multiply-add does) instead of one after the other; worked out with each step rounded on its own.
TEST_F(Equalizer, RoundsEachStepOfTheLawToSinglePrecision) {
  EXPECT_EQ(set({-12, -3, 3, -10, 11, 6, -7, -12, -9}), 6382);
  EXPECT_EQ(set({1, 8, -5, 8, 7, 6, -8, 9, -7}), 2426);
  EXPECT_EQ(set({9, 11, -10, -12, -3, 6, 4, -6, 3}), 3047)
      << "3048 for the sum without rounding, 687";
}

TEST_F(Equalizer, LogsTheLevelLaw) {
  take_log();
  curve indices = {15, 0, -15};
  EXPECT_EQ(calc_gain_from_idxs(indices.data()), 8417);
  set({});
  set({15, 15});
  const std::vector<log_line> expected = {
      {3, "_T_sonx_hp_proc", "neg_flag 1, total_offset -18.840019, calc_gain 0.235500dB 0x20e1"},
      {3, "_T_sonx_hp_proc", "neg_flag 0, total_offset 0.000000, calc_gain -0.000000dB 0x2000"},
      {3, "_T_sonx_hp_proc", "neg_flag 2, total_offset 519.000000, calc_gain -6.487500dB 0xf29"},
  };
  EXPECT_EQ(take_log(), expected);
}

TEST(EqualizerLaw, WeightsTheNineBandsAndNoOther) {
  const float weights[] = {4, 18, 20, 22, 22, 20, 18, 12, 4};
  for (int band = 0; band < 9; ++band)
    EXPECT_EQ(weighting_offset(band, 1.5F), 1.5F * weights[band]);
  for (const int band : {-1, 9, 10, INT32_MIN}) EXPECT_EQ(weighting_offset(band, 1.5F), 1.5F);
}

TEST_F(Equalizer, ClampsIndicesAndKeepsTheSettingsApart) {
  curve indices = {20, -40, 15, -15}, kept;
  const curve before = indices;
  equalizer_set_param_index_48000(&eq, indices.data());
  equalizer_get_param_index(&eq, kept.data());
  EXPECT_EQ(kept, (curve{15, -15, 15, -15}));
  EXPECT_EQ(indices, before);

  int rows[10][5] = {{1, 2, 3, 4, 5}}, gain = 0;
  equalizer_set_gain(&eq, -77);
  equalizer_setparameter(&eq, rows);
  equalizer_get_gain(&eq, &gain);
  EXPECT_EQ(gain, -77);
  EXPECT_EQ(band(0), (row{1, 2, 3, 4, 5}));
  equalizer_get_param_index(&eq, kept.data());
  EXPECT_EQ(kept, (curve{15, -15, 15, -15}));
  set({});
  EXPECT_EQ(eq.gain, 8192) << "until the next change of the indices";

  int status = -1;
  equalizer_getstatus(&eq, &status);
  EXPECT_EQ(status, 0);
  equalizer_setstatus(&eq, 5);
  equalizer_getstatus(&eq, &status);
  EXPECT_EQ(status, 5);
}

TEST_F(Equalizer, TakesThe48000HzTableFor192000Hz) {
  const curve indices = {0, 0, 0, 0, 0, 15};
  set(indices, SAMPLE_RATE_48000);
  const row expected = band(5);
  set(indices, SAMPLE_RATE_96000);
  EXPECT_NE(band(5), expected);
  set(indices, SAMPLE_RATE_192000);
  EXPECT_EQ(band(5), expected);
}

TEST_F(Equalizer, PassesEveryBitAfterInitAndSaturatesTheInputGain) {
  samples in = wild(3000, 5), out(in.size());
  equalizer_process_mono(&eq, in.data(), out.data(), static_cast<int>(in.size()));
  for (size_t i = 0; i < in.size(); ++i)  // sections hold 27 bits
    EXPECT_EQ(out[i], in[i] == -1 ? 0 : std::clamp(in[i], -67108864, 67108863)) << in[i];

  int x[] = {0x40000000, -0x40000001, 8388607, -1, 1}, y[5];
  equalizer_set_gain(&eq, 16384);
  equalizer_process_mono(&eq, x, y, 5);
  const int expected[] = {67108863, -67108864, 16777214, -2, 2};
  EXPECT_TRUE(std::equal(y, y + 5, expected)) << "a wrapped gain would change the first two signs";
}

// Block, one-sample and section-by-section forms; in place, crossed, over any cut, beyond a block.
TEST_F(Equalizer, GivesTheSameBitsAndStateHoweverTheStreamIsCut) {
  constexpr int kFrames = 1500;
  const curve indices = {15, -7, 3, 12, -15, 6, 0, 1, -1, 15};
  set(indices);
  const samples in_left = wild(kFrames, 1), in_right = wild(kFrames, 2);
  samples left = in_left, right = in_right;  // by definition
  for (samples* channel : {&left, &right})
    for (int& x : *channel) {
      const int64_t product = (int64_t{x} * eq.gain) >> 13;
      x = static_cast<int>(std::clamp<int64_t>(product, INT32_MIN, INT32_MAX));
      if (x == -1) x = 0;
      for (int k = 0; k < 10; ++k)
        IIR_process_32((channel == &left ? eq.left_section : eq.right_section)[k], &x, &x);
    }

  const auto expect_the_same = [&](int longest, bool crossed) {
    equalizer_t other;
    equalizer_init(&other);
    curve same = indices;
    equalizer_set_param_index_48000(&other, same.data());
    samples a = in_left, b = in_right;
    over_random_splits(kFrames, longest, 9, [&](int start, int n) {
      int *l = a.data() + start, *r = b.data() + start;
      equalizer_process_stereo(&other, l, r, crossed ? r : l, crossed ? l : r, n);
    });
    if (crossed) std::swap(a, b);
    EXPECT_EQ(a, left) << longest;
    EXPECT_EQ(b, right) << longest;
    for (int k = 0; k < 10; ++k) {
      EXPECT_EQ(std::memcmp(other.left_section[k]->state, eq.left_section[k]->state, 20), 0);
      EXPECT_EQ(std::memcmp(other.right_section[k]->state, eq.right_section[k]->state, 20), 0);
    }
    samples mono = in_left;
    equalizer_reset(&other);
    over_random_splits(kFrames, longest, 9, [&](int start, int n) {
      equalizer_process_mono(&other, mono.data() + start, mono.data() + start, n);
    });
    EXPECT_EQ(mono, left) << longest;
    equalizer_end(&other);
    EXPECT_EQ(other.left_section[9], nullptr);
    EXPECT_EQ(other.right_section[0], nullptr);
    EXPECT_EQ(other.gain_index[0], 0);
  };
  expect_the_same(1, false);
  expect_the_same(100, false);
  expect_the_same(100, true);
  expect_the_same(2000, false);
  expect_the_same(2000, true);
  equalizer_process_stereo(&eq, nullptr, nullptr, nullptr, nullptr, 0);
  equalizer_process_mono(&eq, nullptr, nullptr, -3);
}

// The truncation's offset at 0 Hz, and what remains of it in silence.
TEST_F(Equalizer, LeavesNoMoreThanTheStatedOffset) {
  for (int rate = 0; rate < 3; ++rate) {
    set({}, rate);
    equalizer_reset(&eq);
    samples x = noise(20000, 1 << 22, 3), y(x.size());
    for (int& v : x) v = -std::abs(v);
    equalizer_process_mono(&eq, x.data(), y.data(), static_cast<int>(x.size()));
    const double bound = 8388608.0 * std::pow(10.0, (rate == 2 ? -58.0 : -70.0) / 20.0);
    for (size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(y[i], x[i], bound) << "flat curve";
    samples silence(20000);
    equalizer_process_mono(&eq, silence.data(), y.data(), static_cast<int>(y.size()));
    EXPECT_LT(std::abs(y.back()), bound);
    equalizer_reset(&eq);
    equalizer_process_mono(&eq, silence.data(), y.data(), 100);
    EXPECT_EQ(y[99], 0);
  }
}
