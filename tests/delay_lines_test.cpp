// All-pass, comb, delay and echo comb.
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "dsp/allpass.h"
#include "dsp/audio_delay.h"
#include "dsp/comber.h"
#include "dsp/iircomber.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ13 = 8192;

struct allpass_section : allpass {
  explicit allpass_section(int n, int gain = 4096) {
    allpass_init(this, n);
    allpass_setfeedback(this, gain);
  }
  ~allpass_section() { allpass_end(this); }
  allpass_section(const allpass_section&) = delete;
  allpass_section& operator=(const allpass_section&) = delete;

  int step(int x) { return allpass_process(x, this); }
};

struct comb_filter : comber {
  comb_filter(int n, int gain, int damp) {
    comb_init(this, n);
    comb_setfeedback(this, gain);
    comb_setsetdamp(this, damp);
  }
  ~comb_filter() { comb_end(this); }
  comb_filter(const comb_filter&) = delete;
  comb_filter& operator=(const comb_filter&) = delete;

  int step_16(int x) { return comb_process_16(x, this); }
  int step_24(int x) { return comb_process_24(x, this); }
};

struct delay_line : audio_delay {
  explicit delay_line(int n) { audio_delay_init(this, n); }
  ~delay_line() { audio_delay_end(this); }
  delay_line(const delay_line&) = delete;
  delay_line& operator=(const delay_line&) = delete;

  int step(int x) { return audio_delay_process(this, x); }
};

struct echo_comb : iircomber {
  echo_comb(int n, int length, int gain) {
    iircomber_init(this, n);
    iircomber_setdelay(this, length);
    iircomber_setfeedback(this, gain);
  }
  ~echo_comb() { iircomber_end(this); }
  echo_comb(const echo_comb&) = delete;
  echo_comb& operator=(const echo_comb&) = delete;

  int step(int x) { return iircomber_process(x, this); }
};

// What step makes of an impulse.
template <typename Step>
samples response(int height, int n, Step step) {
  samples y;
  for (int x : impulse(n, height)) y.push_back(step(x));
  return y;
}

}  // namespace

TEST(Allpass, GivesTheImpulseResponseWorkedOutByHand) {
  allpass_section section(3);
  EXPECT_EQ(response(8192, 7, [&](int x) { return section.step(x); }),
            (samples{4096, 0, 0, 6144, 0, 0, -3072}));
}

// An all-pass loses no energy.
TEST(Allpass, GivesBackTheEnergyOfAnImpulse) {
  for (int gain : {4096, -6000}) {
    allpass_section section(7, gain);
    const samples y = response(1 << 23, 7 * 120, [&](int x) { return section.step(x); });
    double energy = 0.0;
    for (int v : y) energy += double(v) * v;
    EXPECT_NEAR(energy / (double(1 << 23) * (1 << 23)), 1.0, 1e-5);
  }
}

TEST(Allpass, SaturatesTheSumsAndTheProducts) {
  allpass_section sum(1);
  EXPECT_EQ(sum.step(INT32_MAX), 1073741823);
  EXPECT_EQ(sum.buffer[0], 1610612736);       // x - x / 4
  EXPECT_EQ(sum.step(INT32_MAX), INT32_MAX);  // 0.75 + 0.5
  EXPECT_EQ(sum.buffer[0], 1073741824);       // x - y / 2

  allpass_section difference(1, -4096);
  EXPECT_EQ(difference.step(INT32_MIN), 1073741824);
  EXPECT_EQ(difference.step(INT32_MIN), -536870912);  // -0.75 + 0.5
  EXPECT_EQ(difference.buffer[0], INT32_MIN);         // -1 - 1/8

  allpass_section product(1, 4 * kOneQ13);
  EXPECT_EQ(product.step(INT32_MIN), INT32_MIN);
  EXPECT_EQ(product.buffer[0], 0) << "x minus the saturated product of y";
}

TEST(Allpass, LetsANegativeTailEndInSilence) {
  allpass_section section(3, 6000);
  section.step(-kFullScale);
  for (int n = 0; n < 400; ++n) section.step(0);
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(section.step(0), 0);
    EXPECT_EQ(section.buffer[n], 0);
  }
}

TEST(Allpass, ResetClearsTheLoopAndKeepsTheFeedback) {
  allpass_section section(3, -5000);
  for (int n = 0; n < 4; ++n) section.step(1000);
  allpass_reset(&section);
  EXPECT_EQ(section.index, 0);
  int feedback = 0;
  allpass_getfeedback(&section, &feedback);
  EXPECT_EQ(feedback, -5000);
  EXPECT_EQ(response(0, 4, [&](int x) { return section.step(x); }), samples(4));
}

// Without damping: the loop gain per round, and the -1 that would stand at the end becomes 0.
TEST(Comb, HalvesEachRoundDownToSilence) {
  const int expected[] = {0, 8, 4, 2, 1, 0, 0}, mirrored[] = {0, -8, -4, -2, 0, 0, 0};
  comb_filter plus(4, 4096, 0), minus(4, 4096, 0), wide(4, 4096, 0);
  for (int n = 0; n < 28; ++n) {
    const int x = n == 0 ? 8 : 0;
    EXPECT_EQ(plus.step_16(x), n % 4 == 0 ? expected[n / 4] : 0) << n;
    EXPECT_EQ(minus.step_16(-x), n % 4 == 0 ? mirrored[n / 4] : 0) << n;
    EXPECT_EQ(wide.step_24(256 * x), n % 4 == 0 ? (n == 0 ? 0 : 4096 >> (n / 4)) : 0) << n;
  }
  for (int n = 0; n < 400; ++n) minus.step_16(0);
  for (int n = 0; n < 4; ++n) EXPECT_EQ(minus.buffer[n], 0);
}

// Half damping, half feedback: the first echo's tail 1/4, 1/8, 1/16, 1/32; the second round filters
// that tail again: (2048 + 512) / 4 = 640, (1024 + 1280) / 4 = 576.
TEST(Comb, DampsTheRepeatsAsWorkedOutByHand) {
  for (bool wide : {false, true}) {
    comb_filter comb(4, 4096, 4096);
    EXPECT_EQ(response(8192, 14, [&](int x) { return wide ? comb.step_24(x) : comb.step_16(x); }),
              (samples{0, 0, 0, 0, 8192, 0, 0, 0, 2048, 1024, 512, 256, 640, 576}));
  }
}

TEST(Comb, FreshFromInitGivesOneEchoAndNoRepeat) {
  comber comb;
  comb_init(&comb, 2);
  EXPECT_EQ(comb.feedback, 4096);
  EXPECT_EQ(comb.damp1, 8192);
  EXPECT_EQ(comb.damp2, 0);
  EXPECT_EQ(response(77, 8, [&](int x) { return comb_process_24(x, &comb); }),
            (samples{0, 0, 77, 0, 0, 0, 0, 0}));
  comb_end(&comb);
  comb_end(&comb);
  EXPECT_EQ(comb.buffer, nullptr);
}

TEST(Comb, GivesZeroForADelayedValueJustBelowZero) {
  comb_filter comb(1, 0, 0);
  for (auto [held, narrow, wide] :
       {std::array{-8192, 0, -256}, std::array{-8193, -2, -257}, std::array{-32, 0, 0},
        std::array{-33, 0, -2}, std::array{-1, 0, 0}}) {
    comb.buffer[0] = held;
    EXPECT_EQ(comb.step_16(0), narrow) << held;
    comb.buffer[0] = held;
    EXPECT_EQ(comb.step_24(0), wide) << held;
  }
}

TEST(Comb, SaturatesTheProductsAndWrapsTheSumIntoTheLoop) {
  comb_filter wrapping(1, kOneQ13, 0);
  EXPECT_EQ(wrapping.step_16(1 << 17), 0);
  EXPECT_EQ(wrapping.step_16(1 << 17), 1 << 17);
  EXPECT_EQ(wrapping.step_16(0), -(1 << 18)) << "2^30 + 2^30";
  comb_filter gain(1, 2 * kOneQ13, 0);
  gain.step_16(1 << 17);
  gain.step_16(0);
  EXPECT_EQ(gain.buffer[0], INT32_MAX);
  comb_filter damping(1, 0, -kOneQ13);  // damp2 = 2.0
  damping.buffer[0] = INT32_MIN;
  damping.step_16(0);
  EXPECT_EQ(damping.filter_store, INT32_MIN);
  comb_setsetdamp(&damping, INT32_MIN);
  EXPECT_EQ(damping.damp2, INT32_MIN + 8192) << "8192 - INT32_MIN wraps";
}

TEST(Comb, ResetClearsTheLoopAndTheLowPassAndKeepsTheGains) {
  comb_filter comb(3, 5000, 2000);
  for (int n = 0; n < 5; ++n) comb.step_24(1000);
  EXPECT_NE(comb.filter_store, 0);
  comb_reset(&comb);
  EXPECT_EQ(comb.filter_store, 0);
  EXPECT_EQ(comb.index, 0);
  EXPECT_EQ(comb.feedback, 5000);
  EXPECT_EQ(comb.damp1, 2000);
  EXPECT_EQ(comb.damp2, 6192);
  EXPECT_EQ(response(0, 6, [&](int x) { return comb.step_24(x); }), samples(6));
}

TEST(AudioDelay, DelaysByExactlyItsLength) {
  for (int delay : {1, 2, 5}) {
    delay_line line(5);
    audio_delay_set_delay(&line, delay);
    for (int n = 0; n < 23; ++n) EXPECT_EQ(line.step(n + 100), n < delay ? 0 : n + 100 - delay);
  }
}

TEST(AudioDelay, PassesSamplesThroughAtZeroAndLeavesTheLineAlone) {
  delay_line line(3);
  line.step(11);
  audio_delay_set_delay(&line, 0);
  for (int x : {INT32_MIN, -1, 0, INT32_MAX}) EXPECT_EQ(line.step(x), x);
  EXPECT_EQ(line.index, 1);
  audio_delay_set_delay(&line, 3);
  line.step(12);
  line.step(13);
  EXPECT_EQ(line.step(14), 11);
}

TEST(AudioDelay, TakesANegativeLengthAsOneSampleAndClampsALongOne) {
  delay_line line(4);
  int delay = 0;
  audio_delay_set_delay(&line, 5);
  audio_delay_get_delay(&line, &delay);
  EXPECT_EQ(delay, 4);
  for (int negative : {-1, INT32_MIN}) {
    audio_delay_set_delay(&line, negative);
    audio_delay_get_delay(&line, &delay);
    EXPECT_EQ(delay, negative);
    line.step(7);
    EXPECT_EQ(line.step(8), 7);
    EXPECT_EQ(line.step(9), 8);
  }
}

// Position 3 of a line shortened to 2 is read and written once more, then the loop is 0, 1.
TEST(AudioDelay, ReinitClearsOnlyTheNewLengthAndKeepsTheStalePosition) {
  delay_line line(5);
  for (int x : {1, 2, 3, 4, 5, 6, 7, 8}) line.step(x);
  audio_delay_reinit(&line, 2);  // holds 6 7 8 4 5, position 3
  EXPECT_EQ(line.index, 3);
  EXPECT_EQ(std::vector<int>(line.buffer, line.buffer + 5), (std::vector<int>{0, 0, 8, 4, 5}));
  EXPECT_EQ(line.step(20), 4);
  EXPECT_EQ(line.index, 0);
  EXPECT_EQ(line.step(21), 0);
  EXPECT_EQ(line.step(22), 0);
  EXPECT_EQ(line.step(23), 21);
  audio_delay_reinit(&line, -3);
  EXPECT_EQ(line.delay, -3);
  EXPECT_EQ(std::vector<int>(line.buffer, line.buffer + 5), (std::vector<int>{23, 22, 8, 20, 5}));
  audio_delay_reset(&line);
  EXPECT_EQ(line.delay, -3);
  EXPECT_EQ(std::vector<int>(line.buffer, line.buffer + 5), std::vector<int>(5));
}

TEST(AudioDelay, EndLeavesAHarmlessPassThrough) {
  delay_line line(5);
  line.step(1);
  audio_delay_end(&line);
  EXPECT_EQ(line.buffer, nullptr);
  EXPECT_EQ(line.capacity + line.delay + line.index, 0);
  audio_delay_reset(&line);
  EXPECT_EQ(line.step(42), 42);
}

// g = 1.0, D = 3. The first repeat is F's own response to 8192: 4096, then
// 4096 - 0.69995 * 4096 = 1229, then -5734 * 1229 / 8192 = -860.2, rounded down. The second repeat
// sets in at n = 6: 4096 / 2 + 5734 * 861 / 8192 = 2650.7.
TEST(EchoComb, GivesTheImpulseResponseWorkedOutByHand) {
  echo_comb comb(10, 3, kOneQ13);
  EXPECT_EQ(response(8192, 7, [&](int x) { return comb.step(x); }),
            (samples{8192, 0, 0, 4096, 1229, -861, 2650}));
}

// The loop filter's gain at 0 Hz is 1 / 1.69995, so a constant settles at x / (1 - g / 1.69995).
TEST(EchoComb, SettlesAConstantAtTheClosedForm) {
  echo_comb comb(10, 4, 4096);
  int y = 0;
  for (int n = 0; n < 2000; ++n) y = comb.step(1000000);
  EXPECT_NEAR(y, 1000000.0 / (1.0 - 0.5 / (1.0 + 5734.0 / 8192.0)), 4.0);
}

// Fresh: 8192, then 8192 / 4 = 2048, then (4096 * (2048 + 8192) - 5734 * 4096) / 2^14 = 1126.
TEST(EchoComb, IsAOneSampleLoopUntilTheDelayIsSet) {
  for (int delay : {0, 1, -7}) {
    echo_comb comb(10, delay, 4096);
    EXPECT_EQ(response(8192, 3, [&](int x) { return comb.step(x); }), (samples{8192, 2048, 1126}));
    EXPECT_EQ(comb.index, 0);
  }
}

TEST(EchoComb, WrapsTheProductsAndTheSum) {
  echo_comb comb(1, 1, 1 << 24);
  comb.step(1 << 21);
  EXPECT_EQ(comb.step(0), INT32_MIN) << "2^20 * 2^24 >> 13 = 2^31";
  echo_comb sum(1, 1, kOneQ13);
  sum.step(INT32_MAX);
  EXPECT_EQ(sum.step(INT32_MAX), -1073741826) << "2^31 - 1 + 2^30 - 1";
  echo_comb filter(1, 1, kOneQ13);
  filter.b0 = 2 * kOneQ13;
  filter.step(1 << 30);
  EXPECT_EQ(filter.step(0), INT32_MIN) << "2.0 * 2^30 in the loop filter";
}

TEST(EchoComb, LetsANegativeTailEndInSilence) {
  echo_comb comb(5, 5, 4096);
  comb.step(-kFullScale);
  for (int n = 0; n < 1000; ++n) comb.step(0);
  for (int n = 0; n < 5; ++n) EXPECT_EQ(comb.step(0), 0);
  EXPECT_EQ(comb.y1, 0);
}

TEST(EchoComb, ResetClearsTheLoopAndItsFilterAndKeepsTheSettings) {
  echo_comb comb(6, 9, 3000);
  int delay = 0, feedback = 0;
  for (int n = 0; n < 20; ++n) comb.step(1000);
  iircomber_reset(&comb);
  iircomber_getdelay(&comb, &delay);
  iircomber_getfeedback(&comb, &feedback);
  EXPECT_EQ(delay, 6) << "clamped to the capacity";
  EXPECT_EQ(feedback, 3000);
  EXPECT_EQ(response(0, 8, [&](int x) { return comb.step(x); }), samples(8));
}

// Each product alone: half of a small negative value rounds down to -1, which becomes 0.
TEST(DelayLines, ReplaceMinusOneAfterEveryProduct) {
  allpass_section section(1, 4096);
  EXPECT_EQ(section.step(-1), 0) << "g x";
  section.buffer[0] = -1;
  EXPECT_EQ(section.step(0), -1) << "a sum stays";
  EXPECT_EQ(section.buffer[0], 0) << "g y";

  comb_filter damping(1, kOneQ13, 4096), feedback(1, 4096, 0);
  damping.buffer[0] = -1;
  damping.step_24(0);
  EXPECT_EQ(damping.filter_store, 0);
  feedback.buffer[0] = -2;
  feedback.step_24(0);
  EXPECT_EQ(feedback.filter_store, -2);
  EXPECT_EQ(feedback.buffer[0], 0);

  echo_comb filter(1, 1, kOneQ13), echo(1, 1, 4096);
  filter.buffer[0] = -1;
  EXPECT_EQ(filter.step(0), 0);
  EXPECT_EQ(filter.y1, 0);
  echo.buffer[0] = -4;
  EXPECT_EQ(echo.step(0), 0);
  EXPECT_EQ(echo.y1, -2);
}

// A length below one acts as one, over any words and any gains, without leaving the buffer.
TEST(DelayLines, WithoutALengthAreOneSampleLoops) {
  for (int length : {0, -1, INT32_MIN}) {
    for (int gain : {INT32_MIN, -8192, 4096, INT32_MAX}) {
      allpass_section section(length, gain), section_1(1, gain);
      comb_filter comb(length, gain, gain), comb_1(1, gain, gain);
      echo_comb echo(length, 1, gain), echo_1(1, 1, gain);
      for (int x : wild(2000, 3)) {
        ASSERT_EQ(section.step(x), section_1.step(x));
        ASSERT_EQ(comb.step_16(x), comb_1.step_16(x));
        ASSERT_EQ(comb.step_24(x), comb_1.step_24(x));
        ASSERT_EQ(echo.step(x), echo_1.step(x));
      }
      allpass_reset(&section);
      comb_reset(&comb);
      iircomber_reset(&echo);
      EXPECT_EQ(section.buffer[0] | comb.buffer[0] | echo.buffer[0], 0);
    }
  }
}
