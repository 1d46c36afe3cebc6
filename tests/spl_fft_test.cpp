#include "spl/fft.h"

#include <gtest/gtest.h>

#include "support/pcm16.h"

namespace {

using spectrum = std::vector<std::complex<double>>;

// sum x[n] e^(sign 2 pi i k n / N) / divisor, in double precision.
spectrum dft(const pcm& x, int sign, double divisor) {
  const size_t points = x.size() / 2;
  spectrum turns(points), bins(points);
  for (size_t k = 0; k < points; ++k)
    turns[k] = std::polar(1.0, sign * 2.0 * std::numbers::pi * double(k) / double(points));
  for (size_t k = 0; k < points; ++k) {
    for (size_t n = 0; n < points; ++n)
      bins[k] += std::complex<double>(x[2 * n], x[2 * n + 1]) * turns[k * n % points];
    bins[k] /= divisor;
  }
  return bins;
}

struct snr_meter {
  double signal = 0.0, error = 0.0;
  void add(const spectrum& expected, const pcm& measured) {
    for (size_t k = 0; k < expected.size(); ++k) {
      const std::complex<double> m(measured[2 * k], measured[2 * k + 1]);
      signal += std::norm(expected[k]);
      error += std::norm(m - expected[k]);
    }
  }
  double db() const { return 10.0 * std::log10(signal / error); }
};

pcm full_noise(int words, unsigned seed) {
  std::mt19937 generator(seed);
  pcm x(static_cast<size_t>(words));
  for (short& v : x) v = static_cast<short>(generator() >> 16);
  return x;
}

}  // namespace

namespace {

spectrum shifted_down(const pcm& x, int scale) {
  spectrum y;
  for (size_t k = 0; k < x.size() / 2; ++k)
    y.push_back(std::complex<double>(x[2 * k], x[2 * k + 1]) / double(1 << scale));
  return y;
}

pcm with_zero_imaginary_parts(const pcm& real) {
  pcm x(2 * real.size());
  for (size_t n = 0; n < real.size(); ++n) x[2 * n] = real[n];
  return x;
}

// The documented figure is what was measured, rounded down to 0.1 dB.
void expect_figure(double measured, double documented, int stages) {
  EXPECT_GE(measured, documented) << stages << " stages";
  EXPECT_LE(measured, documented + 0.1) << stages << " stages, better than documented";
}

}  // namespace

// The figures of fft.h.
TEST(SplFft, IsAsAccurateAsItsHeaderDocuments) {
  constexpr double kForward[] = {91.2, 85.4, 82.1, 79.1, 76.6, 73.9, 71.5, 68.6, 65.9, 63.0};
  constexpr double kInverse[] = {89.2, 85.4, 81.5, 79.5, 77.5, 76.3, 74.9, 73.5, 72.4, 71.8};
  constexpr double kThereAndBack[] = {85.6, 80.5, 77.8, 75.8, 73.9, 72.2, 70.3, 67.7, 65.3, 62.5};
  for (int stages = 1; stages <= 10; ++stages) {
    const int points = 1 << stages;
    snr_meter forward, inverse, there_and_back;
    for (unsigned seed = 1; seed <= std::max(4u, 4096u >> stages); ++seed) {
      const pcm x = full_noise(2 * points, seed);
      pcm y = x;
      ASSERT_EQ(tekaSpl_ComplexFft(y.data(), stages), 0);
      forward.add(dft(x, -1, points), y);
      int scale = tekaSpl_ComplexInverseFft(y.data(), stages);
      ASSERT_GE(scale, 0);
      there_and_back.add(shifted_down(x, scale), y);
      y = x;
      scale = tekaSpl_ComplexInverseFft(y.data(), stages);
      inverse.add(dft(x, +1, 1 << scale), y);
    }
    expect_figure(forward.db(), kForward[stages - 1], stages);
    expect_figure(inverse.db(), kInverse[stages - 1], stages);
    expect_figure(there_and_back.db(), kThereAndBack[stages - 1], stages);
  }
}

TEST(SplFft, TransformsRealSamplesAsAccuratelyAsDocumented) {
  constexpr double kForward[] = {68.8, 65.7}, kThereAndBack[] = {68.6, 65.5};
  for (int stages : {7, 8}) {
    const int points = 1 << stages;
    snr_meter forward, there_and_back;
    for (unsigned seed = 1; seed <= 50; ++seed) {
      const pcm x = full_noise(points, seed);
      pcm bins(size_t(points) + 2), back(size_t(points), 0);
      ASSERT_EQ(tekaSpl_RealFft(x.data(), bins.data(), stages), 0);
      spectrum expected = dft(with_zero_imaginary_parts(x), -1, points);
      expected.resize(size_t(points) / 2 + 1);
      forward.add(expected, bins);
      EXPECT_EQ(bins[1], 0);
      EXPECT_EQ(bins.back(), 0);
      const int scale = tekaSpl_RealInverseFft(bins.data(), back.data(), stages);
      there_and_back.add(shifted_down(with_zero_imaginary_parts(x), scale),
                         with_zero_imaginary_parts(back));
    }
    expect_figure(forward.db(), kForward[stages - 7], stages);
    expect_figure(there_and_back.db(), kThereAndBack[stages - 7], stages);
  }
}

TEST(SplFft, RealTransformsWorkInPlaceAndIgnoreTheTwoImaginaryPartsThatAreNone) {
  for (int stages = 1; stages <= 10; ++stages) {
    const size_t points = size_t{1} << stages;
    pcm x = full_noise(int(points) + 2, 77), bins(points + 2), back(points);
    tekaSpl_RealFft(x.data(), bins.data(), stages);
    tekaSpl_RealFft(x.data(), x.data(), stages);
    EXPECT_EQ(x, bins);
    const int scale = tekaSpl_RealInverseFft(bins.data(), back.data(), stages);
    x[1] = x[points + 1] = 1234;
    EXPECT_EQ(tekaSpl_RealInverseFft(x.data(), x.data(), stages), scale);
    EXPECT_TRUE(std::equal(back.begin(), back.end(), x.begin()));
  }
}

// An impulse of 2^15 / 2 in place p gives 2^14 / N turned by p steps per bin.
TEST(SplFft, TurnsAnImpulseIntoEqualBinsAndAConstantIntoOneBin) {
  pcm x(16);  // 8 points
  x[2] = 16384;
  tekaSpl_ComplexFft(x.data(), 3);
  const pcm turned = {2048,  0, 1448,  -1448, 0, -2048, -1448, -1448,
                      -2048, 0, -1448, 1448,  0, 2048,  1448,  1448};
  EXPECT_EQ(x, turned);
  for (int stages = 1; stages <= 10; ++stages) {
    pcm constant(size_t{2} << stages);
    for (size_t n = 0; n < constant.size(); n += 2) {
      constant[n] = 32767;
      constant[n + 1] = -32768;
    }
    tekaSpl_ComplexFft(constant.data(), stages);
    pcm one_bin(constant.size());
    one_bin[0] = 32767;
    one_bin[1] = -32768;
    EXPECT_EQ(constant, one_bin) << stages;
  }
}

// Square waves, rails and their likes: nothing that a real wave form does makes a word wrap.
TEST(SplFft, TransformsFullScaleWaveFormsWithoutWrapping) {
  for (size_t half_period : {1, 2, 3, 4, 16, 30, 64, 256}) {
    pcm x(256), bins(258), back(256);
    for (size_t n = 0; n < x.size(); ++n)
      x[n] = n / half_period % 2 ? short{INT16_MIN} : short{INT16_MAX};
    tekaSpl_RealFft(x.data(), bins.data(), 8);
    const spectrum expected = dft(with_zero_imaginary_parts(x), -1, 256);
    for (size_t k = 0; k <= 128; ++k) {
      EXPECT_NEAR(bins[2 * k], expected[k].real(), 4.0) << half_period << ": bin " << k;
      EXPECT_NEAR(bins[2 * k + 1], expected[k].imag(), 4.0) << half_period << ": bin " << k;
    }
    const int scale = tekaSpl_RealInverseFft(bins.data(), back.data(), 8);
    ASSERT_LE(scale, 2);
    for (size_t n = 0; n < x.size(); ++n)
      EXPECT_NEAR(back[n], double(x[n]) / (1 << scale), 60.0) << half_period << ": sample " << n;
  }
}

// A single bin grows by the factor 1 only, so it is halved no more often than a stage's worst case
// requires; small spectra are not halved at all, and their sums are exact.
TEST(SplFft, InverseHalvesOnlyWhatWouldOutgrowItsWord) {
  pcm bin(64);
  bin[0] = 1000;
  EXPECT_EQ(tekaSpl_ComplexInverseFft(bin.data(), 5), 0);
  for (size_t n = 0; n < 32; ++n) EXPECT_EQ(bin[2 * n], 1000);
  pcm ones(64);
  for (size_t k = 0; k < 64; k += 2) ones[k] = 300;
  EXPECT_EQ(tekaSpl_ComplexInverseFft(ones.data(), 5), 0);
  EXPECT_EQ(ones[0], 32 * 300);
  EXPECT_EQ(std::count(ones.begin(), ones.end(), 0), 63);
  pcm rails(2048, INT16_MIN);
  const int scale = tekaSpl_ComplexInverseFft(rails.data(), 10);
  EXPECT_NEAR(rails[0], -32768.0 * 1024 / (1 << scale), 2.0);
}

TEST(SplFft, ReversesBitsOfThePlace) {
  pcm x(16), restored;
  for (size_t i = 0; i < 16; ++i) x[i] = short(i);
  EXPECT_EQ(tekaSpl_ComplexBitReverse(x.data(), 3), 0);
  EXPECT_EQ(x, (pcm{0, 1, 8, 9, 4, 5, 12, 13, 2, 3, 10, 11, 6, 7, 14, 15}));
  for (int stages = 1; stages <= 10; ++stages) {
    x = restored = full_noise(2 << stages, 5);
    tekaSpl_ComplexBitReverse(restored.data(), stages);
    tekaSpl_ComplexBitReverse(restored.data(), stages);
    EXPECT_EQ(restored, x);
  }
}

TEST(SplFft, RefusesStagesOutsideOfOneToTenAndTouchesNothing) {
  const pcm before = full_noise(64, 9);
  for (int stages : {-1, 0, 11, 1000}) {
    pcm x = before, y = before;
    EXPECT_EQ(tekaSpl_ComplexBitReverse(x.data(), stages), -1);
    EXPECT_EQ(tekaSpl_ComplexFft(x.data(), stages), -1);
    EXPECT_EQ(tekaSpl_ComplexInverseFft(x.data(), stages), -1);
    EXPECT_EQ(tekaSpl_RealFft(x.data(), y.data(), stages), -1);
    EXPECT_EQ(tekaSpl_RealInverseFft(x.data(), y.data(), stages), -1);
    EXPECT_EQ(x, before);
    EXPECT_EQ(y, before);
  }
}
