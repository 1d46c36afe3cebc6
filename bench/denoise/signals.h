// What the noise suppressor is measured on: steady noises, and speech in them. Levels are those of
// the mean power, full scale (32768) being 0 dBFS.
#pragma once

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "howling/material.h"
#include "runs.h"
#include "support/steady_noise.h"

constexpr int kRates[] = {8000, 16000, 32000};

inline double decibels(double power) { return 10.0 * std::log10(power + 1e-30); }

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
