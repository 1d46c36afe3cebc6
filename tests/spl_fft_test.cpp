#include "spl/fft.h"

#include <gtest/gtest.h>

#include "support/pcm16.h"

namespace {

using spectrum = std::vector<std::complex<double>>;

spectrum complex_of(const pcm& x, int scale = 0) {
  spectrum y;
  for (size_t k = 0; k < x.size(); k += 2) y.emplace_back(x[k], x[k + 1]);
  for (auto& v : y) v /= 1 << scale;
  return y;
}

pcm with_zero_imaginary_parts(const pcm& real) {
  pcm x;
  for (short v : real) x.insert(x.end(), {v, 0});
  return x;
}

// sum x[n] e^(sign 2 pi i k n / N) / 2^scale, in double precision.
spectrum dft(const pcm& words, int sign, int scale) {
  const spectrum x = complex_of(words, scale);
  const size_t points = x.size();
  spectrum turns, bins(points);
  for (size_t k = 0; k < points; ++k)
    turns.push_back(std::polar(1.0, sign * 2.0 * std::numbers::pi * double(k) / double(points)));
  for (size_t k = 0; k < points; ++k)
    for (size_t n = 0; n < points; ++n) bins[k] += x[n] * turns[k * n % points];
  return bins;
}

struct snr_meter {
  double signal = 0.0, error = 0.0;
  void add(const spectrum& expected, const pcm& measured) {
    for (size_t k = 0; k < measured.size() / 2; ++k) {
      signal += std::norm(expected[k]);
      error += std::norm(spectrum::value_type(measured[2 * k], measured[2 * k + 1]) - expected[k]);
    }
  }
};

}  // namespace

// The figures of fft.h: what was measured, rounded down to 0.1 dB. The two imaginary parts that are
// none come out as 0 and go in as anything.
TEST(SplFft, IsAsAccurateAsDocumented) {
  constexpr double kFigures[][10] = {{91.3, 85.5, 82.0, 79.2, 76.5, 74.0, 71.2, 68.7, 65.8, 63.0},
                                     {89.3, 85.3, 81.6, 79.3, 77.6, 75.9, 74.4, 73.6, 72.7, 72.0},
                                     {85.5, 80.5, 77.6, 75.6, 74.1, 72.2, 70.1, 67.8, 65.2, 62.5},
                                     {91.5, 85.0, 80.8, 77.2, 74.3, 71.5, 68.7, 65.8, 63.0, 60.1},
                                     {86.6, 81.5, 78.6, 76.2, 73.7, 71.1, 68.5, 65.6, 62.8, 59.9}};
  for (int stages = 1; stages <= 10; ++stages) {
    snr_meter meters[5];
    for (unsigned seed = 1; seed <= std::max(4u, 4096u >> stages); ++seed) {
      const pcm x = pcm_noise(2 << stages, 32767, seed), real(x.begin(), x.begin() + (1 << stages));
      const pcm wide = with_zero_imaginary_parts(real);
      pcm y = x, z = x, bins(real.size() + 2), back(real.size());
      tekaSpl_ComplexFft(y.data(), stages);
      meters[0].add(dft(x, -1, stages), y);
      meters[2].add(complex_of(x, tekaSpl_ComplexInverseFft(y.data(), stages)), y);
      meters[1].add(dft(x, +1, tekaSpl_ComplexInverseFft(z.data(), stages)), z);
      tekaSpl_RealFft(real.data(), bins.data(), stages);
      meters[3].add(dft(wide, -1, stages), bins);
      ASSERT_EQ(bins[1] | bins.back(), 0);
      z = real;  // and now in place
      z.resize(bins.size());
      tekaSpl_RealFft(z.data(), z.data(), stages);
      ASSERT_TRUE(z == bins);
      z[1] = z.back() = 1234;
      const int scale = tekaSpl_RealInverseFft(bins.data(), back.data(), stages);
      meters[4].add(complex_of(wide, scale), with_zero_imaginary_parts(back));
      ASSERT_EQ(tekaSpl_RealInverseFft(z.data(), z.data(), stages), scale);
      ASSERT_TRUE(std::equal(back.begin(), back.end(), z.begin()));
    }
    for (int i = 0; i < 5; ++i)
      EXPECT_NEAR(10.0 * std::log10(meters[i].signal / meters[i].error),
                  kFigures[i][stages - 1] + 0.05, 0.05)
          << stages << " stages, row " << i;
  }
}
