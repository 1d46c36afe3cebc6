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
TEST(Iir, FollowsItsDifferenceEquation) {
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

TEST(Iir, HighPassHasItsResponse) {
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

TEST(Iir, SetParamKeepsTheHistory) {
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
