// Test signals and what is measured on them. Signals are vectors of 32-bit words; full scale of the
// 24-bit format is 2^23.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <numbers>
#include <random>
#include <vector>

using samples = std::vector<int>;

constexpr int kFullScale = 8388607;

inline samples sine(int n, double frequency, double rate, double amplitude) {
  samples x(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i)
    x[static_cast<size_t>(i)] = static_cast<int>(
        std::lround(amplitude * std::sin(2.0 * std::numbers::pi * frequency * i / rate)));
  return x;
}

// Uniform in -amplitude..amplitude, the same on every platform.
inline samples noise(int n, int amplitude, unsigned seed) {
  std::mt19937 generator(seed);
  samples x(static_cast<size_t>(n));
  for (int& v : x)
    v = static_cast<int>(static_cast<int64_t>(generator()) * (2LL * amplitude + 1) >> 32) -
        amplitude;
  return x;
}

// Any 32-bit word, the rails among them.
inline samples wild(int n, unsigned seed) {
  std::mt19937 generator(seed);
  constexpr int kRails[] = {INT32_MAX, INT32_MIN, kFullScale, -kFullScale - 1,
                            -1,        0,         1,          INT32_MIN + 1};
  samples x(static_cast<size_t>(n));
  for (int& v : x) {
    const unsigned word = generator();
    v = word % 5 == 0 ? kRails[(word >> 8) % 8] : static_cast<int>(generator());
  }
  return x;
}

inline samples impulse(int n, int height) {
  samples x(static_cast<size_t>(n));
  x[0] = height;
  return x;
}

inline int peak(const samples& x) {
  int64_t largest = 0;
  for (int v : x) largest = std::max(largest, std::abs(int64_t{v}));
  return static_cast<int>(std::min<int64_t>(largest, INT32_MAX));
}

// Sum of x[n] e^(-i w n) from sample first on: the spectrum of an impulse response, or (divided by
// half the length, over whole periods) the amplitude of a tone.
inline std::complex<double> spectrum_at(const samples& x, double frequency, double rate,
                                        size_t first = 0) {
  std::complex<double> sum = 0.0;
  for (size_t n = first; n < x.size(); ++n)
    sum += double(x[n]) *
           std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(n) / rate);
  return sum;
}

inline double decibels(double ratio) { return 20.0 * std::log10(ratio); }

// Level of a tone in out against the same tone in in, both from sample first on.
inline double gain_db(const samples& in, const samples& out, double frequency, double rate,
                      size_t first = 0) {
  return decibels(std::abs(spectrum_at(out, frequency, rate, first)) /
                  std::abs(spectrum_at(in, frequency, rate, first)));
}
