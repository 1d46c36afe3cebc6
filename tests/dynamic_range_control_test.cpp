#include "effects/dynamic_range_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "effects/compressor.h"
#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr int kUnityQ17 = 131072;

// A controller whose target is its volume from the first block on: no look-ahead, gate open.
struct controller {
  dynamic_range_control_t drc;

  explicit controller(int history_len = 0, int frame_len = 0) {
    dynamic_range_control_init(&drc, history_len, frame_len);
    drc.denoise_gain = kUnityQ17;
    drc.denoise_threshold = 2;
  }
  ~controller() { dynamic_range_control_end(&drc); }

  samples run(samples x, int block) {
    const int n = static_cast<int>(x.size());
    for (int start = 0; start < n; start += block)
      dynamic_range_control_process(&drc, &x[size_t(start)], &x[size_t(start)],
                                    std::min(block, n - start));
    return x;
  }
};

struct stereo_compressor {
  compressor_t pair;

  explicit stereo_compressor(int volume, SampleRateType rate = SAMPLE_RATE_48000) {
    compressor_init(&pair, volume, 2);
    compressor_set_sample_rate(&pair, rate);
  }
  ~stereo_compressor() { compressor_end(&pair); }

  // The left output; the right channel gets the same and must give the same.
  samples run(const samples& x, int block) {
    samples left = x, right = x;
    for (int start = 0; start < static_cast<int>(x.size()); start += block) {
      int *l = &left[size_t(start)], *r = &right[size_t(start)];
      compressor_process(&pair, l, r, l, r, std::min(block, static_cast<int>(x.size()) - start));
    }
    EXPECT_EQ(left, right);
    return left;
  }
};

samples square(int n, int height) {
  samples x(static_cast<size_t>(n), height);
  for (size_t i = 1; i < x.size(); i += 2) x[i] = -height;
  return x;
}

struct rate_case {
  SampleRateType rate;
  int frame;
};
constexpr rate_case kRates[] = {{SAMPLE_RATE_44100, 220},
                                {SAMPLE_RATE_48000, 240},
                                {SAMPLE_RATE_96000, 480},
                                {SAMPLE_RATE_192000, 960}};

// Bursts of alternating full-scale samples, 1 sample to 3 blocks long, that start all over the
// block, each after 40 blocks at -40 dB, in which the gain recovers; then tones and noise that
// change their level at random, many near the threshold.
samples bursts(int block) {
  samples x;
  for (int length : {1, 2, 31, block, block + 1, 3 * block}) {
    for (int offset = 0; offset < block; offset += block / 6 + 1) {
      const samples quiet = square(40 * block + offset, kFullScale / 100);
      x.insert(x.end(), quiet.begin(), quiet.end());
      const samples loud = square(length, kFullScale);
      x.insert(x.end(), loud.begin(), loud.end());
      x.resize((x.size() / size_t(block) + 1) * size_t(block));
    }
  }
  return x;
}
samples restless(int n, unsigned seed) {
  std::mt19937 generator(seed);
  samples x;
  while (static_cast<int>(x.size()) < n) {
    constexpr int kHeights[] = {kFullScale, 30720 * 256 + 255, 30721 * 256, kFullScale / 9, 3000};
    const int length = 1 + static_cast<int>(generator() % 1500);
    const int height = kHeights[generator() % 5];
    const samples part = generator() % 2 == 0
                             ? noise(length, height, generator())
                             : sine(length, 20.0 + generator() % 9000, 48000.0, height);
    x.insert(x.end(), part.begin(), part.end());
  }
  return x;
}

}  // namespace

TEST(Compressor, DelaysByTheLookAheadExactlyHoweverTheStreamIsCut) {
  for (const auto& [rate, frame] : kRates) {
    stereo_compressor compressor(8192, rate);
    samples left = impulse(5000, kFullScale), right = left, zeros(5000);
    over_random_splits(5000, 700, 3, [&](int start, int count) {
      int *l = &left[size_t(start)], *r = &right[size_t(start)];
      compressor_process(&compressor.pair, l, r, l, r, count);
    });
    for (samples* x : {&left, &right}) {
      EXPECT_NE(std::exchange((*x)[size_t(2 * frame)], 0), 0);
      EXPECT_EQ(*x, zeros);
    }
  }
}

TEST(DynamicRangeControl, DelaysByHistoryTimesFrameWithinItsCapacity) {
  const auto first_output = [](dynamic_range_control_t* drc) {
    samples x = impulse(400, kFullScale);
    dynamic_range_control_process(drc, x.data(), x.data(), 400);
    return std::find_if(x.begin(), x.end(), [](int v) { return v != 0; }) - x.begin();
  };
  controller small(2, 60), none(0, 960);
  EXPECT_EQ(first_output(&small.drc), 120);
  EXPECT_EQ(first_output(&none.drc), 0);
  dynamic_range_control_reset(&small.drc);
  dynamic_range_control_reinit(&small.drc, 25);
  EXPECT_EQ(first_output(&small.drc), 50);
  dynamic_range_control_reset(&small.drc);
  dynamic_range_control_reinit(&small.drc, 240);
  EXPECT_EQ(first_output(&small.drc), 120) << "no longer than what init took";
}

// At volume 1.0 nothing louder than the threshold may come out: peaks up to 30720 (as |x| >> 8)
// pass at 1.0, so 30720 x 256 + 255 is the ceiling; higher ones have 2 blocks in which the gain
// falls by at most 9 %, which takes it about 130 samples.
TEST(Compressor, HoldsEveryPeakBelowTheThresholdAtUnityVolume) {
  constexpr int kCeiling = 30720 * 256 + 255;
  int largest = 0;
  for (const auto& [rate, frame] : kRates) {
    for (int block : frame < 256 ? std::vector{frame, 256} : std::vector{frame}) {
      largest = std::max(largest, peak(stereo_compressor(8192, rate).run(bursts(frame), block)));
      for (unsigned seed = 1; seed <= 2; ++seed) {
        const samples x = restless(40000, seed);
        largest = std::max(largest, peak(stereo_compressor(8192, rate).run(x, block)));
      }
    }
  }
  EXPECT_LE(largest, kCeiling);
  EXPECT_GT(largest, kCeiling * 0.97) << "the signals must reach the limit";

  // Three blocks of 256 are shorter than the look-ahead at 96 and 192 kHz: a peak may outlive its
  // target, by half a decibel at most.
  int outlived = 0;
  for (SampleRateType rate : {SAMPLE_RATE_96000, SAMPLE_RATE_192000})
    for (unsigned seed = 1; seed <= 4; ++seed)
      for (int block : {240, 256})
        outlived = std::max(outlived,
                            peak(stereo_compressor(8192, rate).run(restless(40000, seed), block)));
  EXPECT_LE(outlived, kCeiling * 1.06);
  RecordProperty("largest_overshoot_dB_with_blocks_shorter_than_the_frame",
                 std::to_string(decibels(double(outlived) / kCeiling)));
  RecordProperty("largest_overshoot_dB_over_threshold",
                 std::to_string(decibels(double(largest) / kCeiling)));
  RecordProperty("largest_output_dBFS", std::to_string(decibels(double(largest) / kFullScale)));
}

// Within the 480 samples of the look-ahead at 48 kHz the gain falls to (1 - 3/4096)^480 = 0.7034,
// -3.06 dB, or lower: a make-up of sqrt(2) can still be taken back from a full-scale burst.
TEST(Compressor, TakesBackThreeDecibelsOfMakeUpBeforeABurstArrives) {
  const int largest = peak(stereo_compressor(11585).run(bursts(240), 240));
  EXPECT_LE(largest, kFullScale);
  RecordProperty("largest_output_dBFS_at_3_dB_make_up",
                 std::to_string(decibels(double(largest) / kFullScale)));
}

// Full scale has the peak 32767: 30720 x 8192 / 32767 = 7680, x 7936 >> 13 = 7440 in Q13, 119040 in
// Q17, and 8388607 x 119040 / 131072 = 7618559.1. After the drop to quiet the look-ahead holds for
// two blocks, and then every third block halves what the gain lacks: 752, 376, 188, 94, 47, 24, 12,
// 6, 3, 2, 1 units of Q13, and there it stays.
TEST(Compressor, SettlesOnAndRecoversFromASteadyOverload) {
  stereo_compressor compressor(8192);
  const samples limited = compressor.run(square(240 * 60, kFullScale), 240);
  EXPECT_EQ(compressor.pair.left->recent_targets[2], 119040);
  EXPECT_EQ(compressor.pair.left->peak_env, 30720);
  EXPECT_EQ(limited[240 * 60 - 2], 7618559);
  EXPECT_EQ(limited[240 * 60 - 1], -7618560) << "rounded towards minus infinity";

  const samples quiet = square(240, kFullScale / 100);
  for (int block = 1; block <= 40; ++block) {
    compressor.run(quiet, 240);
    if (block == 1) {
      const int* recent = compressor.pair.left->recent_targets;
      EXPECT_EQ(samples(recent, recent + 3), samples({119040, 125056, 125056}));
      EXPECT_EQ(compressor.pair.left->peak_env, 30482) << "30720 - 30393 / 128, rounded down";
    }
    const int lacks[] = {752, 376, 188, 94, 47, 24, 12, 6, 3, 2, 1};
    EXPECT_EQ(compressor.pair.left->gain, (8192 - lacks[std::min(block / 3, 10)]) * 16) << block;
  }
}

// One step of one sample. Downwards the target is the volume itself; upwards it is half way from
// the present gain (in Q13) to the volume.
TEST(DynamicRangeControl, SlewsTheGainByTheDistance) {
  struct step {
    int gain, volume, expected;
  };
  const step steps[] = {
      {1030, 64, 1024},  // 6 away: there
      {1032, 64, 1031},
      {1056, 64, 1052},  // 8 and 32 above: 1/8
      {1073, 64, 1072},  // 49 above: 1/32
      {16384, 960, 16352},
      {16384, 896, 16352},  // 1024 and 2048 above: 1/32 and 1/64
      {16384, 768, 16368},
      {16384, 512, 16368},        // 4096 and 8192 above: 1/256 and 1/512
      {16384, 0, 16368},          // 16384 above: 1/1024
      {kUnityQ17, 8000, 130976},  // 3072 above: 3/4096 of the gain, 96
      {kUnityQ17, 8189, 131024},  // 48 above: 96 would pass the target
      {1024, 66, 1026},
      {1024, 72, 1032},  // 16 and 64 below: 1/8
      {1024, 74, 1025},
      {1024, 192, 1040},  // 80 and 1024 below: 1/64
      {1024, 320, 1040},
      {1024, 576, 1040},  // 2048, 4096: 1/128, 1/256
      {1024, 1088, 1040},
      {1024, 2112, 1040},                      // 8192, 16384: 1/512, 1/1024
      {1024, 4160, 1040},                      // 32768: 1/2048
      {kUnityQ17, 8202, 131104},               // 80 below: 1/4096 of the gain, 32
      {1 << 20, 65546, (1 << 20) + 80},        // 80 below: 256 would pass the target
      {INT32_MAX - 99, INT32_MAX, INT32_MAX},  // at the rail: no wrap
  };
  for (const auto& [gain, volume, expected] : steps) {
    controller one;
    one.drc.volume = volume;
    one.drc.gain = gain;
    one.run({0}, 1);
    EXPECT_EQ(one.drc.gain, expected) << gain << " with volume " << volume;
  }
}

// The gate's gain is mean / threshold, at least 1536 / 8192; its product keeps 32 bits.
TEST(DynamicRangeControl, GatesInProportionToTheMean) {
  struct gate_case {
    int mean, threshold, expected;  // the gain where it settles, Q17
  };
  const gate_case cases[] = {
      {256, 256, kUnityQ17},    {128, 256, 65536}, {1, 256, 24576}, {0, 2, 24576},
      {262143, 1 << 20, 32752},  // 2047.99 in Q13
      {262144, 1 << 20, 24576},  // the product is -2^31
  };
  for (const auto& [mean, threshold, expected] : cases) {
    controller gate;
    dynamic_range_control_set_denoise_threshold(&gate.drc, threshold);
    gate.drc.mean_env = mean;  // where the follower stands when it has settled
    gate.run(square(4800, mean), 240);
    EXPECT_EQ(gate.drc.denoise_gain, expected) << mean << " of " << threshold;
    EXPECT_EQ(gate.drc.mean_env, mean);
  }
  controller step;  // opens by 1/8 of the distance per sample, closes by 1/32
  step.drc.denoise_gain = 8192;
  step.run({0}, 1);
  EXPECT_EQ(step.drc.denoise_gain, 23552);
  step.drc.denoise_gain = kUnityQ17;
  step.drc.mean_env = 0;
  step.run({0}, 1);
  EXPECT_EQ(step.drc.denoise_gain, 127744);
}

TEST(DynamicRangeControl, FollowsTheMeanAndThePeakByTheirOrders) {
  controller followed;
  followed.drc.mean_env = 1000;
  dynamic_range_control_set_attact_order(&followed.drc, 2);
  dynamic_range_control_set_release_order(&followed.drc, 3);
  dynamic_range_control_set_volume(&followed.drc, 4096);
  followed.run(square(240, 25600), 240);   // mean 25600; peak 100, 50 after the volume
  EXPECT_EQ(followed.drc.mean_env, 2537);  // 1000 + 24600 / 16
  EXPECT_EQ(followed.drc.peak_env, 12);    // 50 / 4
  dynamic_range_control_process(&followed.drc, nullptr, nullptr, 0);
  EXPECT_EQ(followed.drc.mean_env, 2457);  // 2537 - 79.3, rounded towards minus infinity
  EXPECT_EQ(followed.drc.peak_env, 10);    // 12 - 1.5
}

// A block whose every sample has the same magnitude measures the same however it is cut.
TEST(DynamicRangeControl, GivesTheSameBitsInPlaceOutOfPlaceAndInLongCalls) {
  constexpr int kFrames = 1000;
  samples x = square(kFrames, 4000000), cut(kFrames), whole(kFrames);
  const auto prepare = [](controller& c) {
    dynamic_range_control_set_volume(&c.drc, 5000);
    c.drc.gain = 5000 * 32;  // on its way down
    c.drc.history[0] = 5000 * 16;
    c.drc.mean_env = 4000000;
  };
  controller a(1, 100), b(1, 100), c(1, 100);
  for (controller* each : {&a, &b, &c}) prepare(*each);
  over_random_splits(kFrames, 300, 5, [&](int start, int count) {
    dynamic_range_control_process(&a.drc, &x[size_t(start)], &cut[size_t(start)], count);
  });
  dynamic_range_control_process(&b.drc, x.data(), whole.data(), kFrames);
  dynamic_range_control_process(&c.drc, x.data(), x.data(), kFrames);
  EXPECT_EQ(cut, whole);
  EXPECT_EQ(x, whole);
  EXPECT_LT(b.drc.gain, 5000 * 32);
}

TEST(DynamicRangeControl, TurnsMinusOneIntoSilenceAndSaturates) {
  controller unity;
  EXPECT_EQ(unity.run({-1, -2, 1, 0, -3}, 5), samples({0, -2, 1, 0, -3}));
  controller loud;
  loud.drc.threshold = INT32_MAX;
  loud.drc.volume = 8 * 8192;
  loud.drc.gain = 8 * kUnityQ17;
  EXPECT_EQ(loud.run({INT32_MAX, INT32_MIN, -1}, 3), samples({INT32_MAX, INT32_MIN, -8}));
}

TEST(DynamicRangeControl, MeasuresPeakAndMean) {
  int x[] = {-1000, 255, 256, -770, 0}, lowest[] = {INT32_MIN, 0}, mean = -1;
  EXPECT_EQ(find_current_max_drc(x, &mean, 5), 3);  // 1000 >> 8
  EXPECT_EQ(mean, 456);                             // 2281 / 5
  EXPECT_EQ(find_current_max_drc(lowest, &mean, 2), 8388608);
  EXPECT_EQ(mean, 1 << 30);
  EXPECT_EQ(find_current_max_drc(x, &mean, 0), 0);
  EXPECT_EQ(mean, 0);
}

TEST(Compressor, StartsSilentUnderTheOwnersSwitchAndSharesItsVolume) {
  compressor_t pair;
  pair.status = 77;
  compressor_init(&pair, 4608, 2);
  int status = -1, threshold = 0, volume = 0;
  compressor_getstatus(&pair, &status);
  EXPECT_EQ(status, 0);
  for (dynamic_range_control_t* channel : {pair.left, pair.right}) {
    dynamic_range_control_get_denoise_threshold(channel, &threshold);
    EXPECT_EQ(threshold, 2) << "1 is raised";
    EXPECT_EQ(channel->gain, 4608 * 8);
    EXPECT_EQ(channel->mean_env, 0);
  }
  compressor_set_volume(&pair, INT32_MAX);
  dynamic_range_control_get_volume(pair.right, &volume);
  EXPECT_EQ(volume, INT32_MAX);
  EXPECT_EQ(pair.left->gain, INT32_MAX) << "saturates";
  compressor_end(&pair);
  compressor_end(&pair);
  EXPECT_EQ(pair.left, nullptr);
}

TEST(Compressor, ForgetsTheSignalButNotTheSettingsOnReset) {
  stereo_compressor compressor(8192);
  compressor.run(noise(2400, kFullScale, 4), 240);
  const int gain = compressor.pair.left->gain;
  compressor_reset(&compressor.pair);
  EXPECT_EQ(compressor.pair.left->gain, gain);
  EXPECT_EQ(compressor.pair.left->mean_env, 32767);
  EXPECT_EQ(compressor.run(samples(960), 240), samples(960)) << "nothing is left in the delay";
}

// Any setting, any sample: nothing undefined (under the sanitizers), nothing out of bounds.
TEST(DynamicRangeControl, SurvivesAnySettings) {
  const samples words = wild(4000, 9);
  for (size_t i = 0; i + 12 < words.size(); i += 4) {
    controller any(static_cast<int>(i % 3), 17);
    dynamic_range_control_set_threshold(&any.drc, words[i]);
    dynamic_range_control_set_denoise_threshold(&any.drc, words[i + 1]);
    dynamic_range_control_set_attact_order(&any.drc, words[i + 2]);
    dynamic_range_control_set_release_order(&any.drc, words[i + 3]);
    dynamic_range_control_set_volume(&any.drc, words[i + 4]);
    if (i % 8 == 0) any.drc.gain = words[i + 5];
    if (i % 16 == 0) any.drc.peak_env = words[i + 6], any.drc.mean_env = words[i + 7];
    if (i % 32 == 0) any.drc.denoise_threshold = words[i + 8], any.drc.denoise_gain = words[i + 9];
    const samples out = any.run(wild(60, static_cast<unsigned>(i)), 20);
    EXPECT_EQ(std::count(out.begin(), out.end(), -1), 0);
  }
}
