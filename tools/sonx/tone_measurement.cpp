#include "tone_measurement.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "measure.h"

namespace sonx {

namespace {

constexpr double kSettle = 4;                               // s
constexpr int kLowestLevel = -80, kLevelStep = 2;           // dBFS, of the ladder
constexpr int kHarmonics = 10;                              // the tone itself is the first
constexpr double kFaintest = 1e-6;                          // an amplitude that isn't measured
constexpr double kLow = -40, kHigh = -10;                   // dBFS, of the step
constexpr double kBefore = 0.1, kUp = 1, kAfter = 2;        // s, of a step
constexpr double kNoiseSeconds = 2, kDecaySeconds = 6;      // s
constexpr double kNoiseLevel = -20;                         // dBFS of its peaks
constexpr double kStepWindow = 0.002, kDecayWindow = 0.01;  // s

struct stereo {
  std::vector<double> left, right;
};

// What comes of the frames from..until of sample(0), sample(1), ..
template <typename Signal>
stereo feed(const tone& how, const device& device, Signal sample, int64_t from, int64_t until) {
  const block_process process = device.start();
  std::vector<float> in(2 * kBlock), out(2 * kBlock);
  stereo result;
  for (int64_t n = 0; n < until; n += static_cast<int64_t>(kBlock)) {
    for (size_t i = 0; i < kBlock; ++i) {
      const auto value = static_cast<float>(sample(n + static_cast<int64_t>(i)));
      in[2 * i] = how.input == "right" ? 0 : value;
      in[2 * i + 1] = how.input == "left" ? 0 : value;
    }
    process(in, out);
    for (size_t i = 0; i < kBlock; ++i) {
      const int64_t at = n + static_cast<int64_t>(i);
      if (at < from || at >= until) continue;
      result.left.push_back(double{out[2 * i]});
      result.right.push_back(double{out[2 * i + 1]});
    }
  }
  return result;
}

int64_t frames_of(double seconds, int rate) { return std::llround(seconds * rate); }

// A second of the tone, which then repeats.
class sine {
 public:
  explicit sine(const tone& how) : table_(static_cast<size_t>(how.rate)) {
    for (size_t i = 0; i < table_.size(); ++i)
      table_[i] = std::sin(2 * std::numbers::pi * how.hertz * static_cast<double>(i) / how.rate);
  }
  double operator()(int64_t frame) const {
    return table_[static_cast<size_t>(frame) % table_.size()];
  }

 private:
  std::vector<double> table_;
};

// Of a frequency, in a second of samples.
double amplitude(const std::vector<double>& second, int hertz) {
  const auto rate = static_cast<double>(second.size());
  const auto step = std::polar(1.0, 2 * std::numbers::pi * hertz / rate);
  std::complex<double> turn = 1, sum = 0;
  for (const double sample : second) {
    sum += sample * turn;
    turn *= step;
  }
  return 2 * std::abs(sum) / rate;
}

double distortion_of(const std::vector<double>& second, int hertz, double fundamental) {
  double power = 0;
  for (int k = 2; k <= kHarmonics && 2 * k * hertz < static_cast<int>(second.size()); ++k)
    power += std::pow(amplitude(second, k * hertz), 2);
  return power > 0 ? 10 * std::log10(power) - to_decibels(fundamental) : NAN;
}

// Power of windows that begin at multiples of their length, in dB; `rest` is what isn't sound.
std::vector<double> levels_of(const std::vector<double>& samples, size_t window, double rest) {
  std::vector<double> levels;
  for (size_t at = 0; at + window <= samples.size(); at += window) {
    double power = 0;
    for (size_t i = 0; i < window; ++i) power += std::pow(samples[at + i] - rest, 2);
    levels.push_back(10 * std::log10(power / static_cast<double>(window)));
  }
  return levels;
}

double mean(const std::vector<double>& values, size_t from) {
  double sum = 0;
  for (size_t i = from; i < values.size(); ++i) sum += values[i];
  return sum / static_cast<double>(values.size() - from);
}

std::vector<double> middles(size_t count, double first, double window) {
  std::vector<double> seconds;
  for (size_t i = 0; i < count; ++i)
    seconds.push_back(first + (static_cast<double>(i) + 0.5) * window);
  return seconds;
}

// Cuts a decay off where its sound has gone.
void end_in_silence(trace& decay) {
  constexpr double kSilence = -90, kShortest = 0.5;
  size_t count = decay.x.size();
  while (count > 1 && decay.left[count - 1] < kSilence && decay.right[count - 1] < kSilence &&
         decay.x[count - 2] > kShortest)
    --count;
  for (auto* values : {&decay.x, &decay.left, &decay.right}) values->resize(count);
}

}  // namespace

tone_ladder measure_ladder(const tone& how, const device& device) {
  tone_ladder ladder;
  const sine wave(how);
  const int64_t settled = frames_of(kSettle, how.rate);
  for (int level = kLowestLevel; level <= 0; level += kLevelStep) {
    const double volume = std::pow(10, level / 20.0);
    const stereo out = feed(
        how, device, [&](int64_t n) { return volume * wave(n); }, settled, settled + how.rate);
    for (trace* one : {&ladder.levels, &ladder.distortion}) one->x.push_back(level);
    const auto add = [&](const std::vector<double>& side, std::vector<double>& levels,
                         std::vector<double>& distortion) {
      const double fundamental = amplitude(side, how.hertz);
      const bool heard = fundamental > kFaintest;
      levels.push_back(heard ? to_decibels(fundamental) : NAN);
      distortion.push_back(heard ? distortion_of(side, how.hertz, fundamental) : NAN);
    };
    add(out.left, ladder.levels.left, ladder.distortion.left);
    add(out.right, ladder.levels.right, ladder.distortion.right);
  }
  return ladder;
}

trace measure_step(const tone& how, const device& device) {
  const sine wave(how);
  const int64_t up = frames_of(kSettle, how.rate), down = up + frames_of(kUp, how.rate);
  const double low = std::pow(10, kLow / 20), high = std::pow(10, kHigh / 20);
  const stereo out = feed(
      how, device, [&](int64_t n) { return (n >= up && n < down ? high : low) * wave(n); },
      up + device.latency - frames_of(kBefore, how.rate),
      down + device.latency + frames_of(kAfter, how.rate));
  const auto window = static_cast<size_t>(frames_of(kStepWindow, how.rate));
  trace step;
  step.left = levels_of(out.left, window, 0);
  step.right = levels_of(out.right, window, 0);
  for (auto* side : {&step.left, &step.right})
    for (double& level : *side) level += 10 * std::log10(2.0);  // a full sine is 0 dBFS
  step.x = middles(step.left.size(), -kBefore, static_cast<double>(window) / how.rate);
  return step;
}

trace measure_decay(const tone& how, const device& device) {
  const int64_t end = frames_of(kNoiseSeconds, how.rate);
  std::mt19937 random(1);
  const double volume = std::pow(10, kNoiseLevel / 20) / 0x1p31;
  const int64_t begin = end + device.latency - frames_of(kBefore, how.rate);
  const stereo out = feed(
      how, device, [&](int64_t n) { return n < end ? volume * (double(random()) - 0x1p31) : 0.0; },
      begin, end + device.latency + frames_of(kDecaySeconds, how.rate));
  const auto window = static_cast<size_t>(frames_of(kDecayWindow, how.rate));
  const auto before = static_cast<size_t>(kBefore / kDecayWindow);
  trace decay;
  const auto measure = [&](const std::vector<double>& side) {
    const double rest = mean(side, side.size() - window * 10);
    std::vector<double> levels = levels_of(side, window, rest);
    double sounding = 0;
    for (size_t i = 0; i < before; ++i) sounding += std::pow(10, levels[i] / 10);
    sounding = 10 * std::log10(sounding / static_cast<double>(before));
    for (double& level : levels) level -= sounding;
    return levels;
  };
  decay.left = measure(out.left);
  decay.right = measure(out.right);
  decay.x = middles(decay.left.size(), -kBefore, static_cast<double>(window) / how.rate);
  end_in_silence(decay);
  return decay;
}

double time_above(const trace& decay, double level) {
  for (size_t i = decay.x.size(); i-- > 0;)
    if (decay.left[i] > level || decay.right[i] > level)
      return i + 1 == decay.x.size() ? -1 : std::max(decay.x[i + 1], 0.0);
  return 0;
}

}  // namespace sonx
