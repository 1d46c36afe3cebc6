#include "effects/speaker_boost_system.h"

#include <gtest/gtest.h>

#include "support/filter_theory.h"
#include "support/stereo.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000};
constexpr int kAsInitLeavesIt = -2;

struct speaker_boost : effect<speaker_boost_system_t, speaker_boost_system_init,
                              speaker_boost_system_end, speaker_boost_system_process_stereo> {
  explicit speaker_boost(int rate = kAsInitLeavesIt) {
    if (rate != kAsInitLeavesIt)
      speaker_boost_system_set_sample_rate(this, static_cast<SampleRateType>(rate));
  }
};

// At 192 kHz the crossovers stay those of 48 kHz, and the other filters are silent.
TEST(SpeakerBoost, FiltersAreTheirDesigns) {
  for (int type : {kAsInitLeavesIt, 0, 1, 2, 3, -1, 4}) {
    SCOPED_TRACE(type);
    speaker_boost boost(type);
    const double rate = type >= 0 && type < 3 ? kRates[type] : 48000,
                 corners[] = {250.0, 950.0, 2800.0};
    for (int k : {0, 1, 2}) {
      expect_crossover(boost.split_left[k], corners[k], rate);
      expect_crossover(boost.split_right[k], corners[k], rate);
    }
    expect_section(boost.nld_band->coef, type == 3 ? section_words{} : band_pass(400.0, 1.0, rate));
    for (IIR* pre : {boost.pre_left, boost.pre_right})
      expect_section(pre->coef, type == 3 ? section_words{} : high_shelf(12000.0, -6.0, rate));
    constexpr int kFrameLength[] = {60, 240, 220, 240, 480, 960, 240};  // from type -2 on
    EXPECT_EQ(boost.frame_len, kFrameLength[type + 2]);
    EXPECT_EQ(boost.drc_mid_right->frame_len, kFrameLength[type + 2]);
  }
  EXPECT_EQ(speaker_boost(SAMPLE_RATE_192000).run_mono(wild(2000, 1), 240), samples(2000));
}

// The delays are taken for 2 x 60 samples, and no rate makes them longer.
TEST(SpeakerBoost, DelaysBy240Samples) {
  for (int type : {kAsInitLeavesIt, 0, 1, 2}) {
    const samples out = speaker_boost(type).run_mono(impulse(960, 1 << 22), 240);
    EXPECT_EQ(samples(out.begin(), out.begin() + 240), samples(240));
    EXPECT_NE(out[240], 0);
  }
}

// The complex responses of roll-off, crossovers and sum, as long as no controller does anything.
TEST(SpeakerBoost, BandsAddUpAsDesigned) {
  for (int type : {0, 1, 2}) {
    const int rate = kRates[type];
    for (double f : {150.0, 500.0, 950.0, 1630.0, 2800.0, 8000.0}) {
      speaker_boost boost(type);
      speaker_boost_system_set_nld_gain_left(&boost, 0);
      speaker_boost_system_set_nld_gain_right(&boost, 0);
      const auto twice = [&](IIR** band) { return std::pow(response(band[0]->coef, f, rate), 2); };
      auto* const* split = boost.split_left;
      const double ideal =
          std::abs(response(boost.pre_left->coef, f, rate) * twice(split[0]->high) *
                   (twice(split[1]->low) +
                    twice(split[1]->high) * (twice(split[2]->low) + twice(split[2]->high))));
      const samples in = sine(rate / 2, f, rate, 4000000.0);
      EXPECT_NEAR(gain_db(in, boost.run_mono(in, 240), f, rate, in.size() / 5 * 3), decibels(ideal),
                  0.05)
          << f;
    }
  }
}

// An impulse's harmonics pass the delay of 120 samples that the controlled bands pass too.
TEST(SpeakerBoost, AlignsHarmonicsWithTheBands) {
  speaker_boost boost;
  boost.run_mono(impulse(240, 4000000));
  for (const int* band : {boost.sub_left, boost.low_left, boost.mid_left, boost.high_left}) {
    EXPECT_EQ(samples(band, band + 120), samples(120));
    EXPECT_GT(peak({band + 120, band + 240}), 0);
  }
}

}  // namespace
