// 16-bit signals and tones measured on them.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

using pcm = std::vector<short>;

inline pcm pcm_noise(int n, int amplitude, unsigned seed) {
  std::mt19937 generator(seed);
  pcm x(static_cast<size_t>(n));
  for (short& v : x)
    v = static_cast<short>(
        static_cast<int>(generator() % static_cast<unsigned>(2 * amplitude + 1)) - amplitude);
  return x;
}

// Every word there is, the rails often.
inline pcm pcm_wild(int n, unsigned seed) {
  std::mt19937 generator(seed);
  pcm x(static_cast<size_t>(n));
  for (short& v : x) {
    const unsigned word = generator();
    v = word % 4 == 0 ? short{INT16_MAX} : word % 4 == 1 ? short{INT16_MIN} : short(word >> 16);
  }
  return x;
}

inline pcm pcm_sine(int n, double frequency, double rate, double amplitude) {
  pcm x(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i)
    x[static_cast<size_t>(i)] = static_cast<short>(
        std::lround(amplitude * std::sin(2.0 * std::numbers::pi * frequency * i / rate)));
  return x;
}

// What a converter's output holds of a tone: its complex amplitude, time counted from the stream's
// start, and the power of everything else.
struct tone_report {
  std::complex<double> tone;
  double rest_power;
};

// Measured on the last n samples, which must hold whole periods of the tone.
inline tone_report tone_in(const pcm& x, double frequency, double rate, int n) {
  std::complex<double> sum = 0.0;
  double power = 0.0;
  for (size_t i = x.size() - static_cast<size_t>(n); i < x.size(); ++i) {
    sum += double(x[i]) * std::polar(1.0, -2.0 * std::numbers::pi * frequency * double(i) / rate);
    power += double(x[i]) * x[i];
  }
  const std::complex<double> tone = sum * (2.0 / n) * std::complex<double>(0.0, 1.0);
  return {tone, std::max(power / n - std::norm(tone) / 2.0, 1e-9)};
}
