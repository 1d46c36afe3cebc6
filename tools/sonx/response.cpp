// sonx response: the magnitude response of a setting, measured on the library itself.
//
// The effect is fed an exponential sine sweep that repeats without a break, as 24-bit samples. The
// first period carries it through its start-up fade and lets every level follower settle; the
// second is measured. As input and output are then periodic, the ratio of their spectra is the
// response exactly, for any linear setting. Its inverse transform is the impulse response; harmonic
// distortion of an exponential sweep lies in that at negative times (A. Farina, "Simultaneous
// measurement of impulse response and distortion with a swept-sine technique", 2000) and is cut
// away with the second half of the period.
#include <kiss_fftr.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include <hp/sonx_hp_effect.h>

#include "commands.h"
#include "formats.h"
#include "measure.h"
#include "pending_file.h"
#include "render.h"
#include "settings.h"
#include "svg_plot.h"

namespace sonx {

namespace {

constexpr size_t kLength = 1 << 19;  // samples of the sweep: 11 s
constexpr size_t kPeriod = 512;      // divides kLength
constexpr double kSweepFrom = 10;    // Hz
constexpr double kPlotFrom = 20;
constexpr double kPlotTo = 20000;
constexpr int kPlotPerOctave = 48;

const char* const kFooter =
    R"(Measured by running a repeating 11 s sine sweep through the library and comparing
the spectra; the effect's start-up is over before the measurement begins. The
level matters where an effect follows it: the default stays clear of the limiter.

Examples:
  sonx response --effect eq --eq 6,0,0,0,0,-6 --svg eq.svg
  sonx response --adapter 1 --rate 44100 --csv adapter1.csv
  sonx response --effect widening --input left)";

struct response_options {
  effect_options effect;
  int rate = 48000;
  double level = -30;  // dBFS, of the sweep
  std::string input = "both";
  int smoothing = -1;
  std::string svg;
  std::string csv;
};

using spectrum = std::vector<std::complex<double>>;  // bins 0 .. kLength / 2

struct fft_deleter {
  void operator()(kiss_fftr_state* state) const { kiss_fftr_free(state); }
};
using fft_plan = std::unique_ptr<kiss_fftr_state, fft_deleter>;

fft_plan make_plan(bool inverse) {
  fft_plan plan(kiss_fftr_alloc(static_cast<int>(kLength), inverse ? 1 : 0, nullptr, nullptr));
  if (!plan) throw std::runtime_error("no memory for the transform");
  return plan;
}

spectrum transform(const std::vector<float>& signal) {
  std::vector<kiss_fft_cpx> bins(kLength / 2 + 1);
  kiss_fftr(make_plan(false).get(), signal.data(), bins.data());
  spectrum result(bins.size());
  for (size_t k = 0; k < bins.size(); ++k) result[k] = {bins[k].r, bins[k].i};
  return result;
}

std::vector<float> make_sweep(int rate, double amplitude) {
  const double to = 0.49 * rate;
  const double rise = std::log(to / kSweepFrom);
  const double seconds = static_cast<double>(kLength) / rate;
  std::vector<float> sweep(kLength);
  for (size_t i = 0; i < kLength; ++i) {
    const double t = static_cast<double>(i) / kLength;
    const double turns = kSweepFrom * seconds / rise * (std::exp(t * rise) - 1);
    sweep[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns));
  }
  return sweep;
}

struct stereo_signal {
  std::vector<float> left;
  std::vector<float> right;
};

// Two periods of the sweep through the effect; what the second gave. The sweep itself becomes what
// the effect received, with its rounding.
stereo_signal run_effect(const response_options& options, const audio_effect_control_acdb_t& record,
                         std::vector<float>& sweep) {
  hp_effect effect(options.rate, SONX_FORMAT_24_IN_32);
  effect.set(record);
  period_buffer period(SONX_FORMAT_24_IN_32, kPeriod);
  std::vector<float> samples(period.samples());
  std::vector<int32_t> words(period.samples());
  stereo_signal out{std::vector<float>(kLength), std::vector<float>(kLength)};
  for (size_t n = 0; n < 2 * kLength; n += kPeriod) {
    const size_t at = n % kLength;
    for (size_t i = 0; i < kPeriod; ++i) {
      samples[2 * i] = options.input == "right" ? 0 : sweep[at + i];
      samples[2 * i + 1] = options.input == "left" ? 0 : sweep[at + i];
    }
    period.encode(samples.data());
    if (n >= kLength) {
      period.decode(samples.data(), words.data());
      for (size_t i = 0; i < kPeriod; ++i) {
        sweep[at + i] = samples[2 * i + (options.input == "right" ? 1 : 0)];
      }
    }
    effect.process(period.data(), period.bytes());
    period.decode(samples.data(), words.data());
    for (size_t i = 0; i < kPeriod; ++i) {
      out.left[at + i] = samples[2 * i];
      out.right[at + i] = samples[2 * i + 1];
    }
  }
  return out;
}

// Power |H|^2 per bin.
std::vector<double> measure_power(const spectrum& in, const std::vector<float>& out) {
  const spectrum ys = transform(out);
  double strongest = 0;
  for (const auto& x : in) strongest = std::max(strongest, std::norm(x));
  const double floor = 1e-9 * strongest;  // outside the sweep, nothing is measured
  std::vector<kiss_fft_cpx> ratio(ys.size());
  for (size_t k = 0; k < ys.size(); ++k) {
    const std::complex<double> h = ys[k] * std::conj(in[k]) / (std::norm(in[k]) + floor);
    ratio[k] = {static_cast<float>(h.real()), static_cast<float>(h.imag())};
  }
  std::vector<float> impulse(kLength);
  kiss_fftri(make_plan(true).get(), ratio.data(), impulse.data());
  std::fill(impulse.begin() + kLength / 2, impulse.end(), 0.0f);  // distortion
  const spectrum response = transform(impulse);
  std::vector<double> power(response.size());
  const double scale = 1.0 / (static_cast<double>(kLength) * static_cast<double>(kLength));
  for (size_t k = 0; k < power.size(); ++k) power[k] = std::norm(response[k]) * scale;
  return power;
}

// Level at a frequency: interpolated between bins, or with `smoothing` > 0 the mean power over
// 1/smoothing octave around it.
double level_at(const std::vector<double>& power, int rate, double hertz, int smoothing) {
  const double bin = hertz * kLength / rate;
  const double half = smoothing > 0 ? std::exp2(0.5 / smoothing) : 1;
  const auto first = static_cast<size_t>(std::ceil(bin / half));
  const auto last = std::min(static_cast<size_t>(bin * half), power.size() - 1);
  if (smoothing <= 0 || last < first + 1) {
    const auto below = static_cast<size_t>(bin);
    const double part = bin - static_cast<double>(below);
    return 10 * std::log10((1 - part) * power[below] + part * power[below + 1]);
  }
  double sum = 0;
  for (size_t k = first; k <= last; ++k) sum += power[k];
  return 10 * std::log10(sum / static_cast<double>(last - first + 1));
}

struct curves {
  std::vector<double> frequencies;
  std::vector<double> left;   // dB
  std::vector<double> right;  // dB
};

// Around 1 kHz, the centre of the third-octave series.
curves sample_curves(const std::vector<double>& left, const std::vector<double>& right, int rate,
                     int per_octave, int smoothing) {
  curves result;
  const int lowest = static_cast<int>(std::ceil(per_octave * std::log2(kPlotFrom / 1000) - 0.5));
  for (int i = lowest;; ++i) {
    const double hertz = 1000 * std::exp2(static_cast<double>(i) / per_octave);
    if (hertz > kPlotTo * 1.02) break;
    result.frequencies.push_back(hertz);
    result.left.push_back(level_at(left, rate, hertz, smoothing));
    result.right.push_back(level_at(right, rate, hertz, smoothing));
  }
  return result;
}

void run(const response_options& options) {
  const effect_settings settings = options.effect.settings();
  const audio_effect_control_acdb_t record = settings.record();
  std::vector<float> sweep = make_sweep(options.rate, std::pow(10, options.level / 20));
  const stereo_signal out = run_effect(options, record, sweep);
  const spectrum in = transform(sweep);
  const auto left = measure_power(in, out.left);
  const auto right = measure_power(in, out.right);

  // Delays and reverberation comb the response; a twelfth of an octave shows what the ear makes of
  // it.
  const bool combed =
      record.effect_type == SONX_EFFECT_STEREO_WIDENING || record.effect_type == SONX_EFFECT_REVERB;
  const int smoothing = options.smoothing >= 0 ? options.smoothing : combed ? 12 : 0;
  char note[200];
  std::snprintf(
      note, sizeof note, "%d Hz, sweep at %g dBFS into %s, %s", options.rate, options.level,
      options.input == "both" ? "both channels" : (options.input + " only").c_str(),
      smoothing > 0 ? ("power averaged over 1/" + std::to_string(smoothing) + " octave").c_str()
                    : "unsmoothed");
  std::printf("%s\n%s\n\n%9s %8s %8s\n", settings.describe().c_str(), note, "Hz", "left dB",
              "right dB");
  const curves table = sample_curves(left, right, options.rate, 3, smoothing);
  for (size_t i = 0; i < table.frequencies.size(); ++i) {
    std::printf("%9.1f %8.2f %8.2f\n", table.frequencies[i], table.left[i], table.right[i]);
  }
  if (options.svg.empty() && options.csv.empty()) return;

  const curves fine = sample_curves(left, right, options.rate, kPlotPerOctave, smoothing);
  if (!options.svg.empty()) {
    write_text_file(options.svg, ".svg",
                    draw_svg({settings.describe(), note, fine.frequencies, fine.left, fine.right}));
  }
  if (!options.csv.empty()) {
    std::string text = "frequency_hz,left_db,right_db\n";
    for (size_t i = 0; i < fine.frequencies.size(); ++i) {
      char line[96];
      std::snprintf(line, sizeof line, "%.2f,%.3f,%.3f\n", fine.frequencies[i], fine.left[i],
                    fine.right[i]);
      text += line;
    }
    write_text_file(options.csv, ".csv", text);
  }
}

}  // namespace

void add_response_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "response", "measure the magnitude response of a headphone setting, and plot it");
  auto options = std::make_shared<response_options>();
  command->footer(kFooter);
  options->effect.add_to(*command);
  command->add_option("--rate", options->rate, "sample rate in Hz")
      ->check(CLI::IsMember({44100, 48000}))
      ->capture_default_str();
  command->add_option("--level", options->level, "level of the sweep in dBFS")
      ->check(CLI::Range(-90.0, 0.0))
      ->capture_default_str();
  command->add_option("--input", options->input, "channels that get the sweep")
      ->check(CLI::IsMember({"both", "left", "right"}))
      ->capture_default_str();
  command
      ->add_option("--smooth", options->smoothing,
                   "average over 1/N octave, 0 for none; without it 12 for effects widening "
                   "and reverb, else none")
      ->type_name("N")
      ->check(CLI::Range(0, 48));
  command->add_option("--svg", options->svg, "picture to write");
  command->add_option("--csv", options->csv, "table to write, 48 points per octave");
  command->callback([options] { run(*options); });
}

}  // namespace sonx
