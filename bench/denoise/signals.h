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

inline std::vector<double> resampled(const signal& source, int rate) {
  const double ratio = rate / kRate;
  signal out(static_cast<size_t>(static_cast<double>(source.size()) * ratio) + 1);
  SRC_DATA data = {};
  data.data_in = source.data();
  data.input_frames = static_cast<long>(source.size());
  data.data_out = out.data();
  data.output_frames = static_cast<long>(out.size());
  data.src_ratio = ratio;
  if (src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1) != 0) {
    std::fprintf(stderr, "cannot convert a clip's rate\n");
    std::exit(2);
  }
  return {out.begin(), out.begin() + data.output_frames_gen};
}

inline spoken_clip at_rate(const clip& source, int rate, double dbfs) {
  spoken_clip made{source.name, std::vector<double>(static_cast<size_t>(kLead * rate)), {}};
  const std::vector<double> voice = resampled(source.samples, rate);
  made.samples.insert(made.samples.end(), voice.begin(), voice.end());
  made.frames = find_speech(made.samples, rate);
  const double gain =
      32768.0 * std::sqrt(std::pow(10.0, dbfs / 10.0) / speech_power(made.samples, made.frames));
  for (double& v : made.samples) v *= gain;
  return made;
}

// What a voice stands in: the steady noises, and two that aren't.
struct background {
  const char* name;
  std::vector<double> (*make)(int rate, double seconds, double dbfs);
};

// Traffic: a rumble below 200 Hz that stays, and cars, each some four seconds long, one every three
// seconds on average, of wider noise below 1 kHz that swells and falls; the loudest are 20 dB above
// the faintest.
inline std::vector<double> street_noise(int rate, double seconds, double dbfs) {
  std::vector<double> rumble = steady_noise(kWhite, rate, seconds, 0.0);
  std::vector<double> tyres = steady_noise(kPink, rate, seconds + 1.0, 0.0);  // another stretch
  tyres.erase(tyres.begin(), tyres.begin() + rate / 2);
  tyres.resize(rumble.size());
  const auto low_pass = [&](std::vector<double>& x, double corner) {
    const double pole = std::exp(-2.0 * std::numbers::pi * corner / rate);
    double y = 0.0;
    for (double& v : x) v = y += (1.0 - pole) * (v - y);
  };
  low_pass(rumble, 200.0);
  low_pass(rumble, 200.0);
  low_pass(tyres, 1000.0);
  scale_to(rumble, 0.0);
  scale_to(tyres, 0.0);
  std::mt19937 generator(31);
  const auto roll = [&] { return generator() / 4294967296.0; };
  std::vector<double> level(rumble.size(), 0.2);
  for (double at = -2.0; at < seconds + 2.0; at += 1.0 + 4.0 * roll()) {
    const double height = std::pow(10.0, roll()), width = 0.6 + 0.8 * roll();
    for (size_t i = 0; i < level.size(); ++i) {
      const double t = (double(i) / rate - at) / width;
      level[i] += height * std::exp(-0.5 * t * t);
    }
  }
  for (size_t i = 0; i < rumble.size(); ++i) rumble[i] = 3.0 * rumble[i] + level[i] * tyres[i];
  scale_to(rumble, dbfs);
  return rumble;
}

// Sixteen talkers: the clips of speech(), each from four places on, as loud as each other.
inline std::vector<double> babble_noise(int rate, double seconds, double dbfs) {
  static const std::vector<clip> talkers = speech();
  std::vector<double> x(static_cast<size_t>(seconds * rate));
  std::mt19937 generator(32);
  for (const clip& talker : talkers) {
    std::vector<double> voice = resampled(talker.samples, rate);
    scale_to(voice, 0.0);
    for (int i = 0; i < 4; ++i) {
      const size_t start = generator() % voice.size();
      for (size_t n = 0; n < x.size(); ++n) x[n] += voice[(start + n) % voice.size()];
    }
  }
  scale_to(x, dbfs);
  return x;
}

template <const noise_kind& kind>
std::vector<double> steady_background(int rate, double seconds, double dbfs) {
  return steady_noise(kind, rate, seconds, dbfs);
}
constexpr background kBackgrounds[] = {{"white", steady_background<kWhite>},
                                       {"pink", steady_background<kPink>},
                                       {"fan-like", steady_background<kFan>},
                                       {"street-like", street_noise},
                                       {"babble-like", babble_noise}};

// Noise beside a clip, at this distance below the speech frames' power.
inline std::vector<double> noise_beside(const spoken_clip& speech, const background& noise,
                                        int rate, double snr_db) {
  const double speech_dbfs =
      decibels(speech_power(speech.samples, speech.frames) / (32768.0 * 32768.0));
  auto x = noise.make(rate, double(speech.samples.size()) / rate + 0.1, speech_dbfs - snr_db);
  x.resize(speech.samples.size());
  return x;
}
