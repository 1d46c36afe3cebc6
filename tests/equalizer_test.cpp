#include "effects/equalizer.h"

#include <gtest/gtest.h>

#include <array>

#include "support/log_capture.h"
#include "support/signals.h"
#include "support/tones.h"

namespace {

using curve = std::array<int, 10>;
using row = std::array<int, 5>;

constexpr int kRates[] = {44100, 48000, 96000};

const std::vector<int> kHertz = {20, 40, 60, 100, 160, 320, 1000, 2000, 4000, 8000, 15980, 20000};

struct Equalizer : testing::Test {
  Equalizer() { equalizer_init(&eq); }
  ~Equalizer() override { equalizer_end(&eq); }

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
  const double f0 = band == 9 ? 16000.0 : 31.25 * (1 << band);
  const std::complex<double> s(0.0, std::tan(pi * f / rate) / std::tan(pi * f0 / rate));
  const double v = std::pow(10.0, std::abs(decibels_set) / 20.0), w = std::sqrt(2 * v);
  const auto flat = s * s + s * (band % 9 == 0 ? std::sqrt(2.0) : 0.5) + 1.0;  // Q of 2
  const auto raised = band == 0   ? s * s + w * s + v
                      : band == 9 ? v * s * s + w * s + 1.0
                                  : s * s + v / 2.0 * s + 1.0;
  const auto boost = raised / flat;
  return decibels(std::abs(boost)) * (decibels_set < 0 ? -1.0 : 1.0);
}

}  // namespace

// Every section of every table, run on its own: the shipped arithmetic, not the coefficients.
TEST_F(Equalizer, SectionsFollowTheClosedForm) {
  for (int rate = 0; rate < 3; ++rate) {
    const tones signal(kRates[rate], 500000.0, kHertz);
    for (int index = -15; index <= 15; ++index) {
      curve all;
      all.fill(index);
      set(all, rate);
      for (int k = 0; k < 10; ++k) {
        const auto measured = signal.measure([&](const int* in, int* out, int n) {
          for (int i = 0; i < n; ++i) IIR_process_32(eq.left_section[k], in + i, out + i);
        });
        for (const auto& [hertz, gain] : measured)
          EXPECT_NEAR(gain, closed_form_db(k, index, hertz, kRates[rate]), 0.01)
              << kRates[rate] << " Hz, band " << k << " at " << index << " dB, " << hertz << " Hz";
      }
    }
  }
}

TEST_F(Equalizer, InputGainFollowsTheLevelLaw) {
  curve boosted, cut;
  boosted.fill(15);
  cut.fill(-15);
  EXPECT_EQ(set(boosted), 730) << "-21 dB";
  EXPECT_EQ(set(cut), 16345) << "+6 dB";
  EXPECT_EQ(set({}), 8192);
  // 20 * 8 + 0.3 * 8 * (22 + 18) = 256, times -21 / 1680 = -3.2 dB.
  EXPECT_EQ(set({0, 0, 0, 0, 0, 8}), 5667);
  EXPECT_EQ(eq.gain, 5667);
  // Two boosts: it doesn't. 4 * 19.5 + 18 * 19.5 + 20 * 4.5 = 519, -6.4875 dB.
  EXPECT_EQ(set({15, 15}), 3881);
  EXPECT_EQ(set({15, 15, -15}), 3881);
  EXPECT_EQ(take_log().back(),
            (log_line{3, "_T_sonx_hp_proc",
                      "neg_flag 2, total_offset 519.000000, calc_gain -6.487500dB 0xf29"}));
  // Curves whose result changes by one when a product and a sum are rounded together (as a fused
  // multiply-add does) instead of one after the other.
  EXPECT_EQ(set({-12, -3, 3, -10, 11, 6, -7, -12, -9}), 6382);
  EXPECT_EQ(set({1, 8, -5, 8, 7, 6, -8, 9, -7}), 2426);
  EXPECT_EQ(set({9, 11, -10, -12, -3, 6, 4, -6, 3}), 3047) << "3048 for an unrounded sum";
}

TEST_F(Equalizer, PassesEveryBitAfterInit) {
  samples in = wild(3000, 5), out(3000);
  equalizer_process_mono(&eq, in.data(), out.data(), 3000);
  for (size_t i = 0; i < in.size(); ++i)  // sections hold 27 bits
    EXPECT_EQ(out[i], in[i] == -1 ? 0 : std::clamp(in[i], -67108864, 67108863)) << in[i];

  samples x = {0x40000000, -0x40000001, 8388607, -1, 1};
  equalizer_set_gain(&eq, 16384);
  equalizer_process_mono(&eq, x.data(), x.data(), 5);
  EXPECT_EQ(x, (samples{67108863, -67108864, 16777214, -2, 2})) << "a wrapped gain turns two signs";
}

// The truncation's offset at 0 Hz, and what remains of it in silence: 20000 samples each.
TEST_F(Equalizer, LeavesNoMoreThanTheStatedOffset) {
  samples x = noise(20000, 1 << 22, 3), y(40000), silence(100);
  for (int& v : x) v = -std::abs(v);
  x.resize(40000);
  for (int rate = 0; rate < 3; ++rate) {
    set({}, rate);
    equalizer_reset(&eq);
    equalizer_process_mono(&eq, silence.data(), silence.data(), 100);
    EXPECT_EQ(peak(silence), 0);
    equalizer_process_mono(&eq, x.data(), y.data(), 40000);
    const double bound = 8388608.0 * std::pow(10.0, (rate == 2 ? -58.0 : -70.0) / 20.0);
    for (size_t i = 0; i < 20000; ++i) ASSERT_NEAR(y[i], x[i], bound) << "flat curve";
    EXPECT_LT(std::abs(y.back()), bound);
  }
}
