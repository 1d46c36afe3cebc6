// What the rack's benchmarks play: stereo in floating point, the same on every run.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

using channel = std::vector<float>;
using stereo = std::array<channel, 2>;

// A low tone at -12 dBFS: 50 Hz, so that 20 ms are one period and its level stands still. Whole
// hundredths of a second, where calls begin, find it between its zeros; so does the beginning.
inline stereo low_sine(size_t frames, int rate) {
  channel x(frames);
  for (size_t i = 0; i < frames; ++i)
    x[i] = static_cast<float>(
        0.25 * std::sin(2.0 * std::numbers::pi * 50.0 * static_cast<double>(i) / rate + 1.0));
  return {x, x};
}

// Music-like, peaks at full scale: a bass, chords of decaying harmonics panned across the stage and
// a struck noise, all over again every half second with other notes.
inline stereo music(size_t frames, int rate) {
  constexpr double kChords[][4] = {{55.0, 220.0, 277.2, 329.6},
                                   {49.0, 196.0, 246.9, 293.7},
                                   {73.4, 220.0, 293.7, 370.0},
                                   {41.2, 207.7, 246.9, 329.6}};
  constexpr double kPan[] = {0.5, 0.2, 0.5, 0.8};
  std::mt19937 random(1);
  stereo x = {channel(frames), channel(frames)};
  float peak = 0.0f;
  for (size_t i = 0; i < frames; ++i) {
    const double t = static_cast<double>(i) / rate, beat = std::fmod(t, 0.5);
    const auto& chord = kChords[static_cast<size_t>(t / 0.5) % 4];
    double left = 0.0, right = 0.0;
    for (size_t note = 0; note < 4; ++note)
      for (int harmonic = 1; harmonic <= 6; ++harmonic) {
        const double level = (0.4 + std::exp(-beat * 3.0 * harmonic)) / harmonic;
        const double tone =
            level * std::sin(2.0 * std::numbers::pi * chord[note] * harmonic * t + harmonic);
        left += tone * (1.0 - kPan[note]);
        right += tone * kPan[note];
      }
    const double strike =
        2.0 * std::exp(-beat * 40.0) * (static_cast<double>(random()) / 2147483648.0 - 1.0);
    x[0][i] = static_cast<float>(left + strike);
    x[1][i] = static_cast<float>(right + strike);
    peak = std::max({peak, std::abs(x[0][i]), std::abs(x[1][i])});
  }
  for (channel& c : x)
    for (float& v : c) v /= peak;
  return x;
}
