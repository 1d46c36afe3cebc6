// The closed loop: voice + room feedback -> microphone -> canceller -> amplifier that saturates ->
// loudspeaker -> room. One period of 5 ms passes between microphone and loudspeaker.
#pragma once

#include <algorithm>
#include <memory>

#include "ktv/frequency_shifter.h"
#include "ktv/howling_cancel.h"
#include "room.h"

constexpr double kFullScaleWord = 8388607.0;
constexpr int kPeriodsPerSecond = 200;

inline double db(double power) { return 10.0 * std::log10(power + 1e-20); }

// The loop without a canceller grows where it turns by whole circles with a gain above 1: the
// greatest gain, in dB, at which it does not.
inline double unprotected_limit_db(const signal& response) {
  constexpr size_t kPoints = 131072;
  const auto h = spectrum_of(response, kPoints);
  double largest = 0.0;
  std::complex<double> before = 0.0;
  for (size_t k = 0; k < h.size(); ++k) {
    const double angle = -2.0 * std::numbers::pi * static_cast<double>(k) * kPeriod / kPoints;
    const auto now = std::complex<double>(h[k]) * std::polar(1.0, angle);
    if (k > 0 && (before.imag() < 0) != (now.imag() < 0)) {
      const double t = before.imag() / (before.imag() - now.imag());
      largest = std::max(largest, before.real() + t * (now.real() - before.real()));
    }
    before = now;
  }
  return -20.0 * std::log10(largest);
}

// Five notches that know the room, each so many sixteenths of its frequency wide and on what is the
// loudest frequency then: by how much the largest loop gain falls.
inline double ideal_static_db(const signal& room, double sixteenths) {
  constexpr size_t kPoints = 65536;
  auto h = spectrum_of(room, kPoints);
  double first = 0.0;
  for (int placed = 0;; ++placed) {
    size_t at = 0;
    for (size_t k = 0; k < h.size(); ++k)
      if (std::abs(h[k]) > std::abs(h[at])) at = k;
    const double largest = 20.0 * std::log10(std::abs(h[at]));
    if (placed == 0) first = largest;
    if (placed == 5) return first - largest;
    const double w = 2.0 * std::numbers::pi * static_cast<double>(at) / kPoints;
    const double r = 1.0 - w * sixteenths / 32.0, f = -2.0 * std::cos(w);
    for (size_t k = 0; k < h.size(); ++k) {
      const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(k) / kPoints);
      h[k] *= std::complex<float>((1.0 + f * z1 + z1 * z1) / (1.0 + r * f * z1 + r * r * z1 * z1));
    }
  }
}

struct protection {
  int shift_hz = 0;
  bool automatic = false, last_resort = false;
  bool notches = true;
};

// A canceller with its lifetime.
class canceller {
 public:
  explicit canceller(const protection& wanted = {}) : wanted_(wanted) {
    howling_canceling_init(&record_);
    howling_canceling_set_shift(&record_, wanted.shift_hz);
    howling_canceling_set_shift_mode(&record_, wanted.automatic);
    howling_canceling_set_last_resort(&record_, wanted.last_resort);
  }
  ~canceller() { howling_canceling_end(&record_); }
  canceller(const canceller&) = delete;
  canceller& operator=(const canceller&) = delete;

  void run(int* x, int n) {
    if (wanted_.notches)
      howling_canceling_process(&record_, x, x, n);
    else
      shift_block(record_.shifter, wanted_.shift_hz * kStepsPerHertz[SAMPLE_RATE_48000], true, x,
                  n);
  }

  int active() const {
    int count = 0;
    for (const howling_place& p : record_.places) count += p.depth > 0;
    return count;
  }

  // Gain of the five notches at a frequency as they stand now.
  std::complex<double> gain(double frequency) const {
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
    std::complex<double> product = 1.0;
    for (int i = 0; i < 5; ++i) {
      const double g = record_.places[i].depth / 1048576.0;
      const double r = record_.notches[i].radius / 8192.0;
      const double f = record_.notches[i].freq / 268435456.0;
      const auto n = (1.0 + f * z1 + z1 * z1) / (1.0 + r * f * z1 + r * r * z1 * z1);
      product *= 1.0 - g + g * n;
    }
    return product;
  }
  const howlingCancel& record() const { return record_; }

 private:
  protection wanted_;
  howlingCancel record_;
};

struct loop_trace {
  std::vector<double> level_db;  // of the loudspeaker, per 20 ms, re full scale
  signal loudspeaker;            // if kept
};

// Periods run one by one, so that a scenario may change anything in between.
class closed_loop {
 public:
  explicit closed_loop(const signal& response) : path_(std::make_unique<convolver>(response)) {}
  // alike: both paths share their reflections, so that what the blend gives of each adds up; else
  // their powers do.
  closed_loop(const signal& first, const signal& second, bool alike = false)
      : path_(std::make_unique<convolver>(first)),
        other_(std::make_unique<convolver>(second)),
        alike_(alike) {}

  // gain_db is the amplifier's; blend leads from the first response (0) to the second (1).
  void period(const float* voice, canceller* stage, double gain_db, double blend = 0.0) {
    float feedback[kPeriod], second[kPeriod];
    path_->run(speaker_, feedback);
    if (other_) {
      other_->run(speaker_, second);
      const auto a =
          static_cast<float>(alike_ ? 1.0 - blend : std::cos(blend * std::numbers::pi / 2));
      const auto b = static_cast<float>(alike_ ? blend : std::sin(blend * std::numbers::pi / 2));
      for (int i = 0; i < kPeriod; ++i) feedback[i] = a * feedback[i] + b * second[i];
    }
    int x[kPeriod];
    for (int i = 0; i < kPeriod; ++i)
      x[i] = static_cast<int>(
          std::clamp((voice[i] + feedback[i]) * kFullScaleWord, -kFullScaleWord, kFullScaleWord));
    if (stage) stage->run(x, kPeriod);
    const double gain = std::pow(10.0, gain_db / 20.0) / kFullScaleWord;
    for (int i = 0; i < kPeriod; ++i) {
      clipped += std::abs(x[i] * gain) >= 1.0;
      speaker_[i] = static_cast<float>(std::clamp(x[i] * gain, -1.0, 1.0));
      power_ += double(speaker_[i]) * speaker_[i];
    }
    if (keep) trace.loudspeaker.insert(trace.loudspeaker.end(), speaker_, speaker_ + kPeriod);
    if (++periods_ % 4 == 0) {
      trace.level_db.push_back(db(power_ / (4 * kPeriod)));
      power_ = 0.0;
    }
  }

  const float* loudspeaker() const { return speaker_; }  // the latest period

  loop_trace trace;
  bool keep = false;
  int clipped = 0;  // samples

 private:
  std::unique_ptr<convolver> path_, other_;
  bool alike_ = false;
  float speaker_[kPeriod] = {};
  double power_ = 0.0;
  int periods_ = 0;
};
