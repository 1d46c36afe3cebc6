// All-pass, comb, delay and echo comb.
#include <gtest/gtest.h>

#include <array>

#include "support/delay_lines.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ13 = 8192;

constexpr int kOneSampleLoops[] = {1, 0, INT32_MIN};  // lengths

}  // namespace

// With the energy that an all-pass gives back.
TEST(Allpass, GivesTheImpulseResponseWorkedOutByHand) {
  EXPECT_EQ(through(allpass_section(3, 4096), impulse(7, 8192)),
            (samples{4096, 0, 0, 6144, 0, 0, -3072}));
  for (int gain : {4096, -6000}) {
    double energy = 0.0;
    for (int v : through(allpass_section(7, gain), impulse(840, 1 << 23))) energy += double(v) * v;
    EXPECT_NEAR(energy / (double(1 << 23) * (1 << 23)), 1.0, 1e-5);
  }
}

// One sample through a line of length 1. The last two: each product alone is -0.5, which rounds
// down to -1, which becomes 0; a sum stays.
TEST(Allpass, SaturatesTheSumsAndTheProductsAndReplacesMinusOne) {
  const int steps[][5] = {
      // gain, cell, x, y, cell after it
      {4096, 0, INT32_MAX, 1073741823, 1610612736},            // x - x / 4
      {4096, 1610612736, INT32_MAX, INT32_MAX, 1073741824},    // 0.75 + 0.5, x - y / 2
      {-4096, 0, INT32_MIN, 1073741824, -1610612736},          // 0.5, -0.75
      {-4096, -1610612736, INT32_MIN, -536870912, INT32_MIN},  // -0.75 + 0.5, -1 - 1/8
      {4 * kOneQ13, 0, INT32_MIN, INT32_MIN, 0},               // x minus the saturated product
      {4096, 0, -1, 0, -1},
      {4096, -1, 0, -1, 0}};
  for (int length : kOneSampleLoops)
    for (const auto [gain, cell, x, y, cell_after] : steps) {
      allpass_section section(length, gain);
      section.buffer[0] = cell;
      EXPECT_EQ(step(section, x), y);
      EXPECT_EQ(section.buffer[0], cell_after);
      allpass_reset(&section);
      EXPECT_EQ(section.buffer[0], 0);
    }
}

// Half damping, half feedback: the first echo's tail 1/4, 1/8, 1/16, 1/32; the second round filters
// that tail again: (2048 + 512) / 4 = 640, (1024 + 1280) / 4 = 576. Fresh from init there is one
// echo.
TEST(Comb, GivesTheImpulseResponsesWorkedOutByHand) {
  EXPECT_EQ(through(comb_filter(4, 4096, 4096), impulse(14, 8192)),
            (samples{0, 0, 0, 0, 8192, 0, 0, 0, 2048, 1024, 512, 256, 640, 576}));
  owned<comber, comb_end> fresh(comb_init, 2);
  EXPECT_EQ(fresh.feedback, 4096);
  EXPECT_EQ(through(fresh, impulse(8, 77)), (samples{0, 0, 77, 0, 0, 0, 0, 0}));
}

TEST(Comb, SaturatesTheProductsWrapsTheSumAndReplacesMinusOne) {
  const int steps[][8] = {
      // gain, damping, cell, x, 16-bit y, its cell after it, 24-bit y, the low-pass
      {0, 0, -8192, 0, 0, 0, -256, -8192},
      {0, 0, -8193, 0, -2, 0, -257, -8193},
      {0, 0, -32, 0, 0, 0, 0, -32},
      {0, 0, -33, 0, 0, 0, -2, -33},
      {kOneQ13, 0, 1 << 30, 1 << 17, 1 << 17, INT32_MIN, 1 << 25, 1 << 30},  // 2^30 + 2^30
      {0, 0, 0, 3 << 18, 0, INT32_MIN, 0, 0},                                // 3 * 2^31
      {2 * kOneQ13, 0, 1 << 30, 0, 1 << 17, INT32_MAX, 1 << 25, 1 << 30},    // 2.0 * 2^30
      {0, -kOneQ13, INT32_MIN, 0, -(1 << 18), 0, -(1 << 26), INT32_MIN},     // 2.0 * -2^31
      {kOneQ13, 4096, -1, 0, 0, 0, 0, 0},
      {4096, 0, -2, 0, 0, 0, 0, -2}};
  for (int length : kOneSampleLoops)
    for (const auto [gain, damping, cell, x, narrow, cell_after, wide, low_pass] : steps) {
      comb_filter comb_16(length, gain, damping), comb_24(length, gain, damping);
      comb_16.buffer[0] = comb_24.buffer[0] = cell;
      EXPECT_EQ(comb_process_16(x, &comb_16), narrow) << cell;
      EXPECT_EQ(comb_16.buffer[0], cell_after) << cell;
      EXPECT_EQ(step(comb_24, x), wide) << cell;
      EXPECT_EQ(comb_24.filter_store, low_pass) << cell;
      comb_reset(&comb_24);
      EXPECT_EQ(comb_24.buffer[0], 0);
    }
  EXPECT_EQ(comb_filter(1, 0, INT32_MIN).damp2, INT32_MIN + 8192) << "8192 - INT32_MIN wraps";
}

// A negative length is one sample, a long one is clamped; at 0 the line is left alone.
TEST(AudioDelay, DelaysByExactlyItsLength) {
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

// Position 3 of a line shortened to 2 is read and written once more, then the loop is 0, 1.
TEST(AudioDelay, ReinitClearsOnlyTheNewLengthAndKeepsTheStalePosition) {
  delay_line line(audio_delay_init, 5);
  const auto held = [&] { return samples(line.buffer, line.buffer + 5); };
  through(line, {1, 2, 3, 4, 5, 6, 7, 8});
  audio_delay_reinit(&line, 2);  // holds 6 7 8 4 5, position 3
  EXPECT_EQ(held(), (samples{0, 0, 8, 4, 5}));
  EXPECT_EQ(through(line, {20, 21, 22, 23}), (samples{4, 0, 0, 21}));
  audio_delay_reinit(&line, -3);
  EXPECT_EQ(held(), (samples{23, 22, 8, 20, 5}));
  audio_delay_reset(&line);
  EXPECT_EQ(line.delay, -3);
  EXPECT_EQ(held(), samples(5));
  audio_delay_end(&line);
  audio_delay_reset(&line);
  EXPECT_EQ(step(line, 42), 42) << "an ended line passes through";
}

// g = 1.0, D = 3. The first repeat is F's own response to 8192: 4096, then
// 4096 - 0.69995 * 4096 = 1229, then -5734 * 1229 / 8192 = -860.2, rounded down. The second repeat
// sets in at n = 6: 4096 / 2 + 5734 * 861 / 8192 = 2650.7. A one-sample loop, as fresh from init:
// 8192, then 8192 / 4 = 2048, then (4096 * (2048 + 8192) - 5734 * 4096) / 2^14 = 1126. The loop
// filter's gain at 0 Hz is 1 / 1.69995, so a constant settles at x / (1 - g / 1.69995).
TEST(EchoComb, GivesTheResponsesWorkedOutByHand) {
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

TEST(EchoComb, WrapsTheProductsAndTheSumAndReplacesMinusOne) {
  const int steps[][6] = {
      // gain, b0, cell, x, y, the loop filter's output
      {1 << 24, 4096, 1 << 21, 0, INT32_MIN, 1 << 20},                 // 2^20 * 2^24 >> 13 = 2^31
      {kOneQ13, 4096, INT32_MAX, INT32_MAX, -1073741826, 1073741823},  // 2^30 - 1 + 2^31 - 1
      {kOneQ13, 2 * kOneQ13, 1 << 30, 0, INT32_MIN, INT32_MIN},        // 2.0 * 2^30
      {kOneQ13, 4096, -1, 0, 0, 0},
      {4096, 4096, -4, 0, 0, -2}};
  for (const auto [gain, b0, cell, x, y, filtered] : steps) {
    echo_comb comb(0, 1, gain);
    comb.b0 = b0;
    comb.buffer[0] = cell;
    EXPECT_EQ(step(comb, x), y);
    EXPECT_EQ(comb.y1, filtered);
  }
}

// A negative tail ends in silence; a reset clears loop and filter and keeps the settings.
TEST(DelayLines, FallSilentByThemselvesAndAtAReset) {
  const auto check = [](auto& line, auto reset) {
    samples x(1000);
    x[0] = -kFullScale;
    EXPECT_EQ(through(line, x).back(), 0);
    EXPECT_EQ(through(line, samples(10)), samples(10));
    through(line, samples(20, 1000));
    reset(&line);
    EXPECT_EQ(line.index, 0);
    EXPECT_EQ(through(line, samples(10)), samples(10));
  };
  allpass_section section(3, 6000);
  comb_filter comb(3, 5000, 2000);
  echo_comb echo(6, 9, 4096);
  check(section, allpass_reset);
  check(comb, comb_reset);
  check(echo, iircomber_reset);
  int gain = 0, echo_gain = 0, delay = 0;
  allpass_getfeedback(&section, &gain);
  iircomber_getfeedback(&echo, &echo_gain);
  iircomber_getdelay(&echo, &delay);
  EXPECT_EQ((samples{gain, comb.feedback, comb.damp1, comb.damp2, echo_gain, delay}),
            (samples{6000, 5000, 2000, 6192, 4096, 6}));
}
