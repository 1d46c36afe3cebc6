// Responses measured with many tones at once. All tones are multiples of 20 Hz, so that they, and
// any offset at 0 Hz, are orthogonal over one period of 1/20 s.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "support/signals.h"

class tones {
 public:
  static constexpr std::array<int, 12> kHertz = {20,   40,   60,   100,  160,   320,
                                                 1000, 2000, 4000, 8000, 15980, 20000};

  // Each tone with the amplitude given, in phases that don't add up to a peak.
  tones(int rate, double amplitude)
      : period_(static_cast<size_t>(rate / 20)), amplitude_(amplitude), signal_(period_) {
    for (size_t t = 0; t < kHertz.size(); ++t)
      for (size_t n = 0; n < period_; ++n) {
        const double turns = static_cast<double>(n) * kHertz[t] / rate;
        const double phase = static_cast<double>(t * t) / (2.0 * kHertz.size());
        waves_.push_back(std::polar(1.0, -2.0 * std::numbers::pi * (turns + phase)));
        signal_[n] += static_cast<int>(std::lround(amplitude * waves_.back().real()));
      }
  }

  // process(in, out, n) is given the signal period by period; the last one is measured. Returns the
  // gain in dB at each of kHertz.
  template <typename Process>
  std::array<double, kHertz.size()> measure(Process process, int periods = 8) const {
    samples out(period_), in = signal_;
    for (int i = 0; i < periods; ++i) process(in.data(), out.data(), static_cast<int>(period_));
    std::array<double, kHertz.size()> gains;
    for (size_t t = 0; t < kHertz.size(); ++t) {
      const std::complex<double>* wave = &waves_[t * period_];
      double real = 0.0, imaginary = 0.0;
      for (size_t n = 0; n < period_; ++n) {
        real += out[n] * wave[n].real();
        imaginary += out[n] * wave[n].imag();
      }
      gains[t] =
          decibels(std::hypot(real, imaginary) / (amplitude_ * static_cast<double>(period_) / 2.0));
    }
    return gains;
  }

 private:
  size_t period_;
  double amplitude_;
  samples signal_;
  std::vector<std::complex<double>> waves_;
};
