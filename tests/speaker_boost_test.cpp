#include "effects/speaker_boost_system.h"

#include <gtest/gtest.h>

#include "fixed.h"
#include "support/filter_theory.h"
#include "support/settings.h"
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

  // Five of each side, left first: sub, low, mid, high and sum.
  std::array<int*, 10> all_buffers() const {
    return {sub_left,  low_left,  mid_left,  high_left,  sum_left,
            sub_right, low_right, mid_right, high_right, sum_right};
  }
  // What stands in the ten buffers after a block of n samples.
  samples buffers(int n) const {
    samples all;
    for (const int* buffer : all_buffers()) all.insert(all.end(), buffer, buffer + n);
    return all;
  }
  std::array<dynamic_range_control_t*, 8> controllers() const {
    return {drc_low_left,  drc_mid_left,  drc_high_left,  drc_full_left,
            drc_low_right, drc_mid_right, drc_high_right, drc_full_right};
  }
};

// At 192 kHz the crossovers stay those of 48 kHz, and the other filters are silent.
TEST(SpeakerBoost, LoadsTheFiltersThatTheoryExpectsAtEachRateAndIsSilentAt192000Hz) {
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
TEST(SpeakerBoost, PutsAnImpulseOut240SamplesLaterAtEveryRate) {
  for (int type : {kAsInitLeavesIt, 0, 1, 2}) {
    const samples out = speaker_boost(type).run_mono(impulse(960, 1 << 22), 240);
    EXPECT_EQ(samples(out.begin(), out.begin() + 240), samples(240));
    EXPECT_NE(out[240], 0);
  }
}

// The complex responses of roll-off, crossovers and sum, as long as no controller does anything.
TEST(SpeakerBoost, AddsTheBandsUpAsTheoryHasItWhenNothingIsLimited) {
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

struct accessor : setting<speaker_boost_system_t> {
  dynamic_range_control_t* speaker_boost_system_t::*controller;
  int dynamic_range_control_t::*parameter;
};

constexpr accessor kAccessors[] = {
#define SPEAKER_BOOST_ROW(controller, parameter)              \
  {{speaker_boost_system_drc_##controller##_set_##parameter,  \
    speaker_boost_system_drc_##controller##_get_##parameter}, \
   &speaker_boost_system_t::drc_##controller,                 \
   &dynamic_range_control_t::parameter},
    SPEAKER_BOOST_FOR_EACH_ACCESSOR(SPEAKER_BOOST_ROW)
#undef SPEAKER_BOOST_ROW
};
static_assert(std::size(kAccessors) == 40);

TEST(SpeakerBoost, ReachesOneParameterOfOneControllerThroughEachAccessor) {
  speaker_boost boost;
  for (int k = 0; k < 40; ++k) kAccessors[k].set(&boost, 1000 + k);
  for (int k = 0, got = 0; k < 40; ++k) {
    kAccessors[k].get(&boost, &got);
    EXPECT_EQ(got, 1000 + k);
    EXPECT_EQ(boost.*kAccessors[k].controller->*kAccessors[k].parameter, got);
  }
  speaker_boost_system_drc_mid_left_set_denoise_threshold(&boost, 0);
  EXPECT_EQ(boost.drc_mid_left->denoise_threshold, 2);
}

// A new rate keeps what isn't a filter's; a reset leaves what init made but for the gains.
TEST(SpeakerBoost, ForgetsFiltersAndDelaysAtANewRateAndAllButTheGainsAtReset) {
  const stereo x = noise_pair(1100, 8000000, 6), silence = {samples(1100), samples(1100)};
  speaker_boost used(SAMPLE_RATE_48000), fresh(SAMPLE_RATE_48000);
  for (speaker_boost* boost : {&used, &fresh}) NLD_set_clip_level(boost->nld, 1);
  used.run(x, 256);
  const int envelope = used.nld->clip_envelope, mean = used.drc_full_right->mean_env;
  speaker_boost_system_set_sample_rate(&used, SAMPLE_RATE_48000);
  EXPECT_EQ(used.nld->clip_envelope, envelope);
  EXPECT_EQ(used.drc_full_right->mean_env, mean);
  EXPECT_EQ(used.run(silence, 240), silence);
  used.run(x, 256);
  speaker_boost_system_reset(&used);
  EXPECT_EQ(used.buffers(256), samples(2560));
  for (size_t k = 0; k < 8; ++k) {
    const int gain = used.controllers()[k]->gain;
    EXPECT_NE(std::exchange(fresh.controllers()[k]->gain, gain), gain);
  }
  EXPECT_EQ(used.run(x, 240), fresh.run(x, 240));
}

TEST(SpeakerBoost, MonoTouchesTheLeftSideOnlyAndSoundsLikeTwoEqualChannels) {
  speaker_boost mono, pair;
  samples in = noise(3000, 8000000, 8), out(3000);
  for (int start = 0; start < 3000; start += 240)
    speaker_boost_system_process_mono(&mono, &in[start], &out[start], std::min(240, 3000 - start));
  EXPECT_EQ(pair.run_mono(in, 240), out);
  const samples buffers = mono.buffers(256);
  EXPECT_EQ(samples(buffers.begin() + 1280, buffers.end()), samples(1280));
  for (size_t k = 4; k < 8; ++k) EXPECT_EQ(mono.controllers()[k]->mean_env, 32767);
}

// The module from its parts: the first pass sample by sample, the controllers over the block.
void by_parts(speaker_boost* b, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  const auto x = b->all_buffers();
  const auto drc = b->controllers();
  for (int i = 0; i < n; ++i) {
    for (size_t side : {0u, 1u}) {
      int rest = side ? in_right[i] : in_left[i];
      IIR_process_32(side ? b->pre_right : b->pre_left, &rest, &rest);
      for (size_t k : {0u, 1u, 2u})
        spectral_band_split_process((side ? b->split_right : b->split_left)[k], &rest,
                                    &x[5 * side + k][i], &rest);
      x[5 * side + 3][i] = rest;
    }
    int h = wrap_add(x[0][i], x[5][i]) >> 1;
    NLD_process(b->nld, &h, &h);
    IIR_process_32(b->nld_band, &h, &h);
    const int left = saturate32(int64_t{b->nld_gain_left} * h >> 13),
              right = saturate32(int64_t{b->nld_gain_right} * h >> 13);
    x[0][i] = audio_delay_process(b->delay_left, left);
    x[5][i] = audio_delay_process(b->delay_right, right);
  }
  for (size_t side : {0u, 1u}) {
    int* const* y = &x[5 * side];
    for (size_t k : {0u, 1u, 2u})
      dynamic_range_control_process(drc[4 * side + k], y[k + 1], y[k + 1], n);
    for (int i = 0; i < n; ++i) y[4][i] = wrap32(int64_t{y[0][i]} + y[1][i] + y[2][i] + y[3][i]);
    dynamic_range_control_process(drc[4 * side + 3], y[4], side ? out_right : out_left, n);
  }
}

TEST(SpeakerBoost, GivesTheBitsOfItsPartsWhicheverBuffersCoincide) {
  const auto set = [](speaker_boost& b, const samples& w) {
    speaker_boost_system_set_nld_gain_left(&b, w[0]);
    speaker_boost_system_set_nld_gain_right(&b, w[1]);
    NLD_set_clip_level(b.nld, w[2]);
    kAccessors[(w[3] & 255) % 40].set(&b, w[4]);
    if (w[5] % 4 != 0) return;
    int words[5], state = b.nld_band->state[0];
    speaker_boost_system_get_nld_param(&b, words);
    words[(w[6] & 255) % 5] = w[7];
    speaker_boost_system_set_nld_param(&b, words);
    EXPECT_TRUE(std::equal(words, words + 5, b.nld_band->coef) && b.nld_band->state[0] == state);
  };
  expect_the_bits_of_its_parts<speaker_boost>(4000, by_parts, set);
}

TEST(SpeakerBoost, TakesALongCallAsBlocksOf256AndAnEmptyOneAsABlockOfSilence) {
  speaker_boost whole, parts;
  const stereo x = noise_pair(700, 8000000, 4);
  EXPECT_EQ(whole.run(x), parts.run(x, 256));
  whole.drc_low_right->mean_env = whole.drc_full_left->mean_env = 3200;
  whole.frames(nullptr, nullptr, nullptr, nullptr, 0);
  speaker_boost_system_process_mono(&whole, nullptr, nullptr, -3);
  EXPECT_EQ(whole.drc_low_right->mean_env, 3100);
  EXPECT_EQ(whole.drc_full_left->mean_env, 3100 - 97);  // 3100 / 32, rounded up
}

constexpr setting<speaker_boost_system_t> kSettings[] = {
    {speaker_boost_system_setstatus, speaker_boost_system_getstatus},
    {speaker_boost_system_set_nld_gain_left, speaker_boost_system_get_nld_gain_left},
    {speaker_boost_system_set_nld_gain_right, speaker_boost_system_get_nld_gain_right},
    {speaker_boost_system_set_channel_num, speaker_boost_system_get_channel_num}};

TEST(SpeakerBoost, StartsWithItsDefaultsAndInSilenceAndEndsTwice) {
  speaker_boost boost;
  EXPECT_EQ(samples({boost.history_len, boost.frame_len}), samples({2, 60}));
  EXPECT_EQ(boost.run_mono(samples(1000), 240), samples(1000));
  expect_settings<speaker_boost_system_t>(&boost, kSettings, {0, 8192, 8192, 2});
  speaker_boost_system_end(&boost);
  EXPECT_TRUE(!boost.nld && !boost.drc_full_right && !boost.sum_right);
}  // the destructor ends it again

// An impulse's harmonics pass the delay of 120 samples that the controlled bands pass too.
TEST(SpeakerBoost, KeepsTheHarmonicsAlignedWithTheControlledBands) {
  speaker_boost boost, parts;
  samples sub = impulse(120, 4000000);
  boost.run_mono(impulse(240, 4000000));
  for (int& v : sub) {
    int rest;
    IIR_process_32(parts.pre_left, &v, &v);
    spectral_band_split_process(parts.split_left[0], &v, &v, &rest);
    NLD_process(parts.nld, &v, &v);
    IIR_process_32(parts.nld_band, &v, &v);
  }
  EXPECT_EQ(samples(boost.sub_left, boost.sub_left + 120), samples(120));
  EXPECT_EQ(samples(boost.sub_left + 120, boost.sub_left + 240), sub);
  EXPECT_EQ(samples(boost.mid_left, boost.mid_left + 120), samples(120));
  EXPECT_NE(boost.mid_left[120], 0);
}

}  // namespace
