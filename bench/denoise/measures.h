// How far a processed signal is from the clean one, over the clean signal's speech frames. Both
// must be aligned.
#pragma once

#include <kissfft/kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "signals.h"

// Segmental SNR as commonly defined (for example Quackenbush, Barnwell, Clements, "Objective
// Measures of Speech Quality", 1988): the mean over 20 ms frames of the SNR in dB, each limited to
// -10..35 dB.
inline double segmental_snr(const spoken_clip& clean, const std::vector<double>& y) {
  double sum = 0.0;
  for (const size_t at : clean.frames.starts) {
    double signal_power = 0.0, error_power = 0.0;
    for (size_t i = at; i < at + clean.frames.length; ++i) {
      const double e = clean.samples[i] - y[i];
      signal_power += clean.samples[i] * clean.samples[i];
      error_power += e * e;
    }
    sum += std::clamp(decibels(signal_power / (error_power + 1e-9)), -10.0, 35.0);
  }
  return sum / static_cast<double>(clean.frames.starts.size());
}

// Log-spectral distance: the root of the mean squared difference of two power spectra in dB (32 ms,
// Hann), averaged over the frames. What lies more than 50 dB below the clean speech's mean power in
// a bin counts as that.
class spectral_distance {
 public:
  spectral_distance(const spoken_clip& clean, int rate)
      : clean_(clean),
        points_(static_cast<size_t>(rate) / 125 * 4),
        plan_(kiss_fftr_alloc(static_cast<int>(points_), 0, nullptr, nullptr)) {
    for (size_t i = 0; i < points_; ++i)
      window_.push_back(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * double(i) / double(points_)));
    double window_power = 0.0;
    for (const double w : window_) window_power += w * w;
    floor_ = 1e-5 * speech_power(clean.samples, clean.frames) * window_power;
    for (const size_t at : clean.frames.starts)
      if (at + points_ <= clean.samples.size()) spectra_.push_back(spectrum(clean.samples, at));
  }
  ~spectral_distance() { kiss_fftr_free(plan_); }
  spectral_distance(const spectral_distance&) = delete;
  spectral_distance& operator=(const spectral_distance&) = delete;

  double of(const std::vector<double>& y) const {
    double sum = 0.0;
    size_t frame = 0;
    for (const size_t at : clean_.frames.starts) {
      if (at + points_ > clean_.samples.size()) continue;
      const auto here = spectrum(y, at);
      double squares = 0.0;
      for (size_t k = 0; k < here.size(); ++k)
        squares += (here[k] - spectra_[frame][k]) * (here[k] - spectra_[frame][k]);
      sum += std::sqrt(squares / static_cast<double>(here.size()));
      ++frame;
    }
    return sum / static_cast<double>(std::max<size_t>(frame, 1));
  }

 private:
  std::vector<double> spectrum(const std::vector<double>& x, size_t at) const {
    std::vector<float> in(points_);
    for (size_t i = 0; i < points_; ++i) in[i] = static_cast<float>(x[at + i] * window_[i]);
    std::vector<kiss_fft_cpx> bins(points_ / 2 + 1);
    kiss_fftr(plan_, in.data(), bins.data());
    std::vector<double> levels;
    for (const kiss_fft_cpx& bin : bins)
      levels.push_back(decibels(double(bin.r) * bin.r + double(bin.i) * bin.i + floor_));
    return levels;
  }

  const spoken_clip& clean_;
  size_t points_;
  kiss_fftr_cfg plan_;
  std::vector<double> window_;
  double floor_ = 0.0;
  std::vector<std::vector<double>> spectra_;
};
