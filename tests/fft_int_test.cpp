#include "dsp/fft_int.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "support/signals.h"

namespace {

constexpr int kPoints = 256;
constexpr int64_t kOne = int64_t{1} << 28;

struct IntegerFft : testing::Test {
  fft_int fft;
  IntegerFft() {
    fft_int_init(&fft, kPoints);
    std::fill_n(fft_power_current, 64, uint64_t{0});
  }
  ~IntegerFft() override { fft_int_end(&fft); }

  void load(const samples& x) {
    for (int i = 0; i < kPoints; ++i) complex_setvalue(&fft.data[i], x[static_cast<size_t>(i)], 0);
  }
  std::array<int, 5> analyse(samples frame) {
    std::array<int, 5> out;
    fft_int_dowin_process(&fft, frame.data(), out.data(), static_cast<int>(frame.size()));
    return out;
  }
};

// A tone at a fractional bin, with a phase so that no sample is special.
samples tone(double bin, double amplitude) {
  samples x(kPoints);
  for (int i = 0; i < kPoints; ++i)
    x[static_cast<size_t>(i)] = static_cast<int>(
        std::lround(amplitude * std::cos(2.0 * std::numbers::pi * bin * i / kPoints + 0.7)));
  return x;
}

double distance(const complex& a, std::complex<double> b) {
  return std::abs(std::complex<double>(double(a.re), double(a.im)) - b);
}

uint64_t power_of(int64_t re, int64_t im) {
  complex value = {re, im};
  return complex_getpower(&value);
}

}  // namespace

TEST(Complex, PowerShiftsEachPartDownBeforeSquaring) {
  EXPECT_EQ(power_of(8192, 0), 0u);
  EXPECT_EQ(power_of(262144, 0), 1u);
  EXPECT_EQ(power_of(1 << 23, 1 << 23), 2048u);
  EXPECT_EQ(power_of(-(1 << 23), 1 << 23), 2048u);
  EXPECT_EQ(power_of(31 * 8192, 8 * 8192), 1u);  // 961 + 64
  EXPECT_EQ(power_of(-31 * 8192 - 1, 0), 1u);    // rounds down to -32, which squares to 1024
  EXPECT_EQ(power_of(31 * 8192 + 8191, 0), 0u);  // and 31 on the other side
  EXPECT_EQ(power_of(int64_t{1} << 45, 0), 0u);  // 2^64 wraps
}

TEST(Complex, ProductsAreQ28AndRoundDownAlsoWhenTheResultReplacesAFactor) {
  complex a = {kOne / 2, kOne}, b = {3, -5}, out;
  complex_mul(&a, &b, &out);  // (1.5 + 5) + (-2.5 + 3) i
  EXPECT_EQ(out.re, 6);
  EXPECT_EQ(out.im, 0);
  complex minus = {-kOne / 2, 0}, one = {1, 1};
  complex_mul(&minus, &one, &one);
  EXPECT_EQ(one.re, -1);
  EXPECT_EQ(one.im, -1);
  complex_mul(&a, &b, &b);
  EXPECT_EQ(b.re, 6);
  EXPECT_EQ(b.im, 0);
}

TEST(Complex, SumsWrapAt64Bits) {
  complex a = {INT64_MAX, INT64_MIN}, b = {1, -1}, out;
  complex_add(&a, &b, &out);
  EXPECT_EQ(out.re, INT64_MIN);
  EXPECT_EQ(out.im, INT64_MAX);
  complex_sub(&out, &b, &a);
  EXPECT_EQ(a.re, INT64_MAX);
  EXPECT_EQ(a.im, INT64_MIN);
  complex_swap(&a, &b);
  EXPECT_EQ(a.re, 1);
  EXPECT_EQ(b.im, INT64_MIN);
  complex_init(&a, -7, INT32_MIN);
  EXPECT_EQ(a.re, -7);
  EXPECT_EQ(a.im, int64_t{INT32_MIN});
  complex_end(&a);
  EXPECT_EQ(a.re | a.im, 0);
}

TEST_F(IntegerFft, SpreadsAnImpulseEvenly) {
  load(impulse(kPoints, 1 << 20));
  fft_do_process(&fft);
  for (int k = 0; k < kPoints; ++k) {
    EXPECT_EQ(fft.data[k].re, 1 << 20) << k;
    EXPECT_EQ(fft.data[k].im, 0) << k;
  }
}

TEST_F(IntegerFft, GathersAConstantInBinZeroWithoutScaling) {
  load(samples(kPoints, 100000));
  fft_do_process(&fft);
  EXPECT_EQ(fft.data[0].re, 25600000);
  EXPECT_EQ(fft.data[0].im, 0);
  for (int k = 1; k < kPoints; ++k) EXPECT_LT(distance(fft.data[k], 0.0), 20.0) << k;
}

TEST_F(IntegerFft, PutsACentredToneIntoItsTwoBins) {
  load(tone(19.0, kFullScale));
  fft_do_process(&fft);
  const auto expected = std::polar(kFullScale * kPoints / 2.0, 0.7);
  EXPECT_LT(distance(fft.data[19], expected), 500.0);
  EXPECT_LT(distance(fft.data[kPoints - 19], std::conj(expected)), 500.0);
  for (int k : {0, 18, 20, 57, 128, 236, 238}) EXPECT_LT(distance(fft.data[k], 0.0), 500.0) << k;
}

TEST_F(IntegerFft, AgreesWithTheTransformInDoublePrecisionOnComplexNoise) {
  const samples re = noise(kPoints, kFullScale, 1), im = noise(kPoints, kFullScale, 2);
  for (size_t i = 0; i < kPoints; ++i) complex_setvalue(&fft.data[i], re[i], im[i]);
  fft_do_process(&fft);
  for (int k = 0; k < kPoints; ++k) {
    const std::complex<double> j(0.0, 1.0);
    const auto expected = spectrum_at(re, k, kPoints) + j * spectrum_at(im, k, kPoints);
    EXPECT_LT(distance(fft.data[k], expected), 500.0) << k;  // of some 10^8
  }
}

// A lone value at index 64 or 32 meets twiddle factors in one stage only, that of half 2 or 4: bin
// j then holds that stage's factor j, as the recurrence makes it.
TEST_F(IntegerFft, AdvancesTheTwiddleFactorsByRecurrence) {
  const auto expect_bin = [&](int bin, int64_t re, int64_t im) {
    EXPECT_EQ(fft.data[bin].re, re) << bin;
    EXPECT_EQ(fft.data[bin].im, im) << bin;
  };
  load(samples(kPoints, 0));
  complex_setvalue(&fft.data[64], 1 << 28, 0);
  fft_do_process(&fft);
  expect_bin(0, kOne, 0);
  expect_bin(1, 0, -268435455);
  expect_bin(2, -kOne, 0);
  expect_bin(3, 0, 268435455);
  load(samples(kPoints, 0));
  complex_setvalue(&fft.data[32], 1 << 28, 0);
  fft_do_process(&fft);
  expect_bin(1, 189812530, -189812530);
  expect_bin(2, 0, -268435453);  // -2 c^2 / 2^28 rounded down
  expect_bin(3, -189812528, -189812528);
}

TEST_F(IntegerFft, AnalysesAFullScaleToneToTheWindowsGain) {
  analyse(tone(30.0, kFullScale));
  // (2^23 32 128 a0)^2 / 2^36, the window's mean being a0
  EXPECT_NEAR(double(fft.power[30]), std::pow(std::ldexp(0.3635819, 35 - 18), 2.0), 3e4);
  EXPECT_NEAR(10.0 * std::log10(double(fft.power[31]) / double(fft.power[30])), -3.44, 0.02);
  EXPECT_LT(fft.power[34], 20u);
  EXPECT_LT(fft.power[8], 20u);
}

TEST_F(IntegerFft, TakesWhatIsMissingOfAShortFrameAsSilence) {
  const samples whole = tone(20.3, 4e6);
  samples padded = whole;
  std::fill(padded.begin() + 100, padded.end(), 0);
  analyse(padded);
  const std::vector<uint64_t> expected(fft.power, fft.power + 64);
  analyse(samples(whole.begin(), whole.begin() + 100));
  EXPECT_EQ(std::vector<uint64_t>(fft.power, fft.power + 64), expected);
  analyse({});
  EXPECT_EQ(fft.power[20], 0u);
}

TEST_F(IntegerFft, KeepsEightFramesNewestFirst) {
  std::vector<uint64_t> powers;
  for (int frame = 0; frame < 11; ++frame) {
    analyse(tone(40.0, 100000.0 * (frame + 1)));
    powers.insert(powers.begin(), fft.power[40]);
  }
  for (size_t age = 0; age < 8; ++age) EXPECT_EQ(fft_power_history[40][age], powers[age]) << age;
  EXPECT_GT(powers[0], powers[1]);
}

// A silent frame pushes a zero in front of a history written by hand, so that the sum is known.
TEST_F(IntegerFft, WeighsOlderFramesByTheirAgeAndMarkedBinsMore) {
  const uint64_t older[7] = {11000, 1200, 1300, 1400, 1500, 1600, 1700};
  const auto smoothed = [&](int bin, std::array<int, 5> marked) {
    fft_int_init(&fft, kPoints);
    std::copy(marked.begin(), marked.end(), fft.marked_bins);
    std::copy_n(older, 7, fft_power_history[bin]);
    analyse(samples(kPoints, 0));
    const uint64_t result = fft_power_current[bin];
    fft_int_end(&fft);
    return result;
  };
  constexpr std::array<int, 5> kNone = {64, 64, 64, 64, 64};
  // 11000/10 + 1200/11 + 1300/12 + 1400/13 + 1500/14 + 1600/15 + 1700/16
  constexpr uint64_t kLow = 1100 + 109 + 108 + 107 + 107 + 106 + 106;
  // 11000/9 + 1200/10 + 1300/11 + 1400/12 + 1500/13 + 1600/14 + 1700/15
  constexpr uint64_t kHigh = 1222 + 120 + 118 + 116 + 115 + 114 + 113;
  fft_int_end(&fft);
  for (int bin : {2, 3, 4}) EXPECT_EQ(smoothed(bin, {bin, bin, bin, bin, bin}), 0u) << bin;
  for (int bin : {5, 8}) {
    EXPECT_EQ(smoothed(bin, kNone), kLow);
    EXPECT_EQ(smoothed(bin, {bin, 64, 64, 64, 64}), kLow + kLow / 16);
    EXPECT_EQ(smoothed(bin, {64, bin, 64, 64, 64}), kLow + kLow / 16);
    EXPECT_EQ(smoothed(bin, {64, 64, bin, bin, bin}), kLow);
  }
  for (int bin : {9, 17}) {
    EXPECT_EQ(smoothed(bin, kNone), kHigh);
    EXPECT_EQ(smoothed(bin, {64, bin, 64, 64, 64}), kHigh + kHigh / 8);
    EXPECT_EQ(smoothed(bin, {64, 64, bin, bin, bin}), kHigh);
  }
  for (int bin : {18, 62}) {
    EXPECT_EQ(smoothed(bin, kNone), kHigh);
    for (size_t slot : {2u, 3u, 4u}) {
      std::array<int, 5> marked = kNone;
      marked[slot] = bin;
      EXPECT_EQ(smoothed(bin, marked), kHigh + kHigh / 8);
    }
    EXPECT_EQ(smoothed(bin, {bin, bin, 64, 64, 64}), kHigh);
  }
  fft_int_init(&fft, kPoints);
}

TEST_F(IntegerFft, InitOfASecondObjectClearsTheHistoryOfTheFirst) {
  analyse(tone(25.0, 1e6));
  ASSERT_GT(fft_power_history[25][0], 0u);
  fft_int other;
  std::memset(&other, 0x55, sizeof other);
  fft_int_init(&other, kPoints);
  for (const auto& bin : fft_power_history)
    for (uint64_t power : bin) ASSERT_EQ(power, 0u);
  for (uint64_t power : other.power) ASSERT_EQ(power, 0u);
  for (int bin : other.marked_bins) EXPECT_EQ(bin, 64);
  EXPECT_EQ(other.n, kPoints);
  fft_int_end(&other);
  EXPECT_EQ(other.data, nullptr);
  EXPECT_EQ(other.n, 0);
  fft_int_end(&other);
}

TEST_F(IntegerFft, MarksTheStrongestTonesOfEachBandAndFindsThemBetweenBins) {
  samples frame(kPoints);
  const double bins[] = {6.0, 11.37, 22.5, 31.8, 47.25, 56.0};
  const double amplitudes[] = {4e5, 6e5, 8e5, 2e5, 3e5, 5e5};
  for (size_t i = 0; i < 6; ++i) {
    const samples x = tone(bins[i], amplitudes[i]);
    for (size_t k = 0; k < frame.size(); ++k) frame[k] += x[k];
  }
  const auto found = analyse(frame);
  const double expected[] = {11.37, 6.0, 22.5, 56.0, 47.25};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_NEAR(found[i] / 256.0, expected[i], 0.02) << i;
    EXPECT_NEAR(fft.marked_bins[i], expected[i], 0.51) << i;
    EXPECT_GT(fft.peak_power[i], 0) << i;
  }
}

TEST_F(IntegerFft, MarksNothingInNoiseAndSilence) {
  EXPECT_EQ(analyse(samples(kPoints, 0)), (std::array<int, 5>{}));
  EXPECT_EQ(analyse(noise(kPoints, 100, 3)), (std::array<int, 5>{}));
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(fft.marked_bins[i], 64);
    EXPECT_EQ(fft.peak_power[i], 0);
  }
}

TEST_F(IntegerFft, StaysInItsMemoryForAnySizeAndAnyInput) {
  for (int n : {0, 1, 2, 100, 128, 255, 257, 1000}) {
    fft_int odd;
    fft_int_init(&odd, n);
    samples x = wild(300, 5);
    fft_int_dowin_process(&odd, x.data(), nullptr, 300);
    fft_int_end(&odd);
  }
}
