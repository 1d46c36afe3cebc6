// What it hears: a recording from anywhere in it, at any level, and pauses.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "subjects.h"

// The first five minutes of a file, mixed to one channel, at -20 dB.
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
  double squares = 0.0;
  std::vector<float> mono(frames);
  for (size_t i = 0; i < frames; ++i) {
    for (size_t c = 0; c < channels; ++c) mono[i] += all[i * channels + c];
    squares += static_cast<double>(mono[i]) * mono[i];
  }
  const double gain = 0.1 / std::sqrt(squares / static_cast<double>(frames) + 1e-12);
  for (float& x : mono) x *= static_cast<float>(gain);
  return mono;
}

class programme {
 public:
  explicit programme(const char* path) : samples_(recording(path)) {}
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
