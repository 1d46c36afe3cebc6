#include <gtest/gtest.h>

#include "hp/channel_balance.h"
#include "hp/smooth_volume.h"
#include "support/signals.h"

namespace {

struct frame {
  int left, right;
  bool operator==(const frame&) const = default;
};

frame balanced(int ratio, frame in) {
  channel_balance_t balance;
  channel_balance_init(&balance);
  channel_balance_set_channel_ration(&balance, ratio);
  channel_balance_process_stereo(&balance, &in.left, &in.right, &in.left, &in.right, 1);
  return in;
}

smooth_volume_t stage_at(int gain, int target) {
  smooth_volume_t stage;
  smooth_volume_init(&stage);
  smooth_volume_set_soft_volume(&stage, gain);
  smooth_volume_set_volume(&stage, target);
  return stage;
}

int frames_to_target(smooth_volume_t stage) {
  int x = 0, frames = 0;
  for (; stage.soft_volume != stage.volume && frames < 100000; ++frames)
    smooth_volume_process(&stage, &x, &x, &x, &x, 1);
  return frames;
}

}  // namespace

TEST(ChannelBalance, MixesOneChannelIntoTheOtherByTheRatio) {
  EXPECT_EQ(balanced(4096, {1000, 3000}), (frame{2000, 3000}));
  EXPECT_EQ(balanced(-4096, {1000, 3000}), (frame{1000, 2000}));
  EXPECT_EQ(balanced(8192, {1000, 3000}), (frame{3000, 3000}));
  EXPECT_EQ(balanced(-8192, {1000, 3000}), (frame{1000, 1000}));
  EXPECT_EQ(balanced(1, {0, -1}), (frame{-1, -1})) << "rounds down and keeps -1";
}

TEST(ChannelBalance, PassesEveryWordAtRatioZeroAndSaturatesBeyondUnity) {
  for (int x : {INT32_MAX, INT32_MIN, -1, 0, kFullScale})
    EXPECT_EQ(balanced(0, {x, x}), (frame{x, x}));
  // -1 times the left plus twice the right: 2^31 + 2^32 and its negative are out of range.
  EXPECT_EQ(balanced(16384, {INT32_MIN, INT32_MAX}), (frame{INT32_MAX, INT32_MAX}));
  EXPECT_EQ(balanced(-16384, {INT32_MIN, INT32_MAX}), (frame{INT32_MIN, INT32_MIN}));
  // (1000 x 2^31) / 8192, the lowest ratio there is.
  EXPECT_EQ(balanced(INT32_MIN, {1000, 0}), (frame{1000, 262144000}));
}

TEST(ChannelBalance, FoldsToTheMeanOfBothChannelsRoundedDown) {
  channel_balance_t balance;
  channel_balance_init(&balance);
  int left[] = {1000, -1, kFullScale, INT32_MAX}, right[] = {3000, 0, kFullScale, 1};
  channel_balance_process_mono(&balance, left, right, left, 4);
  EXPECT_EQ(left[0], 2000);
  EXPECT_EQ(left[1], -1);
  EXPECT_EQ(left[2], kFullScale);
  EXPECT_EQ(left[3], INT32_MIN / 2) << "the 32-bit sum wraps";
}

TEST(SmoothVolume, RampsBy128thsThenFasterThenSnaps) {
  smooth_volume_t stage;
  smooth_volume_init(&stage);
  int left[] = {8192, 8192, 8192}, right[] = {-8192, -8192, -8192};
  smooth_volume_process(&stage, left, right, left, right, 3);
  EXPECT_EQ(left[0], 0);
  EXPECT_EQ(left[1], 64);       // 8192 / 128
  EXPECT_EQ(left[2], 64 + 63);  // 64 + (8128 >> 7)
  EXPECT_EQ(right[2], -127);
  // 200 steps away: 1 by the slow term. 128 away: 1, then 127 / 32 = 3. 32 away: 0 + 1, then snap.
  const auto next_gain = [](int gain) {
    smooth_volume_t ramping = stage_at(gain, 8192);
    int x = 0;
    smooth_volume_process(&ramping, &x, &x, &x, &x, 1);
    return ramping.soft_volume;
  };
  EXPECT_EQ(next_gain(8192 - 200), 8192 - 199);
  EXPECT_EQ(next_gain(8192 - 128), 8192 - 124);
  EXPECT_EQ(next_gain(8192 - 32), 8192);
}

TEST(SmoothVolume, ReachesItsTargetExactlyAndSoonerWithASmallerRampNumber) {
  EXPECT_EQ(frames_to_target(stage_at(8192, 0)), 503);
  EXPECT_EQ(frames_to_target(stage_at(0, 8192)), 660);
  smooth_volume_t fast = stage_at(8192, 0);
  smooth_volume_set_smooth_buffer_num(&fast, 0);
  EXPECT_EQ(fast.shift, 5);
  EXPECT_LT(frames_to_target(fast), 503 / 2);
}

TEST(SmoothVolume, RestartsFromTheOtherEndOnReset) {
  smooth_volume_t stage = stage_at(1234, 0);
  smooth_volume_reset(&stage);
  EXPECT_EQ(stage.soft_volume, 8192);
  smooth_volume_set_volume(&stage, 8192);
  smooth_volume_reset(&stage);
  EXPECT_EQ(stage.soft_volume, 0);
}

TEST(SmoothVolume, SaturatesWhenItAmplifiesAndIsDefinedForAnySetting) {
  smooth_volume_t stage = stage_at(16384, 16384);
  int left = INT32_MAX, right = INT32_MIN;
  smooth_volume_process(&stage, &left, &right, &left, &right, 1);
  EXPECT_EQ(left, INT32_MAX);
  EXPECT_EQ(right, INT32_MIN);
  for (int number : {INT32_MIN, -6, -4, -3, 26, 27, INT32_MAX}) {
    smooth_volume_t wild = stage_at(INT32_MIN, INT32_MAX);
    smooth_volume_set_smooth_buffer_num(&wild, number);
    int silence[8] = {};
    smooth_volume_process(&wild, silence, silence, silence, silence, 8);
    EXPECT_EQ(silence[7], 0);
  }
}
