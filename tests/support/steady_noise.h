// Steady noises from a fixed seed, the same on every platform. Levels are those of the mean power,
// full scale (32768) being 0 dBFS.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

struct noise_kind {
  const char* name;
  enum { white, pink, fan, deep_pink } kind;
};
constexpr noise_kind kWhite = {"white", noise_kind::white};
constexpr noise_kind kPink = {"pink", noise_kind::pink};
constexpr noise_kind kFan = {"fan-like", noise_kind::fan};
constexpr noise_kind kDeepPink = {"pink from 20 Hz", noise_kind::deep_pink};
constexpr noise_kind kNoises[] = {kWhite, kPink, kFan};

inline double power_of(const std::vector<double>& x) {
  double sum = 0.0;
  for (const double v : x) sum += v * v;
  return sum / static_cast<double>(std::max<size_t>(x.size(), 1));
}

inline void scale_to(std::vector<double>& x, double dbfs) {
  const double gain = 32768.0 * std::sqrt(std::pow(10.0, dbfs / 10.0) / power_of(x));
  for (double& v : x) v *= gain;
}

// Falls by 10 dB in a decade: poles and zeros in turn, an octave apart, from 20 Hz on.
inline void make_pink(std::vector<double>& x, double rate) {
  for (double corner = 20.0; corner < rate / 2; corner *= 4.0) {
    const double pole = std::exp(-2.0 * std::numbers::pi * corner / rate);
    const double zero = std::exp(-4.0 * std::numbers::pi * corner / rate);
    double before = 0.0, y = 0.0;
    for (double& v : x) {
      y = v - zero * before + pole * y;
      before = v;
      v = y;
    }
  }
}

// As a microphone's path does: 12 dB per octave below.
inline void high_pass(std::vector<double>& x, double rate, double corner) {
  const double pole = std::exp(-2.0 * std::numbers::pi * corner / rate);
  for (int stage = 0; stage < 2; ++stage) {
    double before = 0.0, y = 0.0;
    for (double& v : x) {
      y = pole * (y + v - before);
      before = v;
      v = y;
    }
  }
}

// Air and motor: noise that falls by 12 dB per octave above 500 Hz, and as strong the harmonics of
// 120 Hz, the k-th with the amplitude 1 / k.
inline void make_fan(std::vector<double>& x, double rate, double turn) {
  const double pole = std::exp(-2.0 * std::numbers::pi * 500.0 / rate);
  double first = 0.0, second = 0.0;
  for (double& v : x) {
    first += (1.0 - pole) * (v - first);
    second += (1.0 - pole) * (first - second);
    v = second;
  }
  scale_to(x, 0.0);
  std::vector<double> hum(x.size());
  for (int k = 1; k <= 12; ++k)
    for (size_t i = 0; i < hum.size(); ++i)
      hum[i] +=
          std::sin(2.0 * std::numbers::pi * (120.0 * k * double(i) / rate + turn * k * k)) / k;
  scale_to(hum, 0.0);
  for (size_t i = 0; i < x.size(); ++i) x[i] += hum[i];
}

inline std::vector<double> steady_noise(noise_kind kind, int rate, double seconds, double dbfs) {
  std::mt19937 generator(20u + static_cast<unsigned>(kind.kind));
  std::vector<double> x(static_cast<size_t>(seconds * rate));
  for (double& v : x) {
    for (int i = 0; i < 12; ++i) v += generator() / 4294967296.0;  // nearly Gaussian
    v -= 6.0;
  }
  if (kind.kind == noise_kind::pink || kind.kind == noise_kind::deep_pink) make_pink(x, rate);
  if (kind.kind == noise_kind::pink) high_pass(x, rate, 100.0);
  if (kind.kind == noise_kind::fan) make_fan(x, rate, 0.137);
  scale_to(x, dbfs);
  return x;
}

inline std::vector<short> to_pcm(const std::vector<double>& x) {
  std::vector<short> y(x.size());
  for (size_t i = 0; i < x.size(); ++i)
    y[i] = static_cast<short>(std::clamp(std::lround(x[i]), -32768L, 32767L));
  return y;
}
