#include "aspects.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sonx {

namespace {

constexpr double kFrom = 20, kTo = 20000;  // Hz
constexpr int kPerOctave = 48;             // places

// Without the jumps from one turn to the next.
void unroll(std::vector<double>& phases) {
  double last = 0;
  for (double& phase : phases) {
    if (!std::isfinite(phase)) continue;
    phase -= 360 * std::round((phase - last) / 360);
    last = phase;
  }
}

double nearest(const std::vector<double>& x, const std::vector<double>& y, double place) {
  const auto above = std::lower_bound(x.begin(), x.end(), place);
  if (above == x.end()) return place > 2 * x.back() - x[x.size() - 2] ? NAN : y.back();
  const auto at = static_cast<size_t>(above - x.begin());
  return at > 0 && place - x[at - 1] < x[at] - place ? y[at - 1] : y[at];
}

bench::values look_up(const trace& measured, const std::vector<double>& places) {
  bench::values values;
  for (const double place : places) {
    values.left.push_back(nearest(measured.x, measured.left, place));
    values.right.push_back(nearest(measured.x, measured.right, place));
  }
  return values;
}

}  // namespace

const std::vector<aspect>& all_aspects() {
  static const std::vector<aspect> aspects = {
      {"level", "Magnitude", "level, dB", "dB", abscissa::frequency,
       "How much louder or softer each frequency leaves than it came."},
      {"phase", "Phase", "phase, degrees", "deg", abscissa::frequency,
       "How far each frequency is turned, the latency taken out."},
      {"delay", "Group delay", "group delay, ms", "ms", abscissa::frequency,
       "How much later than the latency each frequency arrives."},
      {"curve", "Level in, level out", "output, dBFS", "dBFS", abscissa::input_level,
       "The level that a steady tone settles at."},
      {"distortion", "Distortion", "harmonics, dB", "dB", abscissa::input_level,
       "The harmonics of a tone, together, below the tone: -40 dB is 1 %."},
      {"step", "Step", "output, dBFS", "dBFS", abscissa::step_time,
       "A tone that steps from -40 to -10 dBFS, and back after a second."},
      {"decay", "Decay", "level, dB", "dB", abscissa::decay_time,
       "What is left after noise has ended."}};
  return aspects;
}

const aspect& find_aspect(const std::string& id) {
  return *std::find_if(all_aspects().begin(), all_aspects().end(),
                       [&](const aspect& one) { return one.id == id; });
}

std::string name_of(abscissa over) {
  switch (over) {
    case abscissa::frequency:
      return "frequency, Hz";
    case abscissa::input_level:
      return "input, dBFS";
    default:
      return "time, s";
  }
}

std::vector<double> frequencies_around_1_khz(int per_octave, int rate) {
  const double highest = std::min(kTo * 1.02, 0.47 * rate);
  std::vector<double> frequencies;
  for (int i = static_cast<int>(std::ceil(per_octave * std::log2(kFrom / 1000) - 0.5));; ++i) {
    const double hertz = 1000 * std::exp2(static_cast<double>(i) / per_octave);
    if (hertz > highest) return frequencies;
    frequencies.push_back(hertz);
  }
}

bench::bench(device device, const bench_settings& settings)
    : device_(std::move(device)),
      settings_(settings),
      tone_{settings.rate, settings.hertz, settings.input} {}

const response& bench::swept() const {
  if (!response_)
    response_ = measure_response({settings_.rate, settings_.level, settings_.input}, device_);
  return *response_;
}

const tone_ladder& bench::ladder() const {
  if (!ladder_) ladder_ = measure_ladder(tone_, device_);
  return *ladder_;
}

const trace& bench::stepped() const {
  if (!step_) step_ = measure_step(tone_, device_);
  return *step_;
}

const trace& bench::decay() const {
  if (!decay_) decay_ = measure_decay(tone_, device_);
  return *decay_;
}

std::vector<double> bench::places(const aspect& of) const {
  switch (of.over) {
    case abscissa::frequency:
      return frequencies_around_1_khz(kPerOctave, settings_.rate);
    case abscissa::input_level:
      return ladder().levels.x;
    case abscissa::step_time:
      return stepped().x;
    default:
      return decay().x;
  }
}

bench::values bench::look(const aspect& of, const std::vector<double>& places,
                          int smoothing) const {
  const std::string id = of.id;
  if (id == "curve") return look_up(ladder().levels, places);
  if (id == "distortion") return look_up(ladder().distortion, places);
  if (id == "step") return look_up(stepped(), places);
  if (id == "decay") return look_up(decay(), places);
  values seen;
  for (const double hertz : places) {
    const auto [left, right] = id == "phase"   ? swept().phase(hertz)
                               : id == "delay" ? swept().delay(hertz)
                                               : swept().level(hertz, smoothing);
    seen.left.push_back(left);
    seen.right.push_back(right);
  }
  return seen;
}

bench::values bench::curve(const aspect& of, int smoothing) const {
  values seen = look(of, places(of), smoothing);
  if (std::string(of.id) == "phase") {
    unroll(seen.left);
    unroll(seen.right);
  }
  return seen;
}

// Half of all places lie off the mean around them by more than half a dB.
bool bench::combed() const {
  std::vector<double> off;
  for (const double hertz : frequencies_around_1_khz(kPerOctave, settings_.rate)) {
    const auto [left, right] = swept().level(hertz, 0);
    const auto [left_mean, right_mean] = swept().level(hertz, kEarSmoothing);
    off.push_back(std::max(std::abs(left - left_mean), std::abs(right - right_mean)));
  }
  std::nth_element(off.begin(), off.begin() + off.size() / 2, off.end());
  return off[off.size() / 2] > 0.5;
}

bool bench::linear() const {
  constexpr double kFrom = -70, kTo = -10, kSame = 0.1, kDistortion = -60;
  const tone_ladder& measured = ladder();
  for (const auto& [levels, distortion] :
       {std::pair{&measured.levels.left, &measured.distortion.left},
        {&measured.levels.right, &measured.distortion.right}}) {
    double least = INFINITY, most = -INFINITY;
    for (size_t i = 0; i < measured.levels.x.size(); ++i) {
      const double x = measured.levels.x[i];
      if (x < kFrom || x > kTo || !std::isfinite((*levels)[i])) continue;
      least = std::min(least, (*levels)[i] - x);
      most = std::max(most, (*levels)[i] - x);
      if (x > -40 && (*distortion)[i] > kDistortion) return false;
    }
    if (most - least > kSame) return false;
  }
  return true;
}

int usual_smoothing(const std::vector<bench>& benches) {
  const bool combed =
      std::any_of(benches.begin(), benches.end(), [](const bench& one) { return one.combed(); });
  return combed ? kEarSmoothing : 0;
}

bool sides_differ(const bench::values& values, double deepest) {
  const auto [low, high] = std::minmax_element(values.left.begin(), values.left.end());
  const double bottom = std::max(*low, *high - deepest);
  double most = 0.0, power = 0.0;
  for (size_t i = 0; i < values.left.size(); ++i) {
    const double apart = std::max(values.left[i], bottom) - std::max(values.right[i], bottom);
    most = std::max(std::abs(apart), most);
    power += apart * apart;
  }
  const double mean = std::sqrt(power / static_cast<double>(values.left.size()));
  return most > 0.05 && mean > 0.015 * (*high - bottom);
}

plot_panel make_panel(const aspect& of, const std::vector<bench>& benches, int smoothing) {
  plot_panel panel;
  panel.x_name = name_of(of.over);
  panel.y_name = of.value;
  panel.frequencies = of.over == abscissa::frequency;
  panel.decibels = std::string(of.unit).starts_with("dB");
  panel.deepest = of.over == abscissa::input_level ? 130 : 80;
  panel.zero = of.over == abscissa::frequency || of.over == abscissa::decay_time;
  for (size_t i = 0; i < benches.size(); ++i) {
    const std::vector<double> places = benches[i].places(of);
    const bench::values values = benches[i].curve(of, smoothing);
    panel.lines.push_back({places, values.left, i, false});
    if (sides_differ(values, panel.deepest)) panel.lines.push_back({places, values.right, i, true});
  }
  return panel;
}

}  // namespace sonx
