#include "effects/speaker_boost_system.h"

#include <gtest/gtest.h>

#include "dsp/fixed.h"
#include "support/filter_theory.h"
#include "support/stereo.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000};

SampleRateType rate_type(int number) { return static_cast<SampleRateType>(number); }

struct speaker_boost : effect<speaker_boost_system_t, speaker_boost_system_init,
                              speaker_boost_system_end, speaker_boost_system_process_stereo> {
  speaker_boost() = default;
  explicit speaker_boost(int rate) { speaker_boost_system_set_sample_rate(this, rate_type(rate)); }

  void harmonics(int left, int right) {
    speaker_boost_system_set_nld_gain_left(this, left);
    speaker_boost_system_set_nld_gain_right(this, right);
  }

  std::array<int*, 5> left_buffers() { return {sub_left, low_left, mid_left, high_left, sum_left}; }
  std::array<int*, 5> right_buffers() {
    return {sub_right, low_right, mid_right, high_right, sum_right};
  }
  // What stands in the ten buffers after a block of n samples.
  samples buffers(int n) {
    samples all;
    for (const auto& side : {left_buffers(), right_buffers()})
      for (const int* buffer : side) all.insert(all.end(), buffer, buffer + n);
    return all;
  }
  std::array<dynamic_range_control_t*, 8> controllers() const {
    return {drc_low_left,  drc_mid_left,  drc_high_left,  drc_full_left,
            drc_low_right, drc_mid_right, drc_high_right, drc_full_right};
  }
};

TEST(SpeakerBoost, LoadsTheFiltersThatTheoryExpectsAtEachRate) {
  speaker_boost boost;
  const auto expect_filters = [&](double rate) {
    SCOPED_TRACE(rate);
    const double corners[] = {250.0, 950.0, 2800.0};
    for (int k = 0; k < 3; ++k) {
      expect_crossover(boost.split_left[k], corners[k], rate);
      expect_crossover(boost.split_right[k], corners[k], rate);
    }
    expect_section(boost.nld_band->coef, band_pass(400.0, 1.0, rate));
    for (IIR* pre : {boost.pre_left, boost.pre_right})
      expect_section(pre->coef, high_shelf(12000.0, -6.0, rate));
  };
  expect_filters(48000);
  constexpr int kFrameLength[] = {220, 240, 480, 960};
  for (int rate = 0; rate < 4; ++rate) {
    speaker_boost_system_set_sample_rate(&boost, rate_type(rate));
    EXPECT_EQ(boost.frame_len, kFrameLength[rate]);
    EXPECT_EQ(boost.drc_mid_right->frame_len, kFrameLength[rate]);
    if (rate < 3) expect_filters(kRates[rate]);
  }
  for (int k = 0; k < 3; ++k)
    expect_crossover(boost.split_left[k], k ? k > 1 ? 2800 : 950 : 250, 48000);
  for (IIR* section : {boost.nld_band, boost.pre_left, boost.pre_right})
    for (int word = 0; word < 5; ++word) EXPECT_EQ(section->coef[word], 0);
  for (int unknown : {-1, 4, INT32_MAX}) {
    speaker_boost_system_set_sample_rate(&boost, rate_type(unknown));
    EXPECT_EQ(boost.frame_len, 240);
    expect_filters(48000);
  }
}

TEST(SpeakerBoost, IsSilentAt192000Hz) {
  EXPECT_EQ(speaker_boost(SAMPLE_RATE_192000).run(wild_pair(2000, 1), 240),
            (stereo{samples(2000), samples(2000)}));
}

// The delays are taken for 2 x 60 samples, and no rate makes them longer.
TEST(SpeakerBoost, PutsAnImpulseOut240SamplesLaterAtEveryRate) {
  for (int rate = -1; rate < 3; ++rate) {
    speaker_boost boost;
    if (rate >= 0) speaker_boost_system_set_sample_rate(&boost, rate_type(rate));
    const samples out = boost.run_mono(impulse(960, 1 << 22), 240);
    EXPECT_EQ(samples(out.begin(), out.begin() + 240), samples(240));
    EXPECT_NE(out[240], 0);
  }
}

// The complex responses of roll-off, crossovers and sum, as long as no controller does anything.
double ideal_level(const speaker_boost& b, double f, double rate) {
  const auto low = [&](int k) {
    return std::pow(response(b.split_left[k]->low[0]->coef, f, rate), 2);
  };
  const auto high = [&](int k) {
    return std::pow(response(b.split_left[k]->high[0]->coef, f, rate), 2);
  };
  return std::abs(response(b.pre_left->coef, f, rate) * high(0) *
                  (low(1) + high(1) * (low(2) + high(2))));
}

TEST(SpeakerBoost, AddsTheBandsUpAsTheoryHasItWhenNothingIsLimited) {
  for (int rate = 0; rate < 3; ++rate) {
    speaker_boost boost(rate);
    boost.harmonics(0, 0);
    for (double f : {150.0, 500.0, 950.0, 1630.0, 2800.0, 8000.0}) {
      const samples in = sine(kRates[rate] / 2, f, kRates[rate], 4000000.0);
      speaker_boost_system_reset(&boost);
      EXPECT_NEAR(gain_db(in, boost.run_mono(in, 240), f, kRates[rate], in.size() / 5 * 3),
                  decibels(ideal_level(boost, f, kRates[rate])), 0.05)
          << f << " Hz at " << kRates[rate];
    }
  }
}

TEST(SpeakerBoost, HoldsTheSumBelowTheFullThreshold) {
  speaker_boost boost;
  speaker_boost_system_drc_full_left_set_threshold(&boost, 8192);  // -12 dB
  const samples in = sine(48000, 1500.0, 48000.0, 8000000.0);
  const stereo out = boost.run({in, in}, 240);
  const double loudest = peak({out.left.end() - 4800, out.left.end()});
  EXPECT_NEAR(decibels(loudest / (8192 * 256)), -0.28, 0.1);
  EXPECT_GT(peak({out.right.end() - 4800, out.right.end()}), 6000000);
}

struct accessor {
  const char* name;
  void (*set)(speaker_boost_system_t*, int);
  void (*get)(speaker_boost_system_t*, int*);
  dynamic_range_control_t* speaker_boost_system_t::*controller;
  int dynamic_range_control_t::*parameter;
};

constexpr accessor kAccessors[] = {
#define SPEAKER_BOOST_ROW(controller, parameter)                                        \
  {#controller " " #parameter, speaker_boost_system_drc_##controller##_set_##parameter, \
   speaker_boost_system_drc_##controller##_get_##parameter,                             \
   &speaker_boost_system_t::drc_##controller, &dynamic_range_control_t::parameter},
    SPEAKER_BOOST_FOR_EACH_ACCESSOR(SPEAKER_BOOST_ROW)
#undef SPEAKER_BOOST_ROW
};
static_assert(std::size(kAccessors) == 40);

TEST(SpeakerBoost, ReachesOneParameterOfOneControllerThroughEachAccessor) {
  speaker_boost boost;
  const auto values = [&] {
    std::vector<int> all;
    for (const accessor& a : kAccessors) all.push_back(boost.*a.controller->*a.parameter);
    return all;
  };
  int value = 1000;
  for (size_t k = 0; k < std::size(kAccessors); ++k) {
    std::vector<int> expected = values();
    expected[k] = ++value;
    kAccessors[k].set(&boost, value);
    EXPECT_EQ(values(), expected) << kAccessors[k].name;
    int got = 0;
    kAccessors[k].get(&boost, &got);
    EXPECT_EQ(got, value) << kAccessors[k].name;
  }
  speaker_boost_system_drc_mid_left_set_denoise_threshold(&boost, 0);
  EXPECT_EQ(boost.drc_mid_left->denoise_threshold, 2);
}

TEST(SpeakerBoost, ForgetsFiltersAndDelaysAtANewRateAndAllButTheGainsAtReset) {
  for (bool reset : {false, true}) {
    speaker_boost used, fresh;
    for (speaker_boost* boost : {&used, &fresh}) NLD_set_clip_level(boost->nld, 1);
    used.run(noise_pair(1100, 8000000, 6), 256);
    if (reset) {
      speaker_boost_system_reset(&used);
      EXPECT_EQ(used.buffers(256), samples(2560));
      EXPECT_EQ(used.drc_mid_left->recent_targets[2], 0);
    } else {
      for (speaker_boost* boost : {&used, &fresh})
        speaker_boost_system_set_sample_rate(boost, SAMPLE_RATE_96000);
      fresh.nld->clip_envelope = used.nld->clip_envelope;
    }
    for (size_t k = 0; k < 8; ++k) {
      const dynamic_range_control_t& from = *used.controllers()[k];
      dynamic_range_control_t& to = *fresh.controllers()[k];
      EXPECT_NE(std::exchange(to.gain, from.gain), from.gain);
      if (reset) continue;
      EXPECT_NE(std::exchange(to.mean_env, from.mean_env), from.mean_env);
      to.peak_env = from.peak_env;
      to.denoise_gain = from.denoise_gain;
      std::copy_n(from.history, 3, to.history);
    }
    const stereo x = noise_pair(1100, 8000000, 16);
    EXPECT_EQ(used.run(x, 240), fresh.run(x, 240));
    int words[] = {1, 2, 3, 4, 5}, got[5];
    const samples state(used.nld_band->state, used.nld_band->state + 5);
    EXPECT_NE(state, samples(5));
    speaker_boost_system_set_nld_param(&used, words);
    speaker_boost_system_get_nld_param(&used, got);
    EXPECT_TRUE(std::ranges::equal(got, words));
    EXPECT_TRUE(std::equal(state.begin(), state.end(), used.nld_band->state)) << "keeps it";
  }
}

TEST(SpeakerBoost, MonoTouchesTheLeftSideOnlyAndSoundsLikeTwoEqualChannels) {
  speaker_boost mono, pair;
  samples in = noise(3000, 8000000, 8), out(3000);
  for (int start = 0; start < 3000; start += 240)
    speaker_boost_system_process_mono(&mono, &in[start], &out[start], std::min(240, 3000 - start));
  EXPECT_EQ(pair.run_mono(in, 240), out);
  for (size_t k = 0; k < 5; ++k)
    EXPECT_TRUE(std::all_of(mono.right_buffers()[k], mono.right_buffers()[k] + 256,
                            [](int v) { return v == 0; }));
  for (size_t k = 4; k < 8; ++k) EXPECT_EQ(mono.controllers()[k]->mean_env, 32767);
  EXPECT_EQ(mono.delay_right->index, 0);
  EXPECT_EQ(mono.pre_right->state[0], 0);
  EXPECT_EQ(mono.split_right[2]->low[1]->state[0], 0);
}

void set_at_random(speaker_boost* boost, std::mt19937& generator) {
  const auto any = [&] {
    const int word = static_cast<int>(generator());
    return generator() % 3 == 0 ? word : word >> 17;
  };
  boost->harmonics(any(), any());
  NLD_set_clip_level(boost->nld, any());
  kAccessors[generator() % std::size(kAccessors)].set(boost, any());
  int coefficients[5];
  speaker_boost_system_get_nld_param(boost, coefficients);
  coefficients[generator() % 5] = any();
  if (generator() % 4 == 0) speaker_boost_system_set_nld_param(boost, coefficients);
}

// The module from its parts: the first pass sample by sample, the controllers over the block.
void sample_by_sample(speaker_boost* b, int* in_left, int* in_right, int* out_left, int* out_right,
                      int n) {
  const auto split = [](IIR* pre, spectral_band_split** s, int x, std::array<int*, 5> bands,
                        int i) {
    IIR_process_32(pre, &x, &x);
    spectral_band_split_process(s[0], &x, &bands[0][i], &x);
    spectral_band_split_process(s[1], &x, &bands[1][i], &x);
    spectral_band_split_process(s[2], &x, &bands[2][i], &bands[3][i]);
  };
  for (int i = 0; i < n; ++i) {
    split(b->pre_left, b->split_left, in_left[i], b->left_buffers(), i);
    split(b->pre_right, b->split_right, in_right[i], b->right_buffers(), i);
    int h = wrap_add(b->sub_left[i], b->sub_right[i]) >> 1;
    NLD_process(b->nld, &h, &h);
    IIR_process_32(b->nld_band, &h, &h);
    b->sub_left[i] =
        audio_delay_process(b->delay_left, saturate32(int64_t{b->nld_gain_left} * h >> 13));
    b->sub_right[i] =
        audio_delay_process(b->delay_right, saturate32(int64_t{b->nld_gain_right} * h >> 13));
  }
  const auto finish = [n](auto* low, auto* mid, auto* high, auto* full, std::array<int*, 5> x,
                          int* out) {
    dynamic_range_control_process(low, x[1], x[1], n);
    dynamic_range_control_process(mid, x[2], x[2], n);
    dynamic_range_control_process(high, x[3], x[3], n);
    for (int i = 0; i < n; ++i)
      x[4][i] = wrap_add(wrap_add(wrap_add(x[0][i], x[1][i]), x[2][i]), x[3][i]);
    dynamic_range_control_process(full, x[4], out, n);
  };
  finish(b->drc_low_left, b->drc_mid_left, b->drc_high_left, b->drc_full_left, b->left_buffers(),
         out_left);
  finish(b->drc_low_right, b->drc_mid_right, b->drc_high_right, b->drc_full_right,
         b->right_buffers(), out_right);
}

// Wild input and settings, random blocks, and each way in which whole buffers may coincide.
TEST(SpeakerBoost, GivesTheBitsOfItsPartsWhicheverBuffersCoincide) {
  constexpr int kPatterns[][4] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0},
                                  {0, 0, 1, 2}, {0, 1, 2, 2}, {0, 1, 1, 1}};
  constexpr int kFrames = 4000;
  unsigned seed = 10;
  for (const auto& p : kPatterns) {
    speaker_boost fast, slow;
    std::mt19937 generator(seed), same(seed);
    samples x[4], y[4];
    for (unsigned k = 0; k < 4; ++k)
      x[k] = y[k] = k % 2 ? wild(kFrames, seed + k) : noise(kFrames, 1 << 24, k);
    over_random_splits(kFrames, 256, seed, [&](int start, int n) {
      speaker_boost_system_process_stereo(&fast, &x[p[0]][start], &x[p[1]][start], &x[p[2]][start],
                                          &x[p[3]][start], n);
      sample_by_sample(&slow, &y[p[0]][start], &y[p[1]][start], &y[p[2]][start], &y[p[3]][start],
                       n);
      ASSERT_EQ(fast.buffers(n), slow.buffers(n));
      set_at_random(&fast, generator);
      set_at_random(&slow, same);
    });
    for (int k = 0; k < 4; ++k) ASSERT_EQ(x[k], y[k]) << "pattern " << seed;
    ++seed;
  }
}

TEST(SpeakerBoost, TakesALongCallAsBlocksOf256AndAnEmptyOneAsABlockOfSilence) {
  speaker_boost whole, parts;
  const stereo x = noise_pair(700, 8000000, 4);
  EXPECT_EQ(whole.run(x), parts.run(x, 256));
  whole.drc_low_right->mean_env = whole.drc_full_left->mean_env = 3200;
  speaker_boost_system_process_stereo(&whole, nullptr, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(whole.drc_low_right->mean_env, 3100);
  speaker_boost_system_process_mono(&whole, nullptr, nullptr, -3);
  EXPECT_EQ(whole.drc_low_right->mean_env, 3100);
  EXPECT_EQ(whole.drc_full_left->mean_env, 3100 - 97);  // 3100 / 32, rounded up
}

TEST(SpeakerBoost, StartsWithItsDefaultsAndInSilenceAndEndsTwice) {
  speaker_boost boost;
  int status, left, right, channels;
  speaker_boost_system_getstatus(&boost, &status);
  speaker_boost_system_get_nld_gain_left(&boost, &left);
  speaker_boost_system_get_nld_gain_right(&boost, &right);
  speaker_boost_system_get_channel_num(&boost, &channels);
  EXPECT_EQ((std::array{status, left, right, channels}), (std::array{0, 8192, 8192, 2}));
  EXPECT_EQ((std::array{boost.history_len, boost.frame_len}), (std::array{2, 60}));
  speaker_boost_system_setstatus(&boost, 5);
  speaker_boost_system_set_channel_num(&boost, 6);
  speaker_boost_system_getstatus(&boost, &status);
  speaker_boost_system_get_channel_num(&boost, &channels);
  EXPECT_EQ((std::array{status, channels}), (std::array{5, 6}));
  EXPECT_EQ(boost.run_mono(samples(1000), 240), samples(1000));
  speaker_boost_system_end(&boost);
  EXPECT_EQ(boost.nld, nullptr);
  EXPECT_EQ(boost.drc_full_right, nullptr);
  EXPECT_EQ(boost.sum_right, nullptr);  // the destructor ends it again
}

// An impulse's harmonics pass the delay of 120 samples that the controlled bands pass too.
TEST(SpeakerBoost, KeepsTheHarmonicsAlignedWithTheControlledBands) {
  speaker_boost boost, parts;
  samples x = impulse(240, 4000000), right = x, sub = x;
  for (int& v : sub) {
    int rest;
    IIR_process_32(parts.pre_left, &v, &v);
    spectral_band_split_process(parts.split_left[0], &v, &v, &rest);
    NLD_process(parts.nld, &v, &v);
    IIR_process_32(parts.nld_band, &v, &v);
  }
  speaker_boost_system_process_stereo(&boost, x.data(), right.data(), x.data(), right.data(), 240);
  EXPECT_TRUE(std::all_of(boost.sub_left, boost.sub_left + 120, [](int v) { return v == 0; }));
  EXPECT_TRUE(std::equal(sub.begin(), sub.begin() + 120, boost.sub_left + 120));
  EXPECT_TRUE(std::all_of(boost.mid_left, boost.mid_left + 120, [](int v) { return v == 0; }));
  EXPECT_NE(boost.mid_left[120], 0);
}

}  // namespace
