// Whether a change in a sound clicks or drops, by comparison with the sounds that stay as they are
// before, on the way and after.
//   step   the largest difference of two neighbouring samples, in parts of the steady sounds' largest
//   level  in any 20 ms, dB below the quietest of the steady sounds in the same 20 ms
// Each channel is compared on its own. What is quieter than kFloor (in the steady sound) is not
// compared.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "signals.h"

constexpr double kFloor = 1e-4;       // -80 dBFS
constexpr double kLargestStep = 1.1;  // times
constexpr double kPresetLevel = 6.0;  // dB, for one preset after another

// What an effect may drop, in dB. The speaker boost counts as one that turns the phase: its
// crossovers turn it by half a turn at 1 kHz against what a switched off slot passes.
inline double level_limit(const std::string& effect) {
  for (const char* level : {"balance", "volume", "compressor", "smart-volume"})
    if (effect == level) return 1.0;
  for (const char* tail : {"reverb", "echo", "stereo-widening", "headphones", "karaoke"})
    if (effect == tail) return 6.0;
  return 3.0;
}

struct finding {
  double step = 0.0, level = 0.0;  // times; dB
  std::string step_at, level_at;

  void take(const finding& other) {
    if (other.step > step) step = other.step, step_at = other.step_at;
    if (other.level > level) level = other.level, level_at = other.level_at;
  }
  bool holds(double limit) const { return step <= kLargestStep && level <= limit; }
};

inline double largest_step(const channel& x, size_t from) {
  float largest = 0.0f;
  for (size_t i = from; i < x.size(); ++i) largest = std::max(largest, std::abs(x[i] - x[i - 1]));
  return largest;
}

// Mean power of the 20 ms from each whole millisecond on.
inline std::vector<double> powers(const channel& x, size_t from, int rate) {
  const auto length = static_cast<size_t>(rate / 50), hop = static_cast<size_t>(rate / 1000);
  std::vector<double> sums(x.size() + 1), result;
  for (size_t i = 0; i < x.size(); ++i) sums[i + 1] = sums[i] + double(x[i]) * double(x[i]);
  for (size_t i = from; i + length <= x.size(); i += hop)
    result.push_back((sums[i + length] - sums[i]) / static_cast<double>(length));
  return result;
}

// The steady sounds, of which nothing is kept but their steps and lowest powers.
class steady_sounds {
 public:
  steady_sounds(size_t from, int rate) : from_(from), rate_(rate) {}

  void add(const stereo& sound) {
    for (size_t side = 0; side < 2; ++side) {
      step_[side] = std::max(step_[side], largest_step(sound[side], from_));
      std::vector<double> power = powers(sound[side], from_, rate_);
      if (!lowest_[side].empty())
        for (size_t k = 0; k < power.size(); ++k) power[k] = std::min(power[k], lowest_[side][k]);
      lowest_[side] = std::move(power);
    }
  }

  finding compare(const stereo& changed, const std::string& where) const {
    finding worst;
    worst.step_at = worst.level_at = where;
    for (size_t side = 0; side < 2; ++side) {
      worst.step = std::max(worst.step, largest_step(changed[side], from_) / step_[side]);
      const std::vector<double> power = powers(changed[side], from_, rate_);
      const std::vector<double>& lowest = lowest_[side];
      for (size_t k = 0; k < lowest.size(); ++k)
        if (lowest[k] > kFloor * kFloor)
          worst.level = std::max(worst.level, 10.0 * std::log10(lowest[k] / (power[k] + 1e-30)));
    }
    return worst;
  }

 private:
  const size_t from_;
  const int rate_;
  double step_[2] = {kFloor, kFloor};
  std::vector<double> lowest_[2];
};
