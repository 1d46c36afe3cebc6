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
