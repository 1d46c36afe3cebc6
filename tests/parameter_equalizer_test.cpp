#include "effects/parameter_equalizer.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/signals.h"
#include "support/stereo_runs.h"

namespace {

constexpr int kOne = 268435456;  // Q28

// Flag, b0, b1, b2, -a1, -a2; rows that are left out are zero and off.
struct rows {
  int words[10][6];
};

struct ParameterEqualizer : testing::Test {
  ParameterEqualizer() { parameter_equalizer_init(&eq); }

  void set_left(const rows& r) { parameter_equalizer_setparameter_left(&eq, r.words); }
  void set_right(const rows& r) { parameter_equalizer_setparameter_right(&eq, r.words); }

  samples mono(samples x) {
    parameter_equalizer_process_mono(&eq, x.data(), x.data(), static_cast<int>(x.size()));
    return x;
  }
  stereo_samples stereo(stereo_samples x, int longest = 300, bool crossed = false) {
    return run_cut(x, longest, crossed, [this](int* a, int* b, int* c, int* d, int n) {
      parameter_equalizer_process_stereo(&eq, a, b, c, d, n);
    });
  }

  parameter_equalizer_t eq;
};

}  // namespace

TEST_F(ParameterEqualizer, IsTheGainAloneAfterInit) {
  samples in = wild(2000, 1), expected = in;
  std::replace(expected.begin(), expected.end(), -1, 0);
  EXPECT_EQ(mono(in), expected);
  EXPECT_EQ((samples{eq.status, eq.gain_left, eq.gain_right}), (samples{0, 8192, 8192}));
  eq.gain_left = 16384;
  EXPECT_EQ(mono({INT32_MAX, INT32_MIN, -1, 3}), (samples{INT32_MAX, INT32_MIN, -2, 6}));
  eq.gain_left = 4096;
  EXPECT_EQ(mono({-1, -2, -3, 3}), (samples{0, 0, -2, 1})) << "rounded down, then -1 to 0";
}

// y = 0.5 x + 0.25 x[n-1] - 0.125 x[n-2] + 0.5 y[n-1] - 0.25 y[n-2], each result rounded down.
TEST_F(ParameterEqualizer, GivesTheImpulseResponseWorkedOutByHandAndWrapsInsideTheCascade) {
  set_left({{{1, kOne / 2, kOne / 4, -kOne / 8, kOne / 2, -kOne / 4}}});
  EXPECT_EQ(mono({160, 0, 0, 0, 0, 0, 0, 0}), (samples{80, 80, 0, -20, -10, 0, 2, 1}));
  EXPECT_EQ(mono({-7}), (samples{-4})) << "-3.5 + 0.5 - 0.5 = -3.5";
  EXPECT_EQ(samples(eq.state_left[0], eq.state_left[0] + 5), (samples{-7, -7, 0, -4, 1}));
  set_left({{{1, 2 * kOne}}});
  EXPECT_EQ(mono({0x40000000, -0x40000001, 0x3FFFFFFF}),
            (samples{INT32_MIN, INT32_MAX - 1, INT32_MAX - 1}));
  set_left({{{1, kOne / 2, 0, 0, kOne}}});
  EXPECT_EQ(mono({-2, 0, 0}), (samples{-1, -1, -1})) << "held by a loop gain of 1 at 0 Hz";
}

TEST_F(ParameterEqualizer, CountsTheFlagsAndRunsTheFirstRows) {
  rows r = {{{0, kOne / 4}, {}, {}, {}, {}, {}, {}, {}, {}, {1}}};
  set_left(r);
  EXPECT_EQ(mono({4096}), (samples{1024})) << "row 0, though row 9 has the flag";
  set_left({{{3, kOne / 4}, {-1, kOne / 2}, {0, kOne / 8}, {1, kOne}}});
  EXPECT_EQ(mono({4096}), (samples{512})) << "1 or more is a flag, -1 is none";
  for (auto& words : r.words) words[0] = 1, words[1] = kOne / 2;
  set_left(r);
  EXPECT_EQ(mono({4096}), (samples{4}));
}

TEST_F(ParameterEqualizer, RunsTheLeftCoefficientsOnTheRight) {
  set_left({{{1, kOne / 4}, {0, kOne / 2, 0, kOne / 8}}});
  set_right({{{1, kOne}, {1, kOne}}});
  parameter_equalizer_set_gain_right(&eq, 16384);
  // One band on the left; two and a gain of 2 on the right.
  const stereo_samples expected = {{1024, 0, 0}, {1024, 0, 256}};
  EXPECT_EQ(stereo({{4096, 0, 0}, {4096, 0, 0}}), expected);
  EXPECT_EQ(eq.coef_right[1][0], kOne) << "kept, not used";
}

TEST_F(ParameterEqualizer, ClearsTheHistoryOfTheChannelThatIsSetAndNothingElse) {
  rows r = {{{1, kOne / 2, kOne / 4}, {}, {}, {0, 7}}};
  const auto histories_after = [&](auto action) {
    stereo({{400}, {800}});
    action();
    return samples{eq.state_left[0][1], eq.state_right[0][1]};
  };
  set_right(r);
  EXPECT_EQ(histories_after([&] { set_left(r); }), (samples{0, 800}));
  EXPECT_EQ(histories_after([&] { set_right(r); }), (samples{400, 0}));
  EXPECT_EQ(histories_after([&] { parameter_equalizer_end(&eq); }), (samples{400, 800}));
  EXPECT_EQ(histories_after([&] { parameter_equalizer_reset(&eq); }), (samples{0, 0}));
  parameter_equalizer_getparameter_left(&eq, r.words);
  parameter_equalizer_getparameter_right(&eq, r.words);
  EXPECT_EQ(r.words[3][1], 7) << "rows are not given back";
}

TEST_F(ParameterEqualizer, GivesTheSameBitsAndStateHoweverTheStreamIsCut) {
  rows r;  // any words at all
  for (int k = 0; k < 60; ++k) r.words[k / 6][k % 6] = k % 6 == 0 ? k < 42 : wild(60, 4)[size_t(k)];
  set_left(r);
  r.words[9][0] = 1;
  set_right(r);
  parameter_equalizer_set_gain_left(&eq, 9000);
  parameter_equalizer_set_gain_right(&eq, -5000);
  const parameter_equalizer_t fresh = eq;
  const stereo_samples in = {wild(1500, 1), wild(1500, 2)}, expected = stereo(in, 1);
  const parameter_equalizer_t after = eq;
  for (const int longest : {100, 2000})
    for (const bool crossed : {false, true}) {
      eq = fresh;
      EXPECT_TRUE(stereo(in, longest, crossed) == expected) << longest << crossed;
      EXPECT_EQ(std::memcmp(&eq, &after, sizeof eq), 0) << "every word of the record";
    }
  eq = fresh;
  EXPECT_EQ(mono(in.first), expected.first);
  parameter_equalizer_process_stereo(&eq, nullptr, nullptr, nullptr, nullptr, 0);
  parameter_equalizer_process_mono(&eq, nullptr, nullptr, -1);
}
