// What the noise suppressor is measured on: steady noises from a fixed seed, and speech in them.
// Levels are those of the mean power, full scale (32768) being 0 dBFS.
#pragma once

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "howling/material.h"
#include "runs.h"

constexpr int kRates[] = {8000, 16000, 32000};

struct noise_kind {
  const char* name;
  enum { white, pink, fan, deep_pink } kind;
};
constexpr noise_kind kWhite = {"white", noise_kind::white};
constexpr noise_kind kPink = {"pink", noise_kind::pink};
constexpr noise_kind kFan = {"fan-like", noise_kind::fan};
constexpr noise_kind kDeepPink = {"pink from 20 Hz", noise_kind::deep_pink};
constexpr noise_kind kNoises[] = {kWhite, kPink, kFan};

inline double decibels(double power) { return 10.0 * std::log10(power + 1e-30); }

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

inline pcm to_pcm(const std::vector<double>& x) {
  pcm y(x.size());
  for (size_t i = 0; i < x.size(); ++i)
    y[i] = static_cast<short>(std::clamp(std::lround(x[i]), -32768L, 32767L));
  return y;
}

// Speech frames: 20 ms stretches, at most 40 dB below the loudest one.
struct speech_frames {
  size_t length = 0;
  std::vector<size_t> starts;
};

inline speech_frames find_speech(const std::vector<double>& clean, int rate) {
  speech_frames found{static_cast<size_t>(rate / 50), {}};
  std::vector<double> powers;
  for (size_t at = 0; at + found.length <= clean.size(); at += found.length) {
    double sum = 0.0;
    for (size_t i = at; i < at + found.length; ++i) sum += clean[i] * clean[i];
    powers.push_back(sum);
  }
  const double loudest = powers.empty() ? 0.0 : *std::max_element(powers.begin(), powers.end());
  for (size_t f = 0; f < powers.size(); ++f)
    if (powers[f] > loudest * 1e-4) found.starts.push_back(f * found.length);
  return found;
}

inline double speech_power(const std::vector<double>& x, const speech_frames& frames) {
  double sum = 0.0;
  for (const size_t at : frames.starts)
    for (size_t i = at; i < at + frames.length; ++i) sum += x[i] * x[i];
  return sum / std::max<double>(1.0, double(frames.starts.size()) * double(frames.length));
}

// A clip at a rate, its speech frames at a level, after kLead seconds without speech, in which a
// suppressor can learn the noise.
constexpr double kLead = 2.0;

struct spoken_clip {
  std::string name;
  std::vector<double> samples;
  speech_frames frames;
};

inline spoken_clip at_rate(const clip& source, int rate, double dbfs) {
  const double ratio = rate / kRate;
  signal out(static_cast<size_t>(static_cast<double>(source.samples.size()) * ratio) + 1);
  SRC_DATA data = {};
  data.data_in = source.samples.data();
  data.input_frames = static_cast<long>(source.samples.size());
  data.data_out = out.data();
  data.output_frames = static_cast<long>(out.size());
  data.src_ratio = ratio;
  if (src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1) != 0) {
    std::fprintf(stderr, "cannot convert the rate of '%s'\n", source.name.c_str());
    std::exit(2);
  }
  spoken_clip made{source.name, std::vector<double>(static_cast<size_t>(kLead * rate)), {}};
  made.samples.insert(made.samples.end(), out.begin(), out.begin() + data.output_frames_gen);
  made.frames = find_speech(made.samples, rate);
  const double gain =
      32768.0 * std::sqrt(std::pow(10.0, dbfs / 10.0) / speech_power(made.samples, made.frames));
  for (double& v : made.samples) v *= gain;
  return made;
}

// Noise beside a clip, at this distance below the speech frames' power.
inline std::vector<double> noise_beside(const spoken_clip& speech, noise_kind kind, int rate,
                                        double snr_db) {
  const double speech_dbfs =
      decibels(speech_power(speech.samples, speech.frames) / (32768.0 * 32768.0));
  auto x =
      steady_noise(kind, rate, double(speech.samples.size()) / rate + 0.1, speech_dbfs - snr_db);
  x.resize(speech.samples.size());
  return x;
}
