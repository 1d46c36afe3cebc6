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

TEST_F(IntegerFft, AgreesWithDoublePrecision) {
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
TEST_F(IntegerFft, FullScaleToneHasTheWindowsGain) {
  analyse(tone(30.0, kFullScale));
  EXPECT_NEAR(double(fft.power[30]), std::pow(std::ldexp(0.3635819, 35 - 18), 2.0), 3e4);
  EXPECT_NEAR(10.0 * std::log10(double(fft.power[31]) / double(fft.power[30])), -3.44, 0.02);
  EXPECT_LT(std::max(fft.power[34], fft.power[8]), 20u);
}

TEST_F(IntegerFft, SharesItsHistoryUntilAnyInit) {
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

TEST_F(IntegerFft, FindsTonesBetweenBins) {
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

TEST_F(IntegerFft, MarksNothingInNoise) {
  for (int amplitude : {0, 100}) {
    EXPECT_EQ(analyse(noise(kPoints, amplitude, 3)), (std::array<int, 5>{}));
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(fft.marked_bins[i] == 64 && fft.peak_power[i] == 0);
  }
}
