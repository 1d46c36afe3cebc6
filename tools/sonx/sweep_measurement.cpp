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

// Two periods of the sweep through the process; what the second gave. The sweep itself becomes what
// was fed.
stereo_signal run_sweep(const sweep& how, const device& device, std::vector<float>& samples) {
  const block_process process = device.start();
  std::vector<float> in(2 * kBlock), out(2 * kBlock);
  stereo_signal result{std::vector<float>(kLength), std::vector<float>(kLength)};
  for (size_t n = 0; n < 2 * kLength; n += kBlock) {
    const size_t at = n % kLength;
    for (size_t i = 0; i < kBlock; ++i) {
      in[2 * i] = how.input == "right" ? 0 : samples[at + i];
      in[2 * i + 1] = how.input == "left" ? 0 : samples[at + i];
    }
    process(in, out);
    for (size_t i = 0; i < kBlock; ++i) {
      result.left[at + i] = out[2 * i];
      result.right[at + i] = out[2 * i + 1];
      if (n >= kLength) samples[at + i] = in[2 * i + (how.input == "right" ? 1 : 0)];
    }
  }
  return result;
}

// Where an impulse response has sunk into noise, which stands alone at the end of the period's first
// half: filters at low frequencies amplify their own rounding so much that it would be seen. Repeats
// of an echo may stand kGap parts apart.
size_t length_of(const std::vector<float>& impulse) {
  constexpr size_t kParts = 128, kPart = kLength / 2 / kParts;
  constexpr size_t kGap = 4;
  std::vector<double> powers(kParts);
  for (size_t i = 0; i < kParts * kPart; ++i) powers[i / kPart] += std::pow(double{impulse[i]}, 2);
  double noise = 0;
  for (size_t i = kParts / 2; i < kParts; ++i) noise += powers[i] / (kParts / 2);
  size_t silent = 0;
  for (size_t i = 0; i < kParts; ++i) {
    silent = powers[i] < 2 * noise ? silent + 1 : 0;
    if (silent > kGap) return (i - kGap + 1) * kPart;
  }
  return kLength / 2;
}

// The second half of the period holds distortion, but for what a filter without a delay of its own
// has around zero.
spectrum measure_transfer(const spectrum& in, const std::vector<float>& out) {
  const spectrum ys = transform(out);
  double strongest = 0;
  for (const auto& x : in) strongest = std::max(strongest, std::norm(x));
  const double floor = 1e-9 * strongest;  // outside the sweep, nothing is measured
  std::vector<kiss_fft_cpx> ratio(ys.size());
  for (size_t k = 0; k < ys.size(); ++k) {
    const std::complex<double> h = ys[k] * std::conj(in[k]) / (std::norm(in[k]) + floor);
    ratio[k] = {static_cast<float>(h.real()), static_cast<float>(h.imag())};
  }
  // The sweep has no constant part; the one that filters come to rest at is no answer to it.
  ratio[0] = {ratio[1].r, 0};
  std::vector<float> impulse(kLength);
  kiss_fftri(make_plan(true).get(), ratio.data(), impulse.data());
  std::fill(impulse.begin() + static_cast<std::ptrdiff_t>(length_of(impulse)),
            impulse.end() - kLength / 64, 0.0f);
  spectrum transfer = transform(impulse);
  for (auto& h : transfer) h /= static_cast<double>(kLength);
  return transfer;
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

double highest(const spectrum& h) {
  double most = 0;
  for (const auto& one : h) most = std::max(most, std::norm(one));
  return most;
}

double power_at(const spectrum& h, double bin) {
  return std::norm(h[static_cast<size_t>(std::lround(bin))]);
}

double phase_at(const spectrum& h, double bin, int latency) {
  const auto k = static_cast<size_t>(std::lround(bin));
  const double turn = 2 * std::numbers::pi * static_cast<double>(k) * latency / kLength;
  return std::arg(h[k] * std::polar(1.0, turn)) * 180 / std::numbers::pi;
}

// In frames: the phase's slope from bin to bin.
double delay_at(const spectrum& h, double bin, int latency) {
  constexpr double kHalfWindow = 1.0293;  // 1/24 octave
  const auto first = static_cast<size_t>(bin / kHalfWindow);
  const auto last = std::min(static_cast<size_t>(bin * kHalfWindow) + 1, h.size() - 2);
  std::complex<double> slope;
  for (size_t k = first; k <= last; ++k) slope += h[k + 1] * std::conj(h[k]);
  slope *= std::polar(1.0, 2 * std::numbers::pi * latency / kLength);
  return -std::arg(slope) * kLength / (2 * std::numbers::pi);
}

}  // namespace

response::response(int rate, int latency, spectrum left, spectrum right)
    : rate_(rate),
      latency_(latency),
      left_(std::move(left)),
      right_(std::move(right)),
      least_(1e-6 * std::max(highest(left_), highest(right_))) {}

template <typename Measure>
response::sides response::of_both(Measure measure) const {
  return {measure(left_), measure(right_)};
}

response::sides response::level(double hertz, int smoothing) const {
  const double bin = hertz * kLength / rate_;
  return of_both([&](const spectrum& h) { return level_at(h, bin, smoothing); });
}

response::sides response::phase(double hertz) const {
  const double bin = hertz * kLength / rate_;
  return of_both([&](const spectrum& h) {
    return power_at(h, bin) > least_ ? phase_at(h, bin, latency_) : NAN;
  });
}

response::sides response::delay(double hertz) const {
  const double bin = hertz * kLength / rate_, ms = 1000.0 / rate_;
  return of_both([&](const spectrum& h) {
    return power_at(h, bin) > least_ ? ms * delay_at(h, bin, latency_) : NAN;
  });
}

response measure_response(const sweep& how, const device& device) {
  std::vector<float> samples = make_sweep(how);
  const stereo_signal out = run_sweep(how, device, samples);
  const spectrum in = transform(samples);
  return {how.rate, device.latency, measure_transfer(in, out.left),
          measure_transfer(in, out.right)};
}

}  // namespace sonx
