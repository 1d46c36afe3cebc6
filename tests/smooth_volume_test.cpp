#include <gtest/gtest.h>

#include "hp/smooth_volume.h"
#include "support/signals.h"

namespace {

using frame = std::pair<int, int>;  // left, right

smooth_volume_t stage_at(int gain, int target) {
  smooth_volume_t stage;
  smooth_volume_init(&stage);
  smooth_volume_set_soft_volume(&stage, gain);
  smooth_volume_set_volume(&stage, target);
  return stage;
}

frame played(smooth_volume_t* stage, int left, int right) {
  smooth_volume_process(stage, &left, &right, &left, &right, 1);
  return {left, right};
}

int next_gain(smooth_volume_t stage) {
  played(&stage, 0, 0);
  return stage.soft_volume;
}

int frames_to_target(smooth_volume_t stage) {
  int frames = 0;
  for (; stage.soft_volume != stage.volume && frames < 100000; ++frames) played(&stage, 0, 0);
  return frames;
}

}  // namespace

TEST(SmoothVolume, RampsToItsTarget) {
  smooth_volume_t stage;
  smooth_volume_init(&stage);
  EXPECT_EQ(played(&stage, 8192, -8192), (frame{0, 0}));
  EXPECT_EQ(played(&stage, 8192, -8192), (frame{64, -64}));    // 8192 / 128
  EXPECT_EQ(played(&stage, 8192, -8192), (frame{127, -127}));  // 64 + (8128 >> 7)
  // 200 steps away: 1 by the slow term. 128 away: 1, then 127 / 32 = 3. 32 away: 0 + 1, then snap.
  EXPECT_EQ(next_gain(stage_at(8192 - 200, 8192)), 8192 - 199);
  EXPECT_EQ(next_gain(stage_at(8192 - 128, 8192)), 8192 - 124);
  EXPECT_EQ(next_gain(stage_at(8192 - 32, 8192)), 8192);
  EXPECT_EQ(frames_to_target(stage_at(8192, 0)), 503);
  EXPECT_EQ(frames_to_target(stage_at(0, 8192)), 660);
  smooth_volume_t fast = stage_at(8192, 0);
  smooth_volume_set_smooth_buffer_num(&fast, 0);
  EXPECT_EQ(next_gain(fast), 8192 - 256) << "32nds";
  smooth_volume_reset(&fast);
  EXPECT_EQ(fast.soft_volume, 8192) << "from the other end";
  smooth_volume_set_volume(&fast, 8192);
  smooth_volume_reset(&fast);
  EXPECT_EQ(fast.soft_volume, 0);
}
