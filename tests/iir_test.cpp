#include "dsp/iir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <utility>
#include <vector>

#include "support/signals.h"

namespace {

constexpr int kOneQ20 = 1 << 20;
constexpr int kOneQ28 = 1 << 28;

// A section that frees itself.
struct section : IIR {
  explicit section(std::vector<int> coefficients) { IIR_init(this, coefficients.data()); }
  ~section() { IIR_end(this); }
  section(const section&) = delete;
  section& operator=(const section&) = delete;

  int step_16(int in) {
    const int16_t x = static_cast<int16_t>(in);
    int16_t y;
    IIR_process_16(this, &x, &y);
    return y;
  }
  int step_32(int in) {
    int out;
    IIR_process_32(this, &in, &out);
    return out;
  }
};

// b = 1, 2, 3, -a1 = 1/2, -a2 = -1/4: nothing is rounded for an impulse of 1024.
std::vector<int> five_taps(int one) { return {one, 2 * one, 3 * one, one / 2, -one / 4}; }
constexpr int kFiveTapResponse[] = {1024, 2560, 4096, 1408, -320, -512};

// The transfer function of Q20 coefficients.
double response_db(const int* c, double frequency, double rate) {
  const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  const auto at = [&](double k0, double k1, double k2) { return k0 + (k1 + k2 * z1) * z1; };
  return decibels(std::abs(at(c[0], c[1], c[2]) / at(kOneQ20, -c[3], -c[4])));
}

}  // namespace

TEST(Iir, GivesTheImpulseResponseWorkedOutByHandInBothWidths) {
  section narrow(five_taps(kOneQ20)), wide(five_taps(kOneQ28));
  int in = 1024;
  for (int expected : kFiveTapResponse) {
    EXPECT_EQ(narrow.step_16(in), expected);
    EXPECT_EQ(wide.step_32(in), expected);
    in = 0;
  }
}

// Words of the state: 5 or 13 bits up, newest first.
TEST(Iir, KeepsTheHistoryInTheDocumentedWords) {
  section narrow(five_taps(kOneQ20)), wide(five_taps(kOneQ28));
  for (int in : {1024, 1}) {
    narrow.step_16(in);
    wide.step_32(in);
  }
  const int expected_narrow[] = {0, 8192, 1024 * 8192, 2561 * 8192, 1024 * 8192};
  const int expected_wide[] = {32, 32, 1024 * 32, 2561 * 32, 1024 * 32};
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(narrow.state[k], expected_narrow[k]) << k;
    EXPECT_EQ(wide.state[k], expected_wide[k]) << k;
  }
}

// b0 = 2^-13 makes y = 1 of an input of 1; -a1 = 10000 then leaves 10000 in the accumulator, of
// which 13 bits stay: 10000 - 8192 = 1808. With all 20 bits kept it would be 10000.
TEST(Iir16, FeedsBackOnlyTheLowThirteenBitsOfTheAccumulator) {
  section s({128, 0, 0, 10000, 0});
  s.step_16(1);
  EXPECT_EQ(s.state[0], 0);
  EXPECT_EQ(s.state[3], 1);
  s.step_16(0);
  EXPECT_EQ(s.state[0], 1808);
  EXPECT_EQ(s.state[3], 0);
  // 1808 + 10000 * 0 + 2^20 * 0: it stays, and counts in the next sum.
  s.step_16(0);
  EXPECT_EQ(s.state[0], 1808);
  const int c[] = {0, 0, 0, 0, 0};
  IIR_set_param(&s, c);
  s.state[0] = kOneQ20;
  s.step_16(0);
  EXPECT_EQ(s.state[3], 1) << "the residue is added to the sum";
}

TEST(Iir16, SaturatesTheResultAt32BitsAndTheOutputAt16) {
  section twice({2 * kOneQ20, 0, 0, 0, 0});
  EXPECT_EQ(twice.step_16(32767), 32767);
  EXPECT_EQ(twice.state[3], 65534 * 8192) << "the history isn't clipped to 16 bits";
  EXPECT_EQ(twice.step_16(-32768), -32768);
  EXPECT_EQ(twice.state[3], -65536 * 8192);
  section huge({INT32_MAX, 0, 0, 0, 0});
  EXPECT_EQ(huge.step_16(32767), 32767);
  EXPECT_EQ(huge.state[3], INT32_MAX);
  EXPECT_EQ(huge.step_16(-32768), -32768);
  EXPECT_EQ(huge.state[3], INT32_MIN);
}

TEST(Iir16, TurnsMinusOneIntoZeroAndPassesEveryOtherSample) {
  section unity({kOneQ20, 0, 0, 0, 0});
  for (int x = -32768; x < 32768; ++x) ASSERT_EQ(unity.step_16(x), x == -1 ? 0 : x);
  section tiny({128, 0, 0, 0, 0});  // y = -1 at the internal scale
  EXPECT_EQ(tiny.step_16(-1), 0);
  EXPECT_EQ(tiny.state[3], 0) << "replaced in the history too";
  tiny.step_16(-2);
  EXPECT_EQ(tiny.state[3], -2);
}

TEST(Iir32, SaturatesTheScaledInput) {
  section unity({kOneQ28, 0, 0, 0, 0});
  EXPECT_EQ(unity.step_32(0x03FFFFFF), 0x03FFFFFF);
  EXPECT_EQ(unity.state[0], 0x7FFFFFE0);
  EXPECT_EQ(unity.step_32(0x04000000), 0x03FFFFFF);
  EXPECT_EQ(unity.state[0], INT32_MAX);
  EXPECT_EQ(unity.step_32(INT32_MAX), 0x03FFFFFF);
  EXPECT_EQ(unity.state[0], INT32_MAX);
  EXPECT_EQ(unity.step_32(-0x04000000), -0x04000000);
  EXPECT_EQ(unity.step_32(-0x04000001), -0x04000000);
  EXPECT_EQ(unity.state[0], INT32_MIN);
}

TEST(Iir32, SaturatesTheResult) {
  section s({INT32_MAX, 0, 0, 0, 0});  // just below 8.0
  EXPECT_EQ(s.step_32(2 * kFullScale), 0x03FFFFFF);
  EXPECT_EQ(s.state[3], INT32_MAX);
  EXPECT_EQ(s.step_32(-2 * kFullScale), -0x04000000);
  EXPECT_EQ(s.state[3], INT32_MIN);
}

TEST(Iir32, ReplacesMinusOneAtTheInternalScaleOnly) {
  section s({kOneQ28 / 32, 0, 0, 0, 0});
  EXPECT_EQ(s.step_32(-1), 0) << "y = -1 becomes 0";
  EXPECT_EQ(s.state[3], 0);
  EXPECT_EQ(s.step_32(-2), -1) << "y = -2 stays, and so does the output -1";
  EXPECT_EQ(s.state[3], -2);
}

TEST(Iir, HighPassCoefficientsHaveTheirResponseAt32Kilohertz) {
  const std::pair<double, double> points[] = {{100.0, -12.5}, {200.0, -1.4}, {300.0, 0.7}};
  for (auto [frequency, level] : points) {
    section s(std::vector<int>(kFilterCoefficients, kFilterCoefficients + 5));
    const samples x = sine(32000, frequency, 32000.0, 10000.0);
    samples y;
    for (int v : x) y.push_back(s.step_16(v));
    const double measured = gain_db(x, y, frequency, 32000.0, 16000);
    EXPECT_NEAR(measured, response_db(kFilterCoefficients, frequency, 32000.0), 0.01);
    EXPECT_NEAR(measured, level, 0.06);
  }
}

TEST(Iir, HighPassEndsAConstantInSilence) {
  for (int constant : {32767, -32768, 1000, 1, -1, -2, -1000}) {
    section s(std::vector<int>(kFilterCoefficients, kFilterCoefficients + 5));
    for (int n = 0; n < 32000; ++n) s.step_16(constant);
    for (int n = 0; n < 3200; ++n) ASSERT_EQ(s.step_16(constant), 0) << constant;
  }
}

TEST(Iir, SetParamKeepsTheHistoryAndReinitAndResetClearIt) {
  const int past_only[] = {0, kOneQ28, 0, 0, 0};
  section s({kOneQ28, 0, 0, 0, 0});
  s.step_32(700);
  IIR_set_param(&s, past_only);
  EXPECT_EQ(s.step_32(5), 700);
  IIR_reinit(&s, past_only);
  EXPECT_EQ(s.step_32(6), 0);
  IIR_reset(&s);
  EXPECT_EQ(s.step_32(0), 0);
}

TEST(Iir, OwnsItsCoefficientsAndGivesThemBack) {
  std::vector<int> c = {1, -2, 3, INT32_MAX, INT32_MIN};
  IIR s;
  IIR_init(&s, c.data());
  c[0] = 99;
  int out[5];
  IIR_get_param(&s, out);
  EXPECT_EQ(std::vector<int>(out, out + 5), (std::vector<int>{1, -2, 3, INT32_MAX, INT32_MIN}));
  IIR_end(&s);
  IIR_end(&s);
  EXPECT_EQ(s.coef, nullptr);
  EXPECT_EQ(s.state, nullptr);
}
