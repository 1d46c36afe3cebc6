#include "sweep_measurement.h"

#include <kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <stdexcept>

namespace sonx {

namespace {

constexpr size_t kLength = kSweepLength;
constexpr double kSweepFrom = 10;  // Hz

using spectrum = response::spectrum;  // bins 0 .. kLength / 2

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

std::vector<float> make_sweep(const sweep& how) {
  const double amplitude = std::pow(10, how.level / 20);
  const double rise = std::log(0.49 * how.rate / kSweepFrom);
  const double seconds = static_cast<double>(kLength) / how.rate;
  std::vector<float> samples(kLength);
  for (size_t i = 0; i < kLength; ++i) {
    const double t = static_cast<double>(i) / kLength;
    const double turns = kSweepFrom * seconds / rise * (std::exp(t * rise) - 1);
    samples[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns));
  }
  return samples;
}

struct stereo_signal {
  std::vector<float> left;
  std::vector<float> right;
};

// Two periods of the sweep through the process; what the second gave. The sweep
// itself becomes what was fed.
stereo_signal run_sweep(const sweep& how, const sweep_process& process,
                        std::vector<float>& samples) {
  std::vector<float> in(2 * kSweepPeriod), out(2 * kSweepPeriod);
  stereo_signal result{std::vector<float>(kLength), std::vector<float>(kLength)};
  for (size_t n = 0; n < 2 * kLength; n += kSweepPeriod) {
    const size_t at = n % kLength;
    for (size_t i = 0; i < kSweepPeriod; ++i) {
      in[2 * i] = how.input == "right" ? 0 : samples[at + i];
      in[2 * i + 1] = how.input == "left" ? 0 : samples[at + i];
    }
    process(in, out);
    for (size_t i = 0; i < kSweepPeriod; ++i) {
      result.left[at + i] = out[2 * i];
      result.right[at + i] = out[2 * i + 1];
      if (n >= kLength) samples[at + i] = in[2 * i + (how.input == "right" ? 1 : 0)];
    }
  }
  return result;
}

// H per bin.
spectrum measure_spectrum(const spectrum& in, const std::vector<float>& out) {
  const spectrum ys = transform(out);
  double strongest = 0;
  for (const auto& x : in) strongest = std::max(strongest, std::norm(x));
  const double floor = 1e-9 * strongest;  // outside the sweep, nothing is measured
  std::vector<kiss_fft_cpx> ratio(ys.size());
  for (size_t k = 0; k < ys.size(); ++k) {
    const std::complex<double> h = ys[k] * std::conj(in[k]) / (std::norm(in[k]) + floor);
    ratio[k] = {static_cast<float>(h.real()), static_cast<float>(h.imag())};
  }
  // A constant that a filter comes to rest at is no answer to the sweep, which has none.
  ratio[0] = {ratio[1].r, 0};
  std::vector<float> impulse(kLength);
  kiss_fftri(make_plan(true).get(), ratio.data(), impulse.data());
  std::fill(impulse.begin() + kLength / 2, impulse.end(), 0.0f);  // distortion
  spectrum result = transform(impulse);
  for (auto& one : result) one /= static_cast<double>(kLength);
  return result;
}

double level_at(const spectrum& h, double bin, int smoothing) {
  const double half = smoothing > 0 ? std::exp2(0.5 / smoothing) : 1;
  const auto first = static_cast<size_t>(std::ceil(bin / half));
  const auto last = std::min(static_cast<size_t>(bin * half), h.size() - 1);
  if (smoothing <= 0 || last < first + 1) {
    const auto below = static_cast<size_t>(bin);
    const double part = bin - static_cast<double>(below);
    return 10 * std::log10((1 - part) * std::norm(h[below]) + part * std::norm(h[below + 1]));
  }
  double sum = 0;
  for (size_t k = first; k <= last; ++k) sum += std::norm(h[k]);
  return 10 * std::log10(sum / static_cast<double>(last - first + 1));
}

double phase_at(const spectrum& h, double bin, int latency) {
  const auto k = static_cast<size_t>(std::lround(bin));
  const double turn = 2 * std::numbers::pi * static_cast<double>(k) * latency / kLength;
  return std::arg(h[k] * std::polar(1.0, turn)) * 180 / std::numbers::pi;
}

// In frames. The phase's slope between neighbours, each weighted with its
// power.
double delay_at(const spectrum& h, double bin) {
  constexpr double kHalfWindow = 1.0293;  // 1/24 octave
  const auto first = static_cast<size_t>(bin / kHalfWindow);
  const auto last = std::min(static_cast<size_t>(bin * kHalfWindow) + 1, h.size() - 2);
  std::complex<double> slope;
  for (size_t k = first; k <= last; ++k) slope += h[k + 1] * std::conj(h[k]);
  return -std::arg(slope) * kLength / (2 * std::numbers::pi);
}

}  // namespace

response::response(int rate, spectrum left, spectrum right)
    : rate_(rate), left_(std::move(left)), right_(std::move(right)) {}

response::sides response::at(double hertz, int smoothing) const {
  const double bin = hertz * kLength / rate_;
  return {level_at(left_, bin, smoothing), level_at(right_, bin, smoothing)};
}

response::sides response::phase(double hertz, int latency) const {
  const double bin = hertz * kLength / rate_;
  return {phase_at(left_, bin, latency), phase_at(right_, bin, latency)};
}

response::sides response::delay(double hertz, int latency) const {
  const double bin = hertz * kLength / rate_, ms = 1000.0 / rate_;
  return {ms * (delay_at(left_, bin) - latency), ms * (delay_at(right_, bin) - latency)};
}

response measure_response(const sweep& how, const sweep_process& process) {
  std::vector<float> samples = make_sweep(how);
  const stereo_signal out = run_sweep(how, process, samples);
  const spectrum in = transform(samples);
  return {how.rate, measure_spectrum(in, out.left), measure_spectrum(in, out.right)};
}

}  // namespace sonx
