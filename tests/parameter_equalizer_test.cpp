#include "effects/parameter_equalizer.h"

#include <gtest/gtest.h>

#include "support/stereo.h"

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
  stereo run(stereo x) {
    int *left = x.left.data(), *right = x.right.data();
    parameter_equalizer_process_stereo(&eq, left, right, left, right, int(x.left.size()));
    return x;
  }

  parameter_equalizer_t eq;
};

}  // namespace

// y = 0.5 x + 0.25 x[n-1] - 0.125 x[n-2] + 0.5 y[n-1] - 0.25 y[n-2], each result rounded down.
TEST_F(ParameterEqualizer, FollowsItsDifferenceEquation) {
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

TEST_F(ParameterEqualizer, CountsFlags) {
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
  EXPECT_EQ(run({{4096, 0, 0}, {4096, 0, 0}}), (stereo{{1024, 0, 0}, {1024, 0, 256}}));
  EXPECT_EQ(eq.coef_right[1][0], kOne) << "kept, not used";
}

TEST_F(ParameterEqualizer, ClearsTheChannelThatIsSet) {
  rows r = {{{1, kOne / 2, kOne / 4}, {}, {}, {0, 7}}};
  const auto histories_after = [&](auto action) {
    run({{400}, {800}});
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
