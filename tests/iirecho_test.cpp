#include "ktv/iirecho.h"

#include <gtest/gtest.h>

#include "support/signals.h"

namespace {

// Every test here works on a fresh one.
struct Echo : testing::Test {
  iirecho echo;
  Echo() { iirecho_init(&echo); }
  ~Echo() override { iirecho_end(&echo); }

  void set(int milliseconds, int feedback, int dry, int wet) {
    iirecho_setdelay(&echo, milliseconds);
    iirecho_setfeedback(&echo, feedback);
    iirecho_setdry(&echo, dry);
    iirecho_setwet(&echo, wet);
  }

  samples played(samples x) {
    iirecho_processStereo(&echo, &x[0], &x[0], &x[0], &x[0], static_cast<int>(x.size()));
    return x;
  }
};

}  // namespace

// The loop filter's answer to 8192, at a loop gain of 1: 4096 first, then 4096 - 0.69995 * 4096 =
// 1229, and from there on times -0.69995, rounded down.
TEST_F(Echo, RepeatsLaterOnTheRight) {
  for (int loop : {48, 350 * 48}) {
    set(loop / 48, 8192, 0, 8192);
    samples repeat = {4096, 1229, -861, 602, -422}, expected = impulse(loop, 8192);
    expected.insert(expected.end(), repeat.begin(), repeat.end());
    samples left = impulse(loop + 29, 8192), right = left;
    iirecho_processStereo(&echo, &left[0], &right[0], &left[0], &right[0], loop + 29);
    right.erase(right.begin() + 1, right.begin() + 25);  // 24 samples more of silence
    left.resize(right.size());
    EXPECT_EQ(left, expected);
    EXPECT_EQ(right, expected);
  }
}

TEST_F(Echo, CutsTheTailAtANewDelay) {
  set(5, 8192, 0, 8192);
  const auto tail_after = [&](auto action) {
    played(noise(1000, kFullScale, 6));
    action();
    return played(samples(300));
  };
  const samples tail = tail_after([] {});
  EXPECT_GT(peak(tail), 1000000);
  EXPECT_EQ(peak(tail_after([&] { iirecho_setfeedback(&echo, 8192); })), 0);
  EXPECT_EQ(peak(tail_after([&] { iirecho_setdelay(&echo, 5); })), 0);
  const samples louder = tail_after([&] { iirecho_setwet(&echo, 16384); });
  for (size_t i = 0; i < tail.size(); ++i) EXPECT_EQ(louder[i], 2 * tail[i]);
  // 24 bits fade by 4.6 dB a repeat: 32 repeats, and some for the rounding.
  played(samples(36 * 240));
  EXPECT_EQ(peak(played(samples(1000))), 0);
}
