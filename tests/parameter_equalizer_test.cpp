#include "effects/parameter_equalizer.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr int kOne = 268435456;  // Q28

// Ten rows, all zero and off but those given.
struct rows {
  int words[10][6] = {};

  rows& set(int k, int flag, int b0, int b1 = 0, int b2 = 0, int a1 = 0, int a2 = 0) {
    const int row[6] = {flag, b0, b1, b2, a1, a2};
    std::copy_n(row, 6, words[k]);
    return *this;
  }
};

struct ParameterEqualizer : testing::Test {
  ParameterEqualizer() { parameter_equalizer_init(&eq); }

  void set_left(const rows& r) { parameter_equalizer_setparameter_left(&eq, r.words); }
  void set_right(const rows& r) { parameter_equalizer_setparameter_right(&eq, r.words); }

  samples mono(samples x) {
    parameter_equalizer_process_mono(&eq, x.data(), x.data(), static_cast<int>(x.size()));
    return x;
  }

  parameter_equalizer_t eq;
};

}  // namespace

TEST_F(ParameterEqualizer, IsTheGainAloneAfterInit) {
  samples in = wild(2000, 1), expected = in, out(in.size());
  for (int& x : expected) x = x == -1 ? 0 : x;
  EXPECT_EQ(mono(in), expected);
  EXPECT_EQ(eq.status, 0);
  EXPECT_EQ(eq.gain_left, 8192);
  EXPECT_EQ(eq.gain_right, 8192);

  parameter_equalizer_set_gain_left(&eq, 16384);
  EXPECT_EQ(mono({INT32_MAX, INT32_MIN, 8388607, -1, 3}),
            (samples{INT32_MAX, INT32_MIN, 16777214, -2, 6}));
  parameter_equalizer_set_gain_left(&eq, 4096);
  EXPECT_EQ(mono({-1, -2, -3, 3}), (samples{0, 0, -2, 1})) << "rounded down, then -1 to 0";
}

// y = 0.5 x + 0.25 x[n-1] - 0.125 x[n-2] + 0.5 y[n-1] - 0.25 y[n-2], each result rounded down.
TEST_F(ParameterEqualizer, GivesTheImpulseResponseWorkedOutByHand) {
  set_left(rows().set(0, 1, kOne / 2, kOne / 4, -kOne / 8, kOne / 2, -kOne / 4));
  EXPECT_EQ(mono({160, 0, 0, 0, 0, 0, 0, 0}), (samples{80, 80, 0, -20, -10, 0, 2, 1}));
  EXPECT_EQ(mono({-7}), (samples{-4})) << "-3.5 + 0.5 - 0.5 = -3.5";
  const int state[5] = {-7, -7, 0, -4, 1};
  EXPECT_EQ(std::memcmp(eq.state_left[0], state, sizeof state), 0);
}

// A section with a loop gain of 1 at 0 Hz holds -1: nothing in the cascade makes it 0.
TEST_F(ParameterEqualizer, WrapsAndKeepsMinusOneInsideTheCascade) {
  set_left(rows().set(0, 1, 2 * kOne));
  EXPECT_EQ(mono({0x40000000, -0x40000001, 0x3FFFFFFF}),
            (samples{INT32_MIN, INT32_MAX - 1, INT32_MAX - 1}));
  set_left(rows().set(0, 1, kOne / 2, 0, 0, kOne));
  EXPECT_EQ(mono({-2, 0, 0}), (samples{-1, -1, -1}));
}

TEST_F(ParameterEqualizer, CountsTheFlagsAndRunsTheFirstRows) {
  set_left(rows().set(0, 0, kOne / 4).set(9, 1, kOne / 2));
  EXPECT_EQ(eq.band_count_left, 1);
  EXPECT_EQ(mono({4096}), (samples{1024})) << "row 0, though row 9 has the flag";
  EXPECT_EQ(eq.coef_left[9][0], kOne / 2);
  set_left(rows().set(0, 3, kOne / 4).set(1, -1, kOne / 2).set(2, 0, kOne / 8).set(3, 1, kOne));
  EXPECT_EQ(eq.band_count_left, 2) << "1 or more is a flag, -1 is none";
  EXPECT_EQ(mono({4096}), (samples{512}));
  rows all;
  for (int k = 0; k < 10; ++k) all.set(k, 1, kOne / 2);
  set_left(all);
  EXPECT_EQ(mono({4096}), (samples{4}));
}

TEST_F(ParameterEqualizer, RunsTheLeftCoefficientsOnTheRight) {
  set_left(rows().set(0, 1, kOne / 4).set(1, 0, kOne / 2, 0, kOne / 8));
  set_right(rows().set(0, 1, kOne).set(1, 1, kOne));
  parameter_equalizer_set_gain_right(&eq, 16384);
  int left[] = {4096, 0, 0}, right[] = {4096, 0, 0};
  parameter_equalizer_process_stereo(&eq, left, right, left, right, 3);
  EXPECT_EQ(left[0], 1024);
  EXPECT_EQ(left[2], 0) << "one band";
  EXPECT_EQ(right[0], 1024) << "2 * 1/4 * 1/2: two bands, own gain, left coefficients";
  EXPECT_EQ(right[2], 256);
  EXPECT_EQ(eq.coef_right[1][0], kOne) << "kept, not used";
  EXPECT_EQ(eq.state_left[1][0], 0);
  EXPECT_EQ(eq.state_right[1][2], 0);
}

TEST_F(ParameterEqualizer, ClearsTheHistoryOfTheChannelThatIsSet) {
  const rows r = rows().set(0, 1, kOne / 2, kOne / 4);
  set_left(r);
  set_right(r);
  int left[] = {400}, right[] = {800};
  parameter_equalizer_process_stereo(&eq, left, right, left, right, 1);
  set_right(r);
  EXPECT_EQ(eq.state_left[0][1], 400);
  EXPECT_EQ(eq.state_right[0][1], 0);
  set_left(r);
  EXPECT_EQ(eq.state_left[0][1], 0);

  parameter_equalizer_process_stereo(&eq, right, right, left, right, 1);
  parameter_equalizer_setstatus(&eq, 9);
  parameter_equalizer_reset(&eq);
  parameter_equalizer_end(&eq);
  for (const auto* state : {eq.state_left, eq.state_right}) EXPECT_EQ(state[0][1], 0);
  EXPECT_EQ(eq.band_count_right, 1);
  EXPECT_EQ(eq.coef_left[0][1], kOne / 4);
  EXPECT_EQ(eq.status, 9);

  rows untouched = rows().set(3, 7, 8, 9);
  parameter_equalizer_getparameter_left(&eq, untouched.words);
  parameter_equalizer_getparameter_right(&eq, untouched.words);
  EXPECT_EQ(std::memcmp(untouched.words, rows().set(3, 7, 8, 9).words, sizeof untouched), 0);
}

TEST_F(ParameterEqualizer, GivesTheSameBitsAndStateHoweverTheStreamIsCut) {
  constexpr int kFrames = 1500;
  rows r;
  const samples words = wild(60, 4);  // any words at all: what wraps, wraps alike
  for (int k = 0; k < 10; ++k) std::copy_n(&words[static_cast<size_t>(6 * k)], 6, r.words[k]);
  for (int k = 0; k < 10; ++k) r.words[k][0] = k < 7 ? 1 : 0;
  set_left(r);
  r.words[9][0] = 1;
  set_right(r);
  parameter_equalizer_set_gain_left(&eq, 9000);
  parameter_equalizer_set_gain_right(&eq, -5000);
  const parameter_equalizer_t fresh = eq;
  const samples in_left = wild(kFrames, 1), in_right = wild(kFrames, 2);

  const auto run = [&](int longest, bool crossed, samples& a, samples& b) {
    eq = fresh;
    a = in_left;
    b = in_right;
    over_random_splits(kFrames, longest, 9, [&](int start, int n) {
      int *l = a.data() + start, *r2 = b.data() + start;
      parameter_equalizer_process_stereo(&eq, l, r2, crossed ? r2 : l, crossed ? l : r2, n);
    });
    if (crossed) std::swap(a, b);
  };
  samples left, right, a, b;
  run(1, false, left, right);
  const parameter_equalizer_t after = eq;
  for (const int longest : {100, 2000})
    for (const bool crossed : {false, true}) {
      run(longest, crossed, a, b);
      EXPECT_EQ(a, left);
      EXPECT_EQ(b, right);
      EXPECT_EQ(std::memcmp(&eq, &after, sizeof eq), 0) << "every word of the record";
    }
  eq = fresh;
  EXPECT_EQ(mono(in_left), left);
  EXPECT_EQ(std::memcmp(eq.state_left, after.state_left, sizeof eq.state_left), 0);
  parameter_equalizer_process_stereo(&eq, nullptr, nullptr, nullptr, nullptr, 0);
  parameter_equalizer_process_mono(&eq, nullptr, nullptr, -1);
}
