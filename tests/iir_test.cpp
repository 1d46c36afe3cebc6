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
