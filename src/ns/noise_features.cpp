#include "ns/noise_features.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <iterator>

#include "fixed.h"
#include "ns/logarithm.h"
#include "ns/noise_frame.h"

namespace {

constexpr int kWindowFrames = 512;
constexpr int kSmoothing = 4915;       // 0.3, Q14
constexpr int kHalf = 2048;            // 0.5, Q12
constexpr int64_t kLargest = 1 << 20;  // of a feature, 256.0 in Q12

// Histogram bins per 1.0 of a feature: 0.1, 0.05 and 0.1 wide.
constexpr int kBinsPerUnit[kNsxFeatures] = {10, 20, 10};

constexpr int kLikelihoodRange = 10;  // bins below 1.0, as noise alone has them: of the mean
constexpr int kEnoughFrames = 154;    // 0.3 of the window: the least for a peak to count

struct limits {
  int low, high;  // of a threshold, Q12
};
constexpr limits kLikelihoodLimits = {819, 4096};  // 0.2 to 1.0
constexpr limits kFlatnessLimits = {410, 3891};    // 0.1 to 0.95
constexpr limits kDifferenceLimits = {655, 4096};  // 0.16 to 1.0

void smooth(int& feature, int64_t value) {
  feature += static_cast<int>(((value - feature) * kSmoothing + 8192) >> 14);
}

// Geometric over arithmetic mean of the magnitudes, bin 0 left out: 1 is flat. Q12.
int flatness(const NsxInst_t_* ns) {
  int64_t logs = 0;
  uint64_t sum = 0;
  for (int k = 1; k < ns->bins; ++k) {
    if (ns->magnitude[k] == 0) return 0;
    logs += ns->log_magnitude[k];
    sum += ns->magnitude[k];
  }
  const int n = ns->bins - 1;
  // The sum is |X| / N in Q16, n of them.
  const int log_mean = ln_q12(sum) - ln_q12(static_cast<uint64_t>(n) << (16 - ns->stages));
  return static_cast<int>(std::min(exp_q12(logs * 16 / n - log_mean, 12), 4096u));
}

// num / den in Q12, at most kLargest; both not negative.
int64_t relative_q12(int64_t num, int64_t den) {
  const int excess = std::max(0, 12 + 1 - std::countl_zero(static_cast<uint64_t>(num)));
  num >>= excess;
  den >>= excess;
  return den == 0 ? (num == 0 ? 0 : kLargest) : std::min((num << 12) / den, kLargest);
}

// The part of the spectrum's variance over the bins that the mean spectrum of the pauses doesn't
// explain, relative to energy_norm, Q12:
//
//   var(M) - cov(M, P)^2 / var(P)
//
// Magnitudes in Q12, with at most 27.5 bits, so that the squares of all bins add up to less than
// 2^62; the energy is shifted from Q32 to Q24 accordingly.
int64_t difference(const NsxInst_t_* ns) {
  int64_t mean_m = 0, mean_p = 0;
  for (int k = 0; k < ns->bins; ++k) {
    mean_m += ns->magnitude[k] >> 4;
    mean_p += ns->pause_magnitude[k] >> 4;
  }
  mean_m /= ns->bins;
  mean_p /= ns->bins;
  int64_t variance_m = 0, variance_p = 0, covariance = 0;
  for (int k = 0; k < ns->bins; ++k) {
    const int64_t m = (ns->magnitude[k] >> 4) - mean_m, p = (ns->pause_magnitude[k] >> 4) - mean_p;
    variance_m += m * m;
    variance_p += p * p;
    covariance += m * p;
  }
  // Down to 31 bits, so that the square fits.
  const uint64_t largest = static_cast<uint64_t>(
      std::max({variance_m, variance_p, covariance < 0 ? -covariance : covariance}));
  const int down = std::max(0, 33 - std::countl_zero(largest));
  const int64_t c = covariance >> down, v = variance_p >> down;
  const int64_t explained = v == 0 ? 0 : (c * c / v) << down;
  return relative_q12(std::max<int64_t>(variance_m - explained, 0), ns->energy_norm >> 8);
}

void count(NsxInst_t_* ns) {
  for (int f = 0; f < kNsxFeatures; ++f) {
    const int64_t bin = (int64_t{ns->feature[f]} * kBinsPerUnit[f]) >> 12;
    if (bin >= 0 && bin < kNsxHistogramBins) ++ns->histogram[f][bin];
  }
}

// Below, a bin's middle is 2 i + 1, in units of half a bin.

// The likelihood ratio's threshold: 1.2 times its mean within the range, or the upper limit if the
// ratio hardly fluctuates, as in a window of noise alone. Returns whether it fluctuates: whether
// its variance, with the mean within the range in place of one of the two means, is at least 0.05.
// Frames outside the histogram count as 0.
bool set_likelihood_threshold(NsxInst_t_* ns) {
  int64_t inside = 0, sum_inside = 0, sum = 0, squares = 0;
  for (int i = 0; i < kNsxHistogramBins; ++i) {
    const int64_t frames = ns->histogram[kLikelihood][i], middle = 2 * i + 1;
    if (i < kLikelihoodRange) {
      inside += frames;
      sum_inside += frames * middle;
    }
    sum += frames * middle;
    squares += frames * middle * middle;
  }
  // squares / 512 - (sum_inside / inside) (sum / 512) < 0.05 in units of 0.05^2
  const bool fluctuates =
      inside > 0 && squares * inside - sum_inside * sum >= 20 * kWindowFrames * inside;
  const int64_t threshold =
      fluctuates ? sum_inside * 24576 / (100 * inside) : kLikelihoodLimits.high;  // 1.2 * 0.05, Q12
  ns->threshold[kLikelihood] = static_cast<int>(
      std::clamp<int64_t>(threshold, kLikelihoodLimits.low, kLikelihoodLimits.high));
  return fluctuates;
}

struct peak {
  int frames, middle;
};

// The highest bin of a histogram, joined with the second highest if that is next to it and
// more than half as high.
peak highest_peak(const unsigned short* histogram) {
  peak first = {0, 0}, second = {0, 0};
  for (int i = 0; i < kNsxHistogramBins; ++i) {
    const peak here = {histogram[i], 2 * i + 1};
    if (here.frames > first.frames) {
      second = first;
      first = here;
    } else if (here.frames > second.frames) {
      second = here;
    }
  }
  if (std::abs(first.middle - second.middle) < 4 && 2 * second.frames > first.frames)
    return {first.frames + second.frames, (first.middle + second.middle) / 2};
  return first;
}

// Thresholds at 0.9 of the window's most frequent flatness and 1.2 of its most frequent difference,
// where the histogram has a clear peak; the features that have one share the weight with the
// likelihood ratio.
void set_thresholds(NsxInst_t_* ns) {
  const bool fluctuates = set_likelihood_threshold(ns);

  const peak flat = highest_peak(ns->histogram[kFlatness]);
  const bool use_flatness = flat.frames >= kEnoughFrames && flat.middle >= 24;  // 0.6
  if (use_flatness)                                                             // 0.9 * 0.025, Q12
    ns->threshold[kFlatness] =
        std::clamp(flat.middle * 9216 / 100, kFlatnessLimits.low, kFlatnessLimits.high);

  const peak other = highest_peak(ns->histogram[kDifference]);
  const bool use_difference = fluctuates && other.frames >= kEnoughFrames;
  if (use_difference)  // 1.2 * 0.05, Q12
    ns->threshold[kDifference] =
        std::clamp(other.middle * 24576 / 100, kDifferenceLimits.low, kDifferenceLimits.high);

  const int share = kOneQ14 / (1 + use_flatness + use_difference);
  ns->weight[kFlatness] = use_flatness ? share : 0;
  ns->weight[kDifference] = use_difference ? share : 0;
  ns->weight[kLikelihood] = kOneQ14 - ns->weight[kFlatness] - ns->weight[kDifference];
}

// The energy that the difference is relative to: the mean over the start-up, then, window by
// window, the mean of its old value and the window's mean.
void follow_energy(NsxInst_t_* ns) {
  if (ns->frame_count < kStartupFrames)
    ns->energy_norm += (ns->magnitude_energy - ns->energy_norm) / (ns->frame_count + 1);
  ns->energy_sum += ns->magnitude_energy / kWindowFrames;
}

}  // namespace

void reset_features(NsxInst_t_* ns) {
  for (int f = 0; f < kNsxFeatures; ++f) {
    ns->feature[f] = ns->threshold[f] = kHalf;
    ns->weight[f] = 0;
  }
  ns->weight[kLikelihood] = kOneQ14;
}

void update_features(NsxInst_t_* ns) {
  follow_energy(ns);
  smooth(ns->feature[kFlatness], flatness(ns));
  smooth(ns->feature[kDifference], difference(ns));
  count(ns);
  if (++ns->window_age < kWindowFrames) return;
  set_thresholds(ns);
  ns->energy_norm = (ns->energy_norm + ns->energy_sum) / 2;
  ns->energy_sum = 0;
  ns->window_age = 0;
  for (auto& histogram : ns->histogram) std::fill(std::begin(histogram), std::end(histogram), 0);
}
