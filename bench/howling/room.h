// A loudspeaker, a room and a microphone: a synthetic impulse response from a seed, and a
// partitioned convolution that runs it in blocks of one period.
//
//   direct sound after 3..15 ms, six early reflections, a diffuse tail whose upper half decays
//   twice as fast (decay time 0.1..0.5 s), through a small loudspeaker: second-order high-pass at
//   250 Hz, second-order low-pass at 5 kHz, three resonances of up to +-5 dB
#pragma once

#include <kissfft/kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

constexpr int kPeriod = 240;  // samples of one block, 5 ms at 48 kHz
constexpr double kRate = 48000.0;

using signal = std::vector<float>;

struct room_kind {
  double delay_ms;
  double decay_s;
  double direct_to_tail_db;
};

// One second-order section after the widespread formulas of the audio equalizer cookbook.
class section {
 public:
  static section high_pass(double f) { return section(f, 0.7071, 0.0, 'h'); }
  static section low_pass(double f) { return section(f, 0.7071, 0.0, 'l'); }
  static section peak(double f, double q, double db) { return section(f, q, db, 'p'); }

  void run(signal& x) {
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (float& v : x) {
      const double y = b0_ * v + b1_ * x1 + b2_ * x2 - a1_ * y1 - a2_ * y2;
      x2 = x1;
      x1 = v;
      y2 = y1;
      y1 = y;
      v = static_cast<float>(y);
    }
  }

 private:
  section(double f, double q, double db, char kind) {
    const double w = 2.0 * std::numbers::pi * f / kRate, c = std::cos(w);
    const double alpha = std::sin(w) / (2.0 * q), gain = std::pow(10.0, db / 40.0);
    double a0 = 1.0 + alpha;
    a1_ = -2.0 * c;
    a2_ = 1.0 - alpha;
    if (kind == 'h') {
      b0_ = b2_ = (1.0 + c) / 2.0;
      b1_ = -(1.0 + c);
    } else if (kind == 'l') {
      b0_ = b2_ = (1.0 - c) / 2.0;
      b1_ = 1.0 - c;
    } else {
      a0 = 1.0 + alpha / gain;
      a2_ = 1.0 - alpha / gain;
      b0_ = 1.0 + alpha * gain;
      b1_ = -2.0 * c;
      b2_ = 1.0 - alpha * gain;
    }
    for (double* k : {&b0_, &b1_, &b2_, &a1_, &a2_}) *k /= a0;
  }
  double b0_, b1_, b2_, a1_, a2_;
};

inline signal room_response(unsigned seed, room_kind* kind = nullptr) {
  std::mt19937 generator(seed);
  const auto uniform = [&](double low, double high) {
    return low + (high - low) * (generator() / 4294967296.0);
  };
  const auto gaussian = [&] {
    double sum = 0.0;
    for (int i = 0; i < 12; ++i) sum += uniform(-0.5, 0.5);
    return sum;
  };
  const room_kind k = {uniform(3.0, 15.0), uniform(0.1, 0.5), uniform(-6.0, 3.0)};
  if (kind) *kind = k;

  const int delay = static_cast<int>(k.delay_ms * 48.0);
  const int length = delay + static_cast<int>(k.decay_s * kRate);
  signal h(static_cast<size_t>(length));
  double energy = 0.0, low = 0.0;
  for (int i = delay + 96; i < length; ++i) {
    const double t = (i - delay) / kRate, white = gaussian();
    low += 0.25 * (white - low);  // corner near 2.2 kHz
    const double v = low * std::exp(-6.9 * t / k.decay_s) +
                     (white - low) * 0.5 * std::exp(-13.8 * t / k.decay_s);
    h[static_cast<size_t>(i)] = static_cast<float>(v);
    energy += v * v;
  }
  const double direct = std::sqrt(energy) * std::pow(10.0, k.direct_to_tail_db / 20.0);
  h[static_cast<size_t>(delay)] += static_cast<float>(direct);
  for (int r = 0; r < 6; ++r) {
    const int at = delay + static_cast<int>(uniform(48.0, 960.0));
    if (at < length) h[static_cast<size_t>(at)] += static_cast<float>(direct * uniform(-0.5, 0.5));
  }
  section::high_pass(250.0).run(h);
  section::low_pass(5000.0).run(h);
  for (int r = 0; r < 3; ++r) {
    const double f = 400.0 * std::pow(10.0, uniform(0.0, 1.0));
    section::peak(f, uniform(1.0, 3.0), uniform(-5.0, 5.0)).run(h);
  }
  return h;
}

// |H| at the 0.73 Hz grid of a 65536-point transform.
inline std::vector<std::complex<float>> spectrum_of(const signal& x, size_t points = 65536) {
  signal padded(points);
  std::copy_n(x.begin(), std::min(points, x.size()), padded.begin());
  std::vector<std::complex<float>> result(points / 2 + 1);
  kiss_fftr_cfg plan = kiss_fftr_alloc(static_cast<int>(points), 0, nullptr, nullptr);
  kiss_fftr(plan, padded.data(), reinterpret_cast<kiss_fft_cpx*>(result.data()));
  kiss_fftr_free(plan);
  return result;
}

// Uniformly partitioned overlap-save convolution, one period in, one period out, no delay of its
// own. Real and imaginary parts lie apart, which is what compilers make lanes of.
class convolver {
 public:
  explicit convolver(const signal& response)
      : forward_(kiss_fftr_alloc(2 * kPeriod, 0, nullptr, nullptr)),
        inverse_(kiss_fftr_alloc(2 * kPeriod, 1, nullptr, nullptr)),
        window_(2 * kPeriod) {
    for (size_t start = 0; start < response.size(); start += kPeriod) {
      signal part(2 * kPeriod);
      for (size_t i = 0; i < kPeriod && start + i < response.size(); ++i)
        part[i] = response[start + i] / (2 * kPeriod);
      parts_.emplace_back();
      transform(part, parts_.back());
    }
    history_.resize(parts_.size());
  }
  ~convolver() {
    kiss_fftr_free(forward_);
    kiss_fftr_free(inverse_);
  }
  convolver(const convolver&) = delete;
  convolver& operator=(const convolver&) = delete;

  void run(const float* in, float* out) {
    std::copy(window_.begin() + kPeriod, window_.end(), window_.begin());
    std::copy_n(in, kPeriod, window_.begin() + kPeriod);
    newest_ = (newest_ + parts_.size() - 1) % parts_.size();
    transform(window_, history_[newest_]);
    bins sum;
    for (size_t p = 0; p < parts_.size(); ++p)
      add_product(history_[(newest_ + p) % parts_.size()], parts_[p], sum);
    kiss_fft_cpx spectrum[kBins];
    for (size_t k = 0; k < kBins; ++k) spectrum[k] = {sum.re[k], sum.im[k]};
    float result[2 * kPeriod];
    kiss_fftri(inverse_, spectrum, result);
    std::copy_n(result + kPeriod, kPeriod, out);
  }

 private:
  static constexpr size_t kBins = kPeriod + 1;
  struct bins {
    float re[kBins] = {}, im[kBins] = {};
  };

  static void add_product(const bins& x, const bins& h, bins& sum) {
    for (size_t k = 0; k < kBins; ++k) {
      sum.re[k] += x.re[k] * h.re[k] - x.im[k] * h.im[k];
      sum.im[k] += x.re[k] * h.im[k] + x.im[k] * h.re[k];
    }
  }

  void transform(const signal& x, bins& result) const {
    kiss_fft_cpx spectrum[kBins];
    kiss_fftr(forward_, x.data(), spectrum);
    for (size_t k = 0; k < kBins; ++k) {
      result.re[k] = spectrum[k].r;
      result.im[k] = spectrum[k].i;
    }
  }

  kiss_fftr_cfg forward_, inverse_;
  std::vector<bins> parts_, history_;
  signal window_;
  size_t newest_ = 0;
};
