#include "biquad_design.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>

namespace {

constexpr int64_t kOne = 1 << 28;
constexpr int kRates[] = {8000, 16000, 32000, 44100, 48000, 88200, 96000, 192000};
constexpr auto kTypes = static_cast<int>(biquad_type::off) + 1;

struct design {
  int32_t words[5];
  design(biquad_type type, double frequency, double gain, double q, int rate) {
    design_biquad(type, frequency, gain, q, rate, words);
  }

  double db(double frequency, int rate) const {
    const auto z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
    const auto gain = (double(words[0]) + double(words[1]) * z + double(words[2]) * z * z) /
                      (double(kOne) - double(words[3]) * z - double(words[4]) * z * z);
    return 20.0 * std::log10(std::abs(gain));
  }
};

// What the analogue section gives at s = j * (tangent over tangent of the middle).
double analogue_db(biquad_type type, double s_over_j, double gain, double q) {
  const std::complex<double> s(0.0, s_over_j);
  const double a = std::pow(10.0, gain / 40.0), root = std::sqrt(a);
  const auto h = [&]() -> std::complex<double> {
    switch (type) {
      case biquad_type::peak:
        return (s * s + s * (a / q) + 1.0) / (s * s + s / (a * q) + 1.0);
      case biquad_type::low_shelf:
        return a * (s * s + s * (root / q) + a) / (a * s * s + s * (root / q) + 1.0);
      case biquad_type::high_shelf:
        return a * (a * s * s + s * (root / q) + 1.0) / (s * s + s * (root / q) + a);
      case biquad_type::low_pass:
        return 1.0 / (s * s + s / q + 1.0);
      case biquad_type::high_pass:
        return s * s / (s * s + s / q + 1.0);
      default:
        return 1.0;
    }
  }();
  return 20.0 * std::log10(std::abs(h));
}

// Every rate, type and corner of the ranges, and steps between.
template <typename Visit>
void for_every_setting(Visit visit) {
  for (const int rate : kRates)
    for (int type = 0; type < kTypes; ++type)
      for (int f = 0; f <= 24; ++f)
        for (int g = 0; g <= 12; ++g)
          for (int k = 0; k <= 10; ++k)
            visit(static_cast<biquad_type>(type), 20.0 * std::pow(1000.0, f / 24.0),
                  -24.0 + 3.0 * g, 0.1 * std::pow(200.0, k / 10.0), rate);
}

}  // namespace

TEST(BiquadDesign, FitsItsWordsAndIsStableEverywhere) {
  int64_t largest = 0, nearest = kOne;
  for_every_setting([&](auto... setting) {
    const design d(setting...);
    for (const int64_t word : d.words) largest = std::max(largest, std::abs(word));
    // 1 + a1 + a2, 1 - a1 + a2 and 1 - a2, in words.
    const int64_t a1 = -int64_t{d.words[3]}, a2 = -int64_t{d.words[4]};
    nearest = std::min({nearest, kOne + a1 + a2, kOne - a1 + a2, kOne - a2});
  });
  EXPECT_GT(nearest, 27) << "words away from the edge of stability";
  EXPECT_LT(largest, static_cast<int64_t>(7.97 * kOne)) << "a word that wrapped is near 8";
  EXPECT_GT(largest, static_cast<int64_t>(7.9 * kOne)) << "the ranges use what the words have";
}

TEST(BiquadDesign, HasTheResponseOfTheAnalogueSection) {
  double from_100_hz = 0.0, to_48000 = 0.0, anywhere = 0.0;  // worst errors in dB
  for_every_setting([&](biquad_type type, double frequency, double gain, double q, int rate) {
    const double middle = std::min(frequency, kBiquadHighestShare * rate);
    const double tangent = std::tan(std::numbers::pi * middle / rate);
    const design d(type, frequency, gain, q, rate);
    for (const double octaves : {-2.0, -0.5, 0.0, 0.5, 2.0}) {
      const double at = middle * std::exp2(octaves);
      if (at > 0.49 * rate) continue;
      const double theory =
          analogue_db(type, std::tan(std::numbers::pi * at / rate) / tangent, gain, q);
      if (theory < -60.0) continue;
      const double error = std::abs(d.db(at, rate) - theory);
      anywhere = std::max(anywhere, error);
      if (rate <= 48000) to_48000 = std::max(to_48000, error);
      if (rate <= 48000 && frequency >= 100.0) from_100_hz = std::max(from_100_hz, error);
    }
  });
  EXPECT_LT(from_100_hz, 0.003);
  EXPECT_LT(to_48000, 0.08);
  EXPECT_LT(anywhere, 1.4) << "few words are left at 20 Hz and 192000 Hz";
}

// The loudest that comes out is the sum of the impulse response's magnitudes.
TEST(BiquadDesign, NeverGoesBeyondItsReach) {
  double nearest = 0.0;
  for (int type = 0; type < kTypes; ++type)
    for (const double frequency : {200.0, 800.0, 3700.0})
      for (int g = 0; g <= 12; ++g)
        for (int k = 0; k <= 20; ++k) {
          const double gain = -24.0 + 3.0 * g, q = 0.1 * std::pow(200.0, k / 20.0);
          const auto t = static_cast<biquad_type>(type);
          const design d(t, frequency, gain, q, 8000);
          double x[3] = {double(kOne), 0.0, 0.0}, y[3] = {}, sum = 0.0;
          for (int i = 0; i < 3000; ++i) {
            y[0] = (d.words[0] * x[0] + d.words[1] * x[1] + d.words[2] * x[2] + d.words[3] * y[1] +
                    d.words[4] * y[2]) /
                   double(kOne);
            sum += std::abs(y[0]) / double(kOne);
            x[2] = x[1], x[1] = x[0], x[0] = 0.0;
            y[2] = y[1], y[1] = y[0];
          }
          nearest = std::max(nearest, sum / biquad_reach(t, gain, q));
        }
  EXPECT_LE(nearest, 1.0);
  EXPECT_GT(nearest, 0.9) << "the reach is no wild guess";
}

TEST(BiquadDesign, TurnsThePhaseOfAnAllPassAndNothingElse) {
  const design d(biquad_type::all_pass, 1000.0, 6.0, 0.7, 48000);
  EXPECT_EQ(d.words[0], -d.words[4]);
  EXPECT_EQ(d.words[1], -d.words[3]);
  EXPECT_EQ(d.words[2], kOne);
  EXPECT_NEAR(d.db(1000.0, 48000), 0.0, 1e-6);
}

TEST(BiquadDesign, PassesThroughWhenOffOrWithoutGain) {
  const design off(biquad_type::off, 100.0, 6.0, 1.0, 48000);
  EXPECT_TRUE(std::ranges::equal(off.words, design(biquad_type::off, 1, 1, 1, 8000).words));
  EXPECT_EQ(off.words[0], kOne);
  for (const auto type : {biquad_type::peak, biquad_type::low_shelf, biquad_type::high_shelf})
    for (const double frequency : {20.0, 777.0, 20000.0}) {
      const design flat(type, frequency, 0.0, 3.3, 44100);
      EXPECT_EQ(flat.words[0], kOne);
      EXPECT_EQ(flat.words[1], -flat.words[3]);
      EXPECT_EQ(flat.words[2], -flat.words[4]);
    }
}

TEST(BiquadDesign, ClampsWhatIsOutOfRange) {
  const auto same = [](const design& a, const design& b) {
    return std::ranges::equal(a.words, b.words);
  };
  const auto type = biquad_type::low_shelf;
  EXPECT_TRUE(same({type, 1.0, 90.0, 99.0, 48000}, {type, 20.0, 12.0, 20.0, 48000}));
  EXPECT_TRUE(same({type, 1e9, -90.0, 0.0, 48000}, {type, 20000.0, -24.0, 0.1, 48000}));
  EXPECT_TRUE(same({type, 20000.0, 3.0, 1.0, 32000}, {type, 14720.0, 3.0, 1.0, 32000}));
  EXPECT_TRUE(same({type, NAN, NAN, NAN, 48000}, {type, 20.0, -24.0, 0.1, 48000}));
}

// The same number on every platform.
TEST(BiquadDesign, GivesTheSameMillionDesignsEverywhere) {
  uint64_t state = 1, hash = 0xcbf29ce484222325u;
  const auto random = [&](double low, double high) {  // the upper 53 bits of a Weyl-mixed counter
    uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return low + (high - low) * static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-53;
  };
  for (int i = 0; i < 1000000; ++i) {
    const auto type = static_cast<biquad_type>(i % kTypes);
    const double frequency = random(20.0, 20000.0), gain = random(-24.0, 12.0), q = random(0.1, 20);
    const design d(type, frequency, gain, q, kRates[i / kTypes % std::ssize(kRates)]);
    for (const int32_t word : d.words) hash = (hash ^ static_cast<uint32_t>(word)) * 0x100000001b3u;
  }
  EXPECT_EQ(hash, 17879920631565626768u);
}
