// What it hears: a recording or notes from anywhere in them, at any level, and pauses.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <utility>
#include <vector>

#include "subjects.h"

inline std::vector<float> at_minus_20_db(std::vector<float> mono) {
  double squares = 0.0;
  for (const float x : mono) squares += static_cast<double>(x) * x;
  const double gain = 0.1 / std::sqrt(squares / static_cast<double>(mono.size()) + 1e-12);
  for (float& x : mono) x *= static_cast<float>(gain);
  return mono;
}

// The first five minutes of a file, mixed to one channel.
inline std::vector<float> recording(const char* path) {
  SF_INFO info = {};
  SNDFILE* const file = sf_open(path, SFM_READ, &info);
  if (!file) {
    std::fprintf(stderr, "%s: %s\n", path, sf_strerror(file));
    std::exit(2);
  }
  const auto channels = static_cast<size_t>(info.channels);
  std::vector<float> all(channels * 300 * static_cast<size_t>(info.samplerate));
  const auto frames = static_cast<size_t>(
      sf_readf_float(file, all.data(), static_cast<sf_count_t>(all.size() / channels)));
  sf_close(file);
  std::vector<float> mono(frames);
  for (size_t i = 0; i < frames; ++i)
    for (size_t c = 0; c < channels; ++c) mono[i] += all[i * channels + c];
  return at_minus_20_db(mono);
}

// Where there is no recording: plucked notes of 110 to 880 Hz with eight harmonics.
inline std::vector<float> notes(int seconds, int count) {
  constexpr int kRate = 48000;
  dice d(1);
  std::vector<float> mono(static_cast<size_t>(seconds) * kRate);
  for (; count > 0; --count) {
    const double turn = 2.0 * std::numbers::pi * 110.0 * std::exp2(d.below(37) / 12.0) / kRate;
    const size_t start = static_cast<size_t>(d.below(static_cast<int>(mono.size())));
    for (size_t i = 0; i < kRate; ++i) {
      const double t = static_cast<double>(i) / kRate;
      double x = 0.0;
      for (int h = 1; h <= 8; ++h) x += std::sin(turn * h * static_cast<double>(i)) / h;
      mono[(start + i) % mono.size()] +=
          static_cast<float>(x * std::exp(-6.0 * t) * std::min(1.0, 200.0 * t));
    }
  }
  return at_minus_20_db(mono);
}

class programme {
 public:
  explicit programme(std::vector<float> samples) : samples_(std::move(samples)) {}
  void next_scene(dice& d, bool loud) {
    at_ = static_cast<size_t>(d.below(static_cast<int>(samples_.size())));
    const int gain_db = loud ? 0 : 10 - 2 * d.below(20);
    gain_ = std::pow(10.0f, static_cast<float>(gain_db) / 20.0f);
    if (!loud && d.below(6) == 0) pause();
  }
  void pause() { gain_ = 0.0f; }
  // The right side is some tenths of a second ahead.
  stereo next() {
    stereo period;
    for (int i = 0; i < kFrames; ++i, ++at_) {
      period.left[i] = sample(at_);
      period.right[i] = sample(at_ + 9001);
    }
    return period;
  }

 private:
  float sample(size_t at) const {
    return std::clamp(gain_ * samples_[at % samples_.size()], -1.0f, 1.0f);
  }
  std::vector<float> samples_;
  size_t at_ = 0;
  float gain_ = 0.0f;
};
