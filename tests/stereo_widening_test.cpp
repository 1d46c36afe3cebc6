#include "effects/stereo_widening_system.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>

#include "support/filter_theory.h"
#include "support/stereo.h"

namespace {

using complex = std::complex<double>;

constexpr int kRates[] = {44100, 48000, 96000};

using circuit = effect<difference_circuit, difference_circuit_init, difference_circuit_end,
                       difference_circuit_process_block>;
using network = effect<crossfeed_network, crossfeed_network_init, crossfeed_network_end,
                       crossfeed_network_process_block>;
using reflector = effect<early_reflector, early_reflector_init, early_reflector_end,
                         early_reflector_process_block>;
using widening = effect<stereo_widening_system, stereo_widening_system_init,
                        stereo_widening_system_end, stereo_widening_system_process>;

// What section k is meant to be, truncated to Q28, 1.0 being one unit short of 2^28: 11 of the
// difference circuit, the crossfeed's all-pass, low-pass and high-pass, the reflector's high-pass.
// The band-passes have their edges at 250 and 12000 Hz, 723 and 5000 Hz.
std::array<int, 5> theory(size_t k, double rate) {
  const section_words designs[] = {all_pass(250, rate, 13),
                                   all_pass(1675, rate, 13),
                                   all_pass(18000, rate, 13),
                                   all_pass(50, rate, 13),
                                   all_pass(600, rate, 13),
                                   all_pass(5580, rate, 2),
                                   band_pass(6125, 6125.0 / 11750.0, rate),
                                   butterworth_low_pass(200, rate),
                                   butterworth_high_pass(7000, rate),
                                   band_pass(2861.5, 2861.5 / 4277.0, rate),
                                   butterworth_low_pass(200, rate),
                                   all_pass(500, rate, 2.5),
                                   butterworth_low_pass(1500, rate),
                                   butterworth_high_pass(1500, rate),
                                   butterworth_high_pass(300, rate)};
  std::array<int, 5> words;
  for (size_t i = 0; i < 5; ++i)
    words[i] = static_cast<int>(designs[k][i] * (268435455.0 / 268435456.0));
  return words;
}

complex ideal(size_t k, double f, double rate) { return response(theory(k, rate).data(), f, rate); }

// Every section in the order of its design; the last eight are pairs of one design.
std::vector<IIR*> sections(const stereo_widening_system& w) {
  std::vector<IIR*> all(w.difference->section, w.difference->section + 11);
  const crossfeed_network& c = *w.crossfeed;
  all.insert(all.end(),
             {c.allpass_left, c.allpass_right, c.lowpass_left, c.lowpass_right, c.highpass_left,
              c.highpass_right, w.reflector->highpass_left, w.reflector->highpass_right});
  return all;
}

// The gains from one input (0 left, 1 right) to both outputs for a tone, settled for half a second
// and measured over a second.
template <typename Effect>
void expect_response(Effect& effect, int input, double f, int rate, complex left, complex right,
                     double error) {
  const samples tone = sine(rate * 3 / 2, f, rate, 1 << 20), none(tone.size());
  const stereo out = effect.run(input == 0 ? stereo{tone, none} : stereo{none, tone});
  const auto level = [&](const samples& x) { return spectrum_at(x, f, rate, size_t(rate / 2)); };
  EXPECT_LT(std::abs(level(out.left) / level(tone) - left), error) << f << " Hz, " << input;
  EXPECT_LT(std::abs(level(out.right) / level(tone) - right), error) << f << " Hz, " << input;
}

// Sections as plain gains, Q28.
void set_gain(std::initializer_list<IIR*> sections, int b0) {
  const int c[5] = {b0, 0, 0, 0, 0};
  for (IIR* section : sections) IIR_set_param(section, c);
}

TEST(StereoWidening, SectionsAreTheirDesigns) {
  widening w;
  for (int type : {1, 0, 2, 3, 1, 0, 4, 2, -1, 2, INT32_MAX}) {
    for (IIR* section : sections(w)) section->state[0] = 7;
    stereo_widening_system_set_sample_rate(&w, static_cast<SampleRateType>(type));
    const auto all = sections(w);
    for (size_t k = 0; k < all.size(); ++k) {
      const auto expected = type == 3 ? std::array<int, 5>{}
                                      : theory(k < 11 ? k : 11 + (k - 11) / 2,
                                               kRates[type >= 0 && type < 3 ? type : 1]);
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), all[k]->coef)) << k << ", " << type;
      EXPECT_EQ(all[k]->state[0], 0);
    }
  }
}

TEST(StereoWidening, DifferenceCircuitHasItsResponse) {
  for (int type : {0, 1})
    for (double f : {40.0, 250.0, 620.0, 1700.0, 2800.0, 9000.0}) {
      complex h[11];
      for (size_t k = 0; k < 11; ++k) h[k] = ideal(k, f, kRates[type]);
      const complex mid = 0.5 * (1.0 + 0.25 * h[9] + h[10]);
      const complex side = 0.625 * (h[8] + 1.5 * h[7] + 0.5);
      for (int input : {0, 1}) {
        circuit c;
        difference_circuit_set_sample_rate(&c, static_cast<SampleRateType>(type));
        difference_circuit_set_side_gain(&c, 5120);
        set_gain({c.section[6]}, INT32_MAX);  // a spare: kept up but never run
        const complex all_passes = input == 0 ? h[0] * h[1] * h[2] : h[3] * h[4] * h[5];
        const complex own = all_passes * (mid + side + 0.25), other = all_passes * (mid - side);
        expect_response(c, input, f, kRates[type], input ? other : own, input ? own : other, 1e-3);
        EXPECT_EQ(c.section[6]->state[0], 0);
      }
    }
}

TEST(StereoWidening, CrossfeedHasItsResponse) {
  for (int gain : {6144, 0})
    for (double f : {100.0, 500.0, 1500.0, 6000.0}) {
      network c;
      crossfeed_network_set_sample_rate(&c, SAMPLE_RATE_96000);
      crossfeed_network_set_gain(&c, gain);
      const complex delay = std::polar(gain / 8192.0, -2.0 * std::numbers::pi * f * 47 / 96000);
      expect_response(c, 1, f, 96000, delay * ideal(12, f, 96000),
                      ideal(11, f, 96000) + gain / 32768.0 * ideal(13, f, 96000), 1e-4);
    }
}

// After a tenth of a second.
double correlation(const stereo& x) {
  const std::vector<double> left(x.left.begin() + 4800, x.left.end()),
      right(x.right.begin() + 4800, x.right.end());
  const auto product = [](const auto& a, const auto& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
  };
  return product(left, right) / std::sqrt(product(left, left) * product(right, right));
}

TEST(StereoWidening, CorrelationFalls) {
  const samples common = noise(48000, 1 << 20, 4);
  stereo x = noise_pair(48000, 1 << 19, 5);
  for (samples* side : {&x.left, &x.right})
    std::transform(side->begin(), side->end(), common.begin(), side->begin(), std::plus<>());
  EXPECT_NEAR(correlation(x), 0.8, 0.01);  // 1 / (1 + 1/4)
  for (int type : {0, 1, 2}) {
    widening w;
    stereo_widening_system_set_sample_rate(&w, static_cast<SampleRateType>(type));
    EXPECT_LT(correlation(w.run(x)), 0.6);
  }
  circuit c;
  EXPECT_LT(correlation(c.run({common, common})), 0.95);
}

}  // namespace
