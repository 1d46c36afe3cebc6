// Responses measured with many tones at once. All tones are multiples of 20 Hz, so that they, and
// any offset at 0 Hz, are orthogonal over one period of 1/20 s.
#pragma once

#include <cmath>
#include <complex>
#include <map>
#include <numbers>
#include <vector>

#include "support/signals.h"

class tones {
 public:
  using response = std::map<int, double>;  // Hz to dB

  // Each tone with the amplitude given, in phases that don't add up to a peak.
  tones(int rate, double amplitude, const std::vector<int>& hertz)
      : period_(static_cast<size_t>(rate / 20)), amplitude_(amplitude), signal_(period_) {
    for (size_t t = 0; t < hertz.size(); ++t) {
      std::vector<std::complex<double>>& wave = waves_[hertz[t]];
      const double phase = static_cast<double>(t * t) / (2.0 * static_cast<double>(hertz.size()));
      for (size_t n = 0; n < period_; ++n) {
        const double turns = static_cast<double>(n) * hertz[t] / rate + phase;
        wave.push_back(std::polar(1.0, -2.0 * std::numbers::pi * turns));
        signal_[n] += static_cast<int>(std::lround(amplitude * wave.back().real()));
      }
    }
  }

  // process(in, out, n) is given the signal period by period; the last one is measured.
  template <typename Process>
  response measure(Process process, int periods = 4) const {
    samples out(period_), in = signal_;
    for (int i = 0; i < periods; ++i) process(in.data(), out.data(), static_cast<int>(period_));
    response gains;
    for (const auto& [hertz, wave] : waves_) {
      double real = 0.0, imaginary = 0.0;
      for (size_t n = 0; n < period_; ++n) {
        real += out[n] * wave[n].real();
        imaginary += out[n] * wave[n].imag();
      }
      gains[hertz] =
          decibels(std::hypot(real, imaginary) / (amplitude_ * static_cast<double>(period_) / 2.0));
    }
    return gains;
  }

 private:
  size_t period_;
  double amplitude_;
  samples signal_;
  std::map<int, std::vector<std::complex<double>>> waves_;
};
