#include "effects/dynamic_range_control.h"

#include <gtest/gtest.h>

#include "effects/compressor.h"
#include "support/stereo.h"

namespace {

using compressor = effect<compressor_t, [](compressor_t* c) { compressor_init(c, 8192, 2); },
                          compressor_end, compressor_process>;

constexpr int kFrames[] = {220, 240, 480, 960};  // by rate

samples square(int n, int height) {
  samples x(static_cast<size_t>(n), height);
  for (size_t i = 1; i < x.size(); i += 2) x[i] = -height;
  return x;
}

// Square waves, noise and tones of full scale, around the threshold and quiet, from bursts of a few
// samples to stretches in which the gain recovers, that start all over the block.
samples restless(unsigned seed) {
  constexpr int kHeights[] = {kFullScale, 30720 * 256 + 255, 30721 * 256, kFullScale / 9, 3000};
  std::mt19937 any(seed);
  samples x;
  while (x.size() < 80000) {
    const int height = kHeights[any() % 5];
    const int n = 1 + static_cast<int>(any() % (height > 1000000 ? 1u << any() % 12 : 20000u));
    const samples parts[] = {square(n, height), noise(n, height, any()),
                             sine(n, 20.0 + any() % 9000, 48000.0, height)};
    const samples& part = parts[any() % 3];
    x.insert(x.end(), part.begin(), part.end());
  }
  return x;
}

TEST(Compressor, DelaysByTwoBlocks) {
  for (int frame : {220, 240, 480, 960, 25, 2000}) {
    compressor c;
    for (int rate = 0; rate < 4; ++rate)
      if (kFrames[rate] == frame) compressor_set_sample_rate(&c, static_cast<SampleRateType>(rate));
    for (auto* channel : {c.left, c.right})
      if (frame == 25 || frame == 2000) dynamic_range_control_reinit(channel, frame);
    const samples x = c.run_mono(impulse(3000, kFullScale), 700);
    EXPECT_NE(x[size_t(2 * std::min(frame, 960))], 0);
    EXPECT_EQ(std::count(x.begin(), x.end(), 0), 2999);
  }
}

// At volume 1.0 nothing louder than the threshold may come out: peaks up to 30720 (as |x| >> 8)
// pass at 1.0; higher ones have 2 blocks in which the gain falls by at most 9 %, which takes it
// about 130 samples. Three blocks of 240 are shorter than the look-ahead at 96 and 192 kHz: a peak
// may outlive its target, by half a decibel at most. With a make-up of 3 dB the 480 samples of the
// look-ahead at 48 kHz, (1 - 3/4096)^480 = -3.06 dB, still suffice for a burst.
TEST(Compressor, HoldsEveryPeakBelowTheThreshold) {
  constexpr int kCeiling = 30720 * 256 + 255;
  int largest = 0;
  for (int seed = 0; seed < 16; ++seed)
    for (int rate = seed % 4; int block : {240, 256, kFrames[rate]}) {
      compressor c;
      compressor_set_sample_rate(&c, static_cast<SampleRateType>(rate));
      const int most = peak(c.run_mono(restless(seed), block));
      EXPECT_LE(most, kCeiling * (block < kFrames[rate] ? 1.06 : 1.0)) << seed << ", " << block;
      largest = std::max(largest, most);
      if (rate != 1) continue;
      compressor_set_volume(&c, 11585);
      EXPECT_LE(peak(c.run_mono(restless(seed), block)), kFullScale) << seed;
    }
  EXPECT_GT(largest, kCeiling * 0.99) << "the signals must reach the limit";
}

// Full scale has the peak 32767: 30720 x 8192 / 32767 = 7680, x 7936 >> 13 = 7440 in Q13, 119040 in
// Q17, and 8388607 x 119040 / 131072 = 7618559.1. After the drop to quiet the look-ahead holds for
// two blocks, and then every third block halves what the gain lacks, in Q13, and there it stays.
TEST(Compressor, RecoversFromAnOverload) {
  constexpr int kLacks[] = {752, 376, 188, 94, 47, 24, 12, 6, 3, 2, 1};
  compressor c;
  const samples limited = c.run_mono(square(240 * 60, kFullScale), 240);
  EXPECT_EQ(samples(limited.end() - 2, limited.end()), samples({7618559, -7618560}));
  EXPECT_EQ(c.left->peak_env, 30720);
  for (int block = 1; block <= 40; ++block) {
    c.run_mono(square(240, kFullScale / 100));
    EXPECT_EQ(c.left->gain, (8192 - kLacks[std::min(block / 3, 10)]) * 16) << block;
    if (block > 1) continue;
    EXPECT_EQ(std::to_array(c.left->recent_targets), (std::array{119040, 125056, 125056}));
    EXPECT_EQ(c.left->peak_env, 30482) << "30720 - 30393 / 128, rounded down";
  }
}

}  // namespace
