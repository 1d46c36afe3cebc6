#include "ktv/iirecho.h"

#include <gtest/gtest.h>

#include "fixed.h"
#include "support/signals.h"
#include "support/splits.h"

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

TEST_F(Echo, IsOnWhenFreshAndDerivesItsLoopsFromTheDelayWithinTheirCapacity) {
  EXPECT_EQ((samples{echo.status, echo.feedback, echo.delay, echo.dry, echo.wet}),
            (samples{1, 4096, 1, 2703, 5489}));
  EXPECT_EQ(echo.comb_left->delay, 48);
  const samples given = {400, 100, -1, -89478485, INT32_MIN};  // * 48: 16 - 2^32 and -3 * 2^35
  const samples loop = {16800, 4800, -48, 16, 0};
  for (size_t i = 0; i < given.size(); ++i) {
    iirecho_setdelay(&echo, given[i]);
    EXPECT_EQ((samples{echo.delay, echo.comb_left->delay, echo.comb_right->delay}),
              (samples{std::min(given[i], 350), loop[i], loop[i] + 24}));
  }
  iirecho_end(&echo);
  EXPECT_TRUE(echo.comb_left == nullptr && echo.comb_right == nullptr);
}

// The loop filter's answer to 8192, at a loop gain of 1: 4096 first, then 4096 - 0.69995 * 4096 =
// 1229, and from there on times -0.69995, rounded down.
TEST_F(Echo, RepeatsAnImpulseAsWorkedOutByHandHalfAMillisecondLaterOnTheRight) {
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

TEST_F(Echo, CutsTheTailWhenFeedbackOrDelayAreSetAndOnlyThenAndEndsItInSilence) {
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

// Channel by channel and sample by sample against the combs' own one-sample function, with any word
// for each setting, in one long call and in splits, for every way in which the four buffers can
// coincide.
TEST_F(Echo, GivesTheBitsOfSingleSamplesHoweverTheStreamIsCutAndTheBuffersCoincide) {
  constexpr int kFrames = 1500;
  constexpr int kMost = INT32_MAX, kLeast = INT32_MIN;
  const int settings[][4] = {{3, 8192, 8192, 0},
                             {9, kLeast, kLeast, kLeast},
                             {0, -14000, kMost, -8192},
                             {-3, 8192, 1, kMost}};
  const int layouts[][4] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0}, {0, 0, 0, 1},
                            {0, 0, 1, 0}, {0, 1, 2, 2}, {0, 1, 0, 0}, {0, 0, 0, 0}};
  for (const auto& [delay, feedback, dry, wet] : settings)
    for (const auto& [in_left, in_right, out_left, out_right] : layouts)
      for (int longest : {1, 300, kFrames}) {
        samples got[] = {wild(kFrames, 8), wild(kFrames, 9), samples(kFrames), samples(kFrames)};
        samples expected[] = {got[0], got[1], got[2], got[3]};
        set(delay, feedback, dry, wet);
        for (size_t i = 0; i < kFrames; ++i) {
          const auto channel = [&](int x, iircomber* comb) {
            return scale_down_wrapping<13>(
                wrap_add64(int64_t{dry} * x, int64_t{wet} * iircomber_process(x, comb)));
          };
          const int left = expected[in_left][i], right = expected[in_right][i];
          expected[out_left][i] = channel(left, echo.comb_left);
          expected[out_right][i] = channel(right, echo.comb_right);
        }
        iirecho_update(&echo);
        over_random_splits(kFrames, longest, 10, [&](int start, int n) {
          iirecho_processStereo(&echo, &got[in_left][size_t(start)], &got[in_right][size_t(start)],
                                &got[out_left][size_t(start)], &got[out_right][size_t(start)], n);
        });
        for (int k = 0; k < 4; ++k) ASSERT_EQ(got[k], expected[k]);
      }
  iirecho_processStereo(&echo, nullptr, nullptr, nullptr, nullptr, -5);
}
