#include "effects/speaker_boost_system.h"

#include <gtest/gtest.h>

#include "dsp/fixed.h"
#include "support/filter_theory.h"
#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000};
constexpr int kDelay = 120;  // of the bands, and again of the full band

SampleRateType rate_type(int number) { return static_cast<SampleRateType>(number); }

struct speaker_boost : speaker_boost_system_t {
  speaker_boost() { speaker_boost_system_init(this); }
  explicit speaker_boost(int rate) : speaker_boost() {
    speaker_boost_system_set_sample_rate(this, rate_type(rate));
  }
  ~speaker_boost() { speaker_boost_system_end(this); }

  void harmonics(int left, int right) {
    speaker_boost_system_set_nld_gain_left(this, left);
    speaker_boost_system_set_nld_gain_right(this, right);
  }

  std::array<int*, 5> left_buffers() { return {sub_left, low_left, mid_left, high_left, sum_left}; }
  std::array<int*, 5> right_buffers() {
    return {sub_right, low_right, mid_right, high_right, sum_right};
  }
};

// What a run puts out, and what stands in the ten buffers on the way, block by block.
struct recording {
  samples out_left, out_right;
  samples band[10];  // sub, low, mid, high, sum, left then right
};

recording run(speaker_boost& boost, samples left, samples right, int block = 240) {
  recording r;
  const int n = static_cast<int>(left.size());
  for (int start = 0; start < n; start += block) {
    const int count = std::min(block, n - start);
    speaker_boost_system_process_stereo(&boost, &left[start], &right[start], &left[start],
                                        &right[start], count);
    for (size_t k = 0; k < 5; ++k) {
      r.band[k].insert(r.band[k].end(), boost.left_buffers()[k], boost.left_buffers()[k] + count);
      r.band[5 + k].insert(r.band[5 + k].end(), boost.right_buffers()[k],
                           boost.right_buffers()[k] + count);
    }
  }
  r.out_left = left;
  r.out_right = right;
  return r;
}

size_t onset(const samples& x) {
  return static_cast<size_t>(std::find_if(x.begin(), x.end(), [](int v) { return v != 0; }) -
                             x.begin());
}

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
  speaker_boost boost(SAMPLE_RATE_192000);
  const recording r = run(boost, wild(2000, 1), wild(2000, 2));
  EXPECT_EQ(r.out_left, samples(2000));
  EXPECT_EQ(r.out_right, samples(2000));
}

// The delays are taken for 2 x 60 samples, and no rate makes them longer.
TEST(SpeakerBoost, PutsAnImpulseOut240SamplesLaterAtEveryRate) {
  for (int rate = -1; rate < 3; ++rate) {
    speaker_boost boost;
    if (rate >= 0) speaker_boost_system_set_sample_rate(&boost, rate_type(rate));
    const recording r = run(boost, impulse(960, 1 << 22), impulse(960, 1 << 22));
    EXPECT_EQ(onset(r.out_left), 2 * kDelay);
    EXPECT_EQ(onset(r.out_right), 2 * kDelay);
    for (size_t band : {3u, 4u, 8u, 9u}) EXPECT_EQ(onset(r.band[band]), kDelay);
  }
}

TEST(SpeakerBoost, KeepsTheHarmonicsAlignedWithTheControlledBands) {
  const samples in = noise(2400, 6000000, 3);
  speaker_boost boost, parts;
  boost.harmonics(8192, 4096);
  const recording r = run(boost, in, in);
  samples delayed(kDelay);
  for (int x : in) {
    int rest;
    IIR_process_32(parts.pre_left, &x, &x);
    spectral_band_split_process(parts.split_left[0], &x, &x, &rest);
    NLD_process(parts.nld, &x, &x);
    IIR_process_32(parts.nld_band, &x, &x);
    delayed.push_back(x);
  }
  delayed.resize(in.size());
  EXPECT_EQ(r.band[0], delayed) << "harmonics at 1.0 pass unchanged";
  for (int& v : delayed) v >>= 1;
  EXPECT_EQ(r.band[5], delayed);
}

TEST(SpeakerBoost, SumsTheControlledBandsAlone) {
  speaker_boost boost;
  boost.harmonics(0, 0);
  const recording r = run(boost, noise(2400, 8000000, 4), noise(2400, 8000000, 5));
  for (size_t side : {0u, 5u}) {
    EXPECT_EQ(r.band[side], samples(2400));
    for (size_t i = 0; i < 2400; ++i)
      ASSERT_EQ(r.band[side + 4][i],
                r.band[side + 1][i] + r.band[side + 2][i] + r.band[side + 3][i]);
  }
  EXPECT_GT(peak(r.out_left), 1000000);
}

TEST(SpeakerBoost, GivesBothSidesTheHarmonicsOfEither) {
  speaker_boost boost;
  boost.harmonics(8192, -4096);
  samples silence(4800);
  const recording r = run(boost, sine(4800, 90.0, 48000.0, 4000000.0), silence);
  EXPECT_GT(peak(r.band[0]), 100000);
  for (size_t i = 0; i < 4800; ++i)
    ASSERT_EQ(r.band[5][i], -(r.band[0][i] + (r.band[0][i] & 1)) / 2);
  for (size_t band : {6u, 7u, 8u}) EXPECT_EQ(r.band[band], silence);
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
      const recording r = run(boost, in, in);
      EXPECT_NEAR(gain_db(in, r.out_left, f, kRates[rate], in.size() / 5 * 3),
                  decibels(ideal_level(boost, f, kRates[rate])), 0.05)
          << f << " Hz at " << kRates[rate];
    }
  }
}

TEST(SpeakerBoost, HoldsTheSumBelowTheFullThreshold) {
  speaker_boost boost;
  speaker_boost_system_drc_full_left_set_threshold(&boost, 8192);  // -12 dB
  const samples in = sine(48000, 1500.0, 48000.0, 8000000.0);
  const recording r = run(boost, in, in);
  const double loudest = peak({r.out_left.end() - 4800, r.out_left.end()});
  EXPECT_NEAR(decibels(loudest / (8192 * 256)), -0.28, 0.1);
  EXPECT_GT(peak({r.out_right.end() - 4800, r.out_right.end()}), 6000000);
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

// Which of the ten buffers and two outputs a change of one controller's volume reaches.
TEST(SpeakerBoost, RunsEachControllerOnItsOwnBand) {
  const samples left = noise(1200, 4000000, 6), right = noise(1200, 4000000, 7);
  speaker_boost plain;
  const recording before = run(plain, left, right);
  const struct {
    void (*set_volume)(speaker_boost_system_t*, int);
    const char* reached;  // a letter for each buffer and output, upper case where it changes
  } kCases[] = {
      {speaker_boost_system_drc_low_left_set_volume, "sLmhU slmhu O o"},
      {speaker_boost_system_drc_mid_left_set_volume, "slMhU slmhu O o"},
      {speaker_boost_system_drc_high_left_set_volume, "slmHU slmhu O o"},
      {speaker_boost_system_drc_full_left_set_volume, "slmhu slmhu O o"},
      {speaker_boost_system_drc_low_right_set_volume, "slmhu sLmhU o O"},
      {speaker_boost_system_drc_mid_right_set_volume, "slmhu slMhU o O"},
      {speaker_boost_system_drc_high_right_set_volume, "slmhu slmHU o O"},
      {speaker_boost_system_drc_full_right_set_volume, "slmhu slmhu o O"},
  };
  for (const auto& c : kCases) {
    speaker_boost boost;
    c.set_volume(&boost, 2048);
    const recording after = run(boost, left, right);
    std::string reached = "slmhu slmhu o o";
    const auto mark = [&](size_t at, bool changed) {
      if (changed) reached[at] = static_cast<char>(std::toupper(reached[at]));
    };
    for (size_t k = 0; k < 10; ++k) mark(k < 5 ? k : k + 1, before.band[k] != after.band[k]);
    mark(12, before.out_left != after.out_left);
    mark(14, before.out_right != after.out_right);
    EXPECT_EQ(reached, c.reached);
  }
}

// Every word of one side's history: what a new rate clears (filters and delay lines), the running
// gains, and all else.
struct history {
  std::vector<int> cleared, gains, others;
  bool operator==(const history&) const = default;

  history(speaker_boost& b, bool right) {
    const auto append = [](std::vector<int>& words, const int* first, int count) {
      words.insert(words.end(), first, first + count);
    };
    const auto append_line = [&](const audio_delay* line) {
      append(cleared, line->buffer, kDelay);
      others.push_back(line->index);
    };
    append(cleared, (right ? b.pre_right : b.pre_left)->state, 5);
    for (const auto* split : right ? b.split_right : b.split_left)
      for (const IIR* section : {split->low[0], split->low[1], split->high[0], split->high[1]})
        append(cleared, section->state, 5);
    append_line(right ? b.delay_right : b.delay_left);
    using four = std::array<dynamic_range_control_t*, 4>;
    for (const auto* c :
         right ? four{b.drc_low_right, b.drc_mid_right, b.drc_high_right, b.drc_full_right}
               : four{b.drc_low_left, b.drc_mid_left, b.drc_high_left, b.drc_full_left}) {
      append_line(c->delay);
      gains.push_back(c->gain);
      others.insert(others.end(), {c->peak_env, c->denoise_gain, c->mean_env});
      append(others, c->history, 3);
      append(others, c->recent_targets, 3);
    }
    for (const int* buffer : right ? b.right_buffers() : b.left_buffers())
      append(others, buffer, 256);
  }
};

TEST(SpeakerBoost, ForgetsFiltersAndDelaysAtANewRateAndAllButTheGainsAtReset) {
  speaker_boost boost;
  const history fresh[] = {{boost, false}, {boost, true}};
  const auto band = [&] { return samples(boost.nld_band->state, boost.nld_band->state + 5); };
  NLD_set_clip_level(boost.nld, 1);
  for (bool reset : {false, true}) {
    run(boost, noise(1100, 8000000, 6), noise(1100, 8000000, 7), 256);
    const history before[] = {{boost, false}, {boost, true}};
    const samples band_before = band();
    int words[] = {1, 2, 3, 4, 5}, got[5];
    speaker_boost_system_set_nld_param(&boost, words);
    speaker_boost_system_get_nld_param(&boost, got);
    EXPECT_TRUE(std::ranges::equal(got, words));
    EXPECT_EQ(band(), band_before) << "a new band keeps it";
    if (reset)
      speaker_boost_system_reset(&boost);
    else
      speaker_boost_system_set_sample_rate(&boost, SAMPLE_RATE_44100);
    EXPECT_NE(band(), band_before);
    EXPECT_EQ(band(), samples(5));
    for (int side : {0, 1}) {
      const history after(boost, side);
      EXPECT_NE(before[side].cleared, fresh[side].cleared);
      EXPECT_EQ(after.cleared, fresh[side].cleared);
      EXPECT_EQ(after.gains, before[side].gains);
      EXPECT_EQ(after.others, (reset ? fresh : before)[side].others);
    }
  }
  EXPECT_EQ(boost.nld->clip_envelope, 2097152) << "restarts, doesn't glide";
}

TEST(SpeakerBoost, MonoTouchesTheLeftSideOnlyAndSoundsLikeTwoEqualChannels) {
  speaker_boost mono, stereo;
  const history untouched(mono, true);
  const samples in = noise(3000, 8000000, 8);
  samples out(3000);
  for (int start = 0; start < 3000; start += 240)
    speaker_boost_system_process_mono(&mono, const_cast<int*>(&in[start]), &out[start],
                                      std::min(240, 3000 - start));
  EXPECT_TRUE(history(mono, true) == untouched);
  EXPECT_EQ(run(stereo, in, in).out_left, out);
  EXPECT_FALSE(history(stereo, true) == untouched);
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
      set_at_random(&fast, generator);
      set_at_random(&slow, same);
    });
    for (int k = 0; k < 4; ++k) ASSERT_EQ(x[k], y[k]) << "pattern " << seed;
    ++seed;
  }
}

TEST(SpeakerBoost, TakesALongCallAsBlocksOf256AndAnEmptyOneAsABlockOfSilence) {
  speaker_boost whole, parts;
  samples left = noise(700, 8000000, 4), right = noise(700, 8000000, 5);
  const recording r = run(parts, left, right, 256);
  speaker_boost_system_process_stereo(&whole, left.data(), right.data(), left.data(), right.data(),
                                      700);
  EXPECT_EQ(left, r.out_left);
  EXPECT_EQ(right, r.out_right);
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
  const samples silence(1000);
  EXPECT_EQ(run(boost, silence, silence).out_left, silence);
  speaker_boost_system_end(&boost);
  EXPECT_EQ(boost.nld, nullptr);
  EXPECT_EQ(boost.drc_full_right, nullptr);
  EXPECT_EQ(boost.sum_right, nullptr);  // the destructor ends it again
}

}  // namespace
