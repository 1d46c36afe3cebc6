#include "dsp/iir.h"

#include <gtest/gtest.h>

#include <array>

#include "support/owned.h"
#include "support/signals.h"

namespace {

constexpr int kOneQ20 = 1 << 20;
constexpr int kOneQ28 = 1 << 28;

struct section : owned<IIR, IIR_end> {
  explicit section(const std::array<int, 5>& coefficients) : owned(IIR_init, coefficients.data()) {}
  explicit section(const int* coefficients) : owned(IIR_init, coefficients) {}

  int step_16(int in) {
    const int16_t x = static_cast<int16_t>(in);
    int16_t y;
    IIR_process_16(this, &x, &y);
    return y;
  }
  int step_32(int in) {
    IIR_process_32(this, &in, &in);
    return in;
  }
  samples history() const { return samples(state, state + 5); }
};

}  // namespace

// b = 1, 2, 3, -a1 = 1/2, -a2 = -1/4: nothing is rounded for an impulse of 1024. The history's
// words stand 5 or 13 bits up, newest first.
TEST(Iir, GivesTheImpulseResponseWorkedOutByHandInBothWidths) {
  const int a = kOneQ20, b = kOneQ28, one_16 = 8192, one_32 = 32;
  section narrow(std::array{a, 2 * a, 3 * a, a / 2, -a / 4}),
      wide(std::array{b, 2 * b, 3 * b, b / 2, -b / 4});
  int in = 1024;
  for (int expected : {1024, 2560, 4096, 1408, -320, -512}) {
    EXPECT_EQ(narrow.step_16(in), expected);
    EXPECT_EQ(wide.step_32(in), expected);
    in = 0;
  }
  for (section* s : {&narrow, &wide}) IIR_reset(s);
  for (int x : {1024, 1}) {
    narrow.step_16(x);
    wide.step_32(x);
  }
  EXPECT_EQ(narrow.history(), (samples{0, one_16, 1024 * one_16, 2561 * one_16, 1024 * one_16}));
  EXPECT_EQ(wide.history(), (samples{one_32, one_32, 1024 * one_32, 2561 * one_32, 1024 * one_32}));
}

// b0 = 2^-13 makes y = 1 of an input of 1; -a1 = 10000 then leaves 10000 in the accumulator, of
// which 13 bits stay: 10000 - 8192 = 1808. With all 20 bits kept it would be 10000. 1808 then
// stays, and counts in the next sum.
TEST(Iir16, FeedsBackOnlyTheLowThirteenBitsOfTheAccumulator) {
  section s(std::array{128, 0, 0, 10000, 0});
  for (const auto [x, residue, y] : {std::array{1, 0, 1}, {0, 1808, 0}, {0, 1808, 0}}) {
    s.step_16(x);
    EXPECT_EQ(s.state[0], residue);
    EXPECT_EQ(s.state[3], y);
  }
  s.state[0] = kOneQ20;
  s.step_16(0);
  EXPECT_EQ(s.state[3], 1) << "the residue is added to the sum";
}

// One sample from silence, and what the history then holds of the result. The 16-bit history isn't
// clipped to 16 bits. A result of -1 becomes 0 at the internal scale, in the 16-bit variant at the
// output too.
TEST(Iir, SaturatesAndReplacesMinusOne) {
  const int steps_16[][4] = {{2 * kOneQ20, 32767, 32767, 65534 * 8192},
                             {2 * kOneQ20, -32768, -32768, -65536 * 8192},
                             {INT32_MAX, 32767, 32767, INT32_MAX},
                             {INT32_MAX, -32768, -32768, INT32_MIN},
                             {128, -1, 0, 0},
                             {128, -2, 0, -2}};
  const int steps_32[][4] = {{kOneQ28, 0x03FFFFFF, 0x03FFFFFF, 0x7FFFFFE0},
                             {kOneQ28, 0x04000000, 0x03FFFFFF, INT32_MAX},
                             {kOneQ28, INT32_MAX, 0x03FFFFFF, INT32_MAX},
                             {kOneQ28, -0x04000000, -0x04000000, INT32_MIN},
                             {kOneQ28, -0x04000001, -0x04000000, INT32_MIN},
                             {INT32_MAX, 2 * kFullScale, 0x03FFFFFF, INT32_MAX},
                             {INT32_MAX, -2 * kFullScale, -0x04000000, INT32_MIN},
                             {kOneQ28 / 32, -1, 0, 0},
                             {kOneQ28 / 32, -2, -1, -2}};
  for (const auto [b0, x, y, held] : steps_16) {
    section s(std::array{b0, 0, 0, 0, 0});
    EXPECT_EQ(s.step_16(x), y);
    EXPECT_EQ(s.state[3], held);
  }
  for (const auto [b0, x, y, held] : steps_32) {
    section s(std::array{b0, 0, 0, 0, 0});
    EXPECT_EQ(s.step_32(x), y);
    EXPECT_EQ(s.state[3], held);
  }
  section unity(std::array{kOneQ20, 0, 0, 0, 0});
  for (int x = -32768; x < 32768; ++x) ASSERT_EQ(unity.step_16(x), x == -1 ? 0 : x);
}

TEST(Iir, HighPassCoefficientsHaveTheirResponseAt32KilohertzAndEndAConstantInSilence) {
  const int* c = kFilterCoefficients;
  for (const auto [frequency, level] : {std::array{100.0, -12.5}, {200.0, -1.4}, {300.0, 0.7}}) {
    section s(c);
    const samples x = sine(32000, frequency, 32000.0, 10000.0);
    samples y;
    for (int v : x) y.push_back(s.step_16(v));
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / 32000.0);
    const auto zeros = double(c[0]) + (double(c[1]) + double(c[2]) * z1) * z1,
               poles = double(kOneQ20) - (double(c[3]) + double(c[4]) * z1) * z1;
    const double measured = gain_db(x, y, frequency, 32000.0, 16000);
    EXPECT_NEAR(measured, decibels(std::abs(zeros / poles)), 0.01);
    EXPECT_NEAR(measured, level, 0.06);
  }
  for (int constant : {32767, -32768, 1000, 1, -1, -2, -1000}) {
    section s(c);
    for (int n = 0; n < 32000; ++n) s.step_16(constant);
    for (int n = 0; n < 3200; ++n) ASSERT_EQ(s.step_16(constant), 0) << constant;
  }
}

TEST(Iir, SetParamCopiesAndKeepsTheHistoryReinitAndResetClearIt) {
  samples c = {kOneQ28, 2, 3, INT32_MAX, INT32_MIN}, out(5);
  section s(c.data());
  c[0] = 99;
  IIR_get_param(&s, out.data());
  EXPECT_EQ(out, (samples{kOneQ28, 2, 3, INT32_MAX, INT32_MIN}));
  const int past_only[] = {0, kOneQ28, 0, 0, 0};
  s.step_32(700);
  IIR_set_param(&s, past_only);
  EXPECT_EQ(s.step_32(5), 700);
  IIR_reinit(&s, past_only);
  EXPECT_EQ(s.step_32(6), 0);
  IIR_reset(&s);
  EXPECT_EQ(s.history(), samples(5));
  IIR_end(&s);
  EXPECT_TRUE(s.coef == nullptr && s.state == nullptr);
}
