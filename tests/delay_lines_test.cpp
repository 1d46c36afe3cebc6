// All-pass, comb, delay and echo comb.
#include <gtest/gtest.h>

#include <array>

#include "support/delay_lines.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ13 = 8192;

}  // namespace

// With the energy that an all-pass gives back.
TEST(Allpass, PassesAllEnergy) {
  EXPECT_EQ(through(allpass_section(3, 4096), impulse(7, 8192)),
            (samples{4096, 0, 0, 6144, 0, 0, -3072}));
  for (int gain : {4096, -6000}) {
    double energy = 0.0;
    for (int v : through(allpass_section(7, gain), impulse(840, 1 << 23))) energy += double(v) * v;
    EXPECT_NEAR(energy / (double(1 << 23) * (1 << 23)), 1.0, 1e-5);
  }
}

// Half damping, half feedback: the first echo's tail 1/4, 1/8, 1/16, 1/32; the second round filters
// that tail again: (2048 + 512) / 4 = 640, (1024 + 1280) / 4 = 576. Fresh from init there is one
// echo.
TEST(Comb, EchoesFallByTheFeedback) {
  EXPECT_EQ(through(comb_filter(4, 4096, 4096), impulse(14, 8192)),
            (samples{0, 0, 0, 0, 8192, 0, 0, 0, 2048, 1024, 512, 256, 640, 576}));
  owned<comber, comb_end> fresh(comb_init, 2);
  EXPECT_EQ(fresh.feedback, 4096);
  EXPECT_EQ(through(fresh, impulse(8, 77)), (samples{0, 0, 77, 0, 0, 0, 0, 0}));
}

// A negative length is one sample, a long one is clamped; at 0 the line is left alone.
TEST(AudioDelay, DelaysByItsLength) {
  for (const auto [set, get, delay] :
       {std::array{1, 1, 1}, {2, 2, 2}, {6, 5, 5}, {INT32_MIN, INT32_MIN, 1}}) {
    delay_line line(audio_delay_init, 5);
    int length = 0;
    audio_delay_set_delay(&line, set);
    audio_delay_get_delay(&line, &length);
    EXPECT_EQ(length, get);
    for (int n = 0; n < 23; ++n) EXPECT_EQ(step(line, n + 1), std::max(n + 1 - delay, 0));
    audio_delay_set_delay(&line, 0);
    EXPECT_EQ(through(line, {INT32_MIN, -1, 0, INT32_MAX}), (samples{INT32_MIN, -1, 0, INT32_MAX}));
    audio_delay_set_delay(&line, set);
    EXPECT_EQ(step(line, 0), 24 - delay);
  }
}

// g = 1.0, D = 3. The first repeat is F's own response to 8192: 4096, then
// 4096 - 0.69995 * 4096 = 1229, then -5734 * 1229 / 8192 = -860.2, rounded down. The second repeat
// sets in at n = 6: 4096 / 2 + 5734 * 861 / 8192 = 2650.7. A one-sample loop, as fresh from init:
// 8192, then 8192 / 4 = 2048, then (4096 * (2048 + 8192) - 5734 * 4096) / 2^14 = 1126. The loop
// filter's gain at 0 Hz is 1 / 1.69995, so a constant settles at x / (1 - g / 1.69995).
TEST(EchoComb, SettlesByItsLoopGain) {
  EXPECT_EQ(through(echo_comb(10, 3, kOneQ13), impulse(7, 8192)),
            (samples{8192, 0, 0, 4096, 1229, -861, 2650}));
  const samples one_sample_loop = {8192, 2048, 1126};
  for (int delay : {0, 1, -7})
    EXPECT_EQ(through(echo_comb(10, delay, 4096), impulse(3, 8192)), one_sample_loop);
  owned<iircomber, iircomber_end> fresh(iircomber_init, 10);
  EXPECT_EQ(through(fresh, impulse(3, 8192)), one_sample_loop);
  echo_comb comb(10, 4, 4096);
  EXPECT_NEAR(through(comb, samples(2000, 1000000)).back(),
              1000000.0 / (1.0 - 0.5 / (1.0 + 5734.0 / 8192.0)), 4.0);
}
