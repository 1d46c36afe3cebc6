#include "dsp/fft_int.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "support/signals.h"

namespace {

constexpr int kPoints = 256;
constexpr int64_t kOne = int64_t{1} << 28;

using parts = std::vector<std::pair<int64_t, int64_t>>;

struct IntegerFft : testing::Test {
  fft_int fft;
  IntegerFft() {
    fft_int_init(&fft, kPoints);
    std::fill_n(fft_power_current, 64, uint64_t{0});
  }
  ~IntegerFft() override { fft_int_end(&fft); }

  // Real and imaginary part of each bin.
  parts transform(const samples& re, const samples& im = samples(kPoints)) {
    for (size_t i = 0; i < kPoints; ++i) complex_setvalue(&fft.data[i], re[i], im[i]);
    fft_do_process(&fft);
    parts bins;
    for (size_t i = 0; i < kPoints; ++i) bins.emplace_back(fft.data[i].re, fft.data[i].im);
    return bins;
  }
  std::array<int, 5> analyse(samples frame) {
    std::array<int, 5> out;
    fft_int_dowin_process(&fft, frame.data(), out.data(), static_cast<int>(frame.size()));
    return out;
  }
  std::vector<uint64_t> powers() const { return {fft.power, fft.power + 64}; }
};

// A tone at a fractional bin, with a phase so that no sample is special.
samples tone(double bin, double amplitude) {
  samples x(kPoints);
  for (int i = 0; i < kPoints; ++i)
    x[static_cast<size_t>(i)] = static_cast<int>(
        std::lround(amplitude * std::cos(2.0 * std::numbers::pi * bin * i / kPoints + 0.7)));
  return x;
}

}  // namespace

// Each part is shifted down by 13 before it is squared, rounding down; 2^64 wraps.
TEST(Complex, HasThePowersWorkedOutByHand) {
  constexpr int64_t kPowers[][3] = {{8192, 0, 0},
                                    {262144, 0, 1},
                                    {-(1 << 23), 1 << 23, 2048},
                                    {31 * 8192, 65536, 1},
                                    {-31 * 8192 - 1, 0, 1},
                                    {31 * 8192 + 8191, 0, 0},
                                    {int64_t{1} << 45, 0, 0}};
  for (const auto& [re, im, power] : kPowers) {
    complex value = {re, im};
    EXPECT_EQ(complex_getpower(&value), uint64_t(power)) << re;
  }
}

TEST(Complex, MultipliesInQ28RoundingDownAndAddsWrappingAt64Bits) {
  const auto words = [](std::initializer_list<complex> values) {
    std::vector<int64_t> all;
    for (const complex& z : values) all.insert(all.end(), {z.re, z.im});
    return all;
  };
  complex a = {kOne / 2, kOne}, b = {3, -5}, minus = {-kOne / 2, 0}, one = {1, 1}, small;
  complex_mul(&a, &b, &b);  // (1.5 + 5) + (-2.5 + 3) i
  complex_mul(&minus, &one, &one);
  EXPECT_EQ(words({b, one}), (std::vector<int64_t>{6, 0, -1, -1}));
  a = {INT64_MAX, INT64_MIN};
  b = {1, -1};
  complex_add(&a, &b, &one);
  complex_sub(&one, &b, &a);
  complex_swap(&a, &b);
  complex_init(&small, -7, INT32_MIN);
  EXPECT_EQ(words({one, a, b, small}), (std::vector<int64_t>{INT64_MIN, INT64_MAX, 1, -1, INT64_MAX,
                                                             INT64_MIN, -7, INT32_MIN}));
  complex_end(&small);
  EXPECT_EQ(words({small}), (std::vector<int64_t>{0, 0}));
}

// A lone value at index 0 meets no twiddle factor at all. At index 64 or 32 it meets those of one
// stage only, that of half 2 or 4: bin j then holds that stage's factor j, as the recurrence makes
// it.
TEST_F(IntegerFft, SpreadsAnImpulseEvenlyAndAdvancesTheTwiddleFactorsByRecurrence) {
  samples x = impulse(kPoints, 1 << 20);
  EXPECT_EQ(transform(x), parts(kPoints, {1 << 20, 0}));
  x[0] = 0;
  x[64] = 1 << 28;
  parts got = transform(x);
  got.resize(4);
  EXPECT_EQ(got, parts({{kOne, 0}, {0, 1 - kOne}, {-kOne, 0}, {0, kOne - 1}}));
  std::swap(x[64], x[32]);
  got = transform(x);
  got.resize(4);  // -2 c^2 / 2^28 rounded down
  EXPECT_EQ(got,
            parts({{kOne, 0}, {189812530, -189812530}, {0, -268435453}, {-189812528, -189812528}}));
}

TEST_F(IntegerFft, AgreesWithTheTransformInDoublePrecisionWithoutScaling) {
  const auto expect = [&](const samples& re, const samples& im, double error) {
    const parts bins = transform(re, im);
    for (size_t k = 0; k < kPoints; ++k) {
      const std::complex<double> bin(double(bins[k].first), double(bins[k].second)), j(0.0, 1.0);
      const auto ideal =
          spectrum_at(re, double(k), kPoints) + j * spectrum_at(im, double(k), kPoints);
      EXPECT_LT(std::abs(bin - ideal), error) << k;
    }
  };
  expect(noise(kPoints, kFullScale, 1), noise(kPoints, kFullScale, 2), 500.0);  // of some 10^8
  expect(tone(19.0, kFullScale), samples(kPoints), 500.0);
  expect(samples(kPoints, 100000), samples(kPoints), 20.0);  // of 2.56 x 10^7
}

// (2^23 32 128 a0)^2 / 2^36, the window's mean being a0.
TEST_F(IntegerFft, AnalysesAFullScaleToneToTheWindowsGain) {
  analyse(tone(30.0, kFullScale));
  EXPECT_NEAR(double(fft.power[30]), std::pow(std::ldexp(0.3635819, 35 - 18), 2.0), 3e4);
  EXPECT_NEAR(10.0 * std::log10(double(fft.power[31]) / double(fft.power[30])), -3.44, 0.02);
  EXPECT_LT(std::max(fft.power[34], fft.power[8]), 20u);
}

TEST_F(IntegerFft, TakesWhatIsMissingOfAShortFrameAsSilence) {
  const samples whole = tone(20.3, 4e6);
  samples padded(whole.begin(), whole.begin() + 100);
  analyse(padded);
  const std::vector<uint64_t> expected = powers();
  padded.resize(kPoints);
  analyse(padded);
  EXPECT_EQ(powers(), expected);
  analyse({});
  EXPECT_EQ(powers(), std::vector<uint64_t>(64));
}

TEST_F(IntegerFft, KeepsEightFramesNewestFirstUntilTheInitOfAnyObject) {
  std::vector<uint64_t> newest_first;
  for (int frame = 0; frame < 11; ++frame) {
    analyse(tone(40.0, 100000.0 * (frame + 1)));
    newest_first.insert(newest_first.begin(), fft.power[40]);
  }
  EXPECT_TRUE(std::equal(newest_first.begin(), newest_first.begin() + 8, fft_power_history[40]));
  EXPECT_GT(newest_first[0], newest_first[1]);
  fft_int other;
  std::memset(&other, 0x55, sizeof other);
  fft_int_init(&other, kPoints);
  for (const auto& bin : fft_power_history) EXPECT_EQ(std::count(bin, bin + 8, 0u), 8);
  EXPECT_EQ(std::count(other.power, other.power + 64, 0u), 64);
  EXPECT_EQ(std::count(other.marked_bins, other.marked_bins + 5, 64), 5);
  EXPECT_EQ(other.n, kPoints);
  for (int k = 0; k < 2; ++k) fft_int_end(&other);
  EXPECT_TRUE(!other.data && other.n == 0);
}

// A silent frame pushes a zero in front of a history written by hand, so that the sum is known.
TEST_F(IntegerFft, WeighsOlderFramesByTheirAgeAndMarkedBinsMore) {
  constexpr uint64_t kOlder[7] = {11000, 1200, 1300, 1400, 1500, 1600, 1700};
  // 11000/10 + 1200/11 + 1300/12 + 1400/13 + 1500/14 + 1600/15 + 1700/16
  constexpr uint64_t kLow = 1100 + 109 + 108 + 107 + 107 + 106 + 106;
  // 11000/9 + 1200/10 + 1300/11 + 1400/12 + 1500/13 + 1600/14 + 1700/15
  constexpr uint64_t kHigh = 1222 + 120 + 118 + 116 + 115 + 114 + 113;
  for (int bin : {2, 4, 5, 8, 9, 17, 18, 62})
    for (int mark = -1; mark < 5; ++mark) {
      std::fill_n(fft.marked_bins, 5, 64);
      if (mark >= 0) fft.marked_bins[mark] = bin;
      std::copy_n(kOlder, 7, fft_power_history[bin]);
      analyse(samples(kPoints));
      const uint64_t sum = bin < 5 ? 0 : bin < 9 ? kLow : kHigh;
      const bool more = bin < 18 ? mark == 0 || mark == 1 : mark >= 2;
      EXPECT_EQ(fft_power_current[bin], more ? sum + sum / (bin < 9 ? 16 : 8) : sum) << bin;
    }
}

TEST_F(IntegerFft, MarksTheStrongestTonesOfEachBandAndFindsThemBetweenBins) {
  samples frame(kPoints);
  const std::pair<double, double> tones[] = {{6.0, 4e5},  {11.37, 6e5}, {22.5, 8e5},
                                             {31.8, 2e5}, {47.25, 3e5}, {56.0, 5e5}};
  for (const auto& [bin, amplitude] : tones) {
    const samples x = tone(bin, amplitude);
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
  for (int amplitude : {0, 100}) {
    EXPECT_EQ(analyse(noise(kPoints, amplitude, 3)), (std::array<int, 5>{}));
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(fft.marked_bins[i] == 64 && fft.peak_power[i] == 0);
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
