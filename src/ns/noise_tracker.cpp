// Noise of prior source 2: minima of the smoothed powers tell where speech is absent, and there the
// noise follows the powers.
#include "ns/noise_tracker.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "ns/logarithm.h"
#include "ns/noise_power.h"

namespace {

// What counts frames: one set for frames of 10 ms, one for 5 ms. Weights in Q15.
struct pace {
  int smoothing;     // weight of a new frame in the smoothed power
  int noise_rate;    // weight of a new frame in the noise, where speech is absent
  int stage_frames;  // length of a part of the minimum's window, which has kNsxStages + 1 of them
  int start_frames;  // in which the noise is the mean so far
};
constexpr pace kTenMilliseconds = {13107, 2621, 14, 15};
constexpr pace kFiveMilliseconds = {7386, 1337, 28, 30};

constexpr int kPreviousWeight = 29491;  // 0.9 of the frame before, in the SNR a priori
constexpr int kPresentWeight = kOneQ15 - kPreviousWeight;

// The mean of noise is 2.3 times the minimum of its smoothed power.
constexpr int kMinimumBias = 75366;     // Q15
constexpr int kNoiseBias = 40960;       // 1.25: only powers that aren't high count for the noise
constexpr int kSpeechAbove = 125861;    // 2.3 * 1.67: smoothed powers above are speech
constexpr int kFirstNoise = 65536;      // 2.0: the noise's limit until a window has passed
constexpr int64_t kFaintest = 1 << 14;  // of a noise, 2^-10: below 16 bits' own rounding noise
constexpr int64_t kNoMinimum = INT64_MAX;

const pace& pace_of(const NsxInst_t_* ns) {
  return ns->sample_rate == 32000 ? kFiveMilliseconds : kTenMilliseconds;
}

// |X|^2 / N^2 of the frame, Q24. The spectrum is X / N times 2^norm.
void measure_powers(const NsxInst_t_* ns, int64_t* power) {
  if (ns->zero_input) {
    std::fill_n(power, ns->bins, 0);
    return;
  }
  const int up = 24 - 2 * ns->norm;  // -6..24
  for (int k = 0; k < ns->bins; ++k) {
    const int64_t re = ns->spectrum[2 * k], im = ns->spectrum[2 * k + 1];
    const int64_t p = re * re + im * im;
    power[k] = up >= 0 ? p << up : p >> -up;
  }
}

// Over three bins, then over time; and the least of it in the window.
void follow_minimum(NsxInst_t_* ns, const int64_t* power) {
  const int last = ns->bins - 1, weight = ns->tracked_frames == 0 ? kOneQ15 : pace_of(ns).smoothing;
  for (int k = 0; k <= last; ++k) {
    const int64_t around =
        (power[std::max(k - 1, 0)] + 2 * power[k] + power[std::min(k + 1, last)]) / 4;
    ns->smooth_power[k] += scaled(around - ns->smooth_power[k], weight);
    ns->stage_minimum[k] = std::min(ns->stage_minimum[k], ns->smooth_power[k]);
  }
}

// At the end of a stage its minima take the place of the oldest stage's.
void end_stage(NsxInst_t_* ns) {
  if (++ns->stage_age < pace_of(ns).stage_frames) return;
  ns->stage_age = 0;
  std::copy_n(ns->stage_minimum, ns->bins, ns->past_minimum[ns->stage]);
  std::fill_n(ns->stage_minimum, ns->bins, kNoMinimum);
  ns->stage = (ns->stage + 1) % kNsxStages;
  for (int k = 0; k < ns->bins; ++k) {
    int64_t least = kNoMinimum;
    for (const auto& past : ns->past_minimum) least = std::min(least, past[k]);
    ns->window_minimum[k] = least;
  }
}

// Speech is certainly absent where the power is at most what noise has on average, and certainly
// there from three times that on, or where the smoothed power is too high for noise. Q15.
int absence(int64_t power, int64_t smooth_power, int64_t minimum) {
  const int64_t mean = scaled(minimum, kMinimumBias);
  if (smooth_power >= scaled(minimum, kSpeechAbove) && smooth_power > 0) return 0;
  if (power <= mean) return kOneQ15;
  if (power >= 3 * mean) return 0;
  return share_q15(static_cast<uint64_t>(3 * mean - power), static_cast<uint64_t>(2 * mean));
}

// Decision-directed SNR a priori, as SNR / (1 + SNR), Q15: 0.9 of the speech that was left before
// and 0.1 of the power above the noise.
int directed_wiener(int64_t power, int64_t noise, int64_t speech_before) {
  const int64_t speech = scaled(speech_before, kPreviousWeight) +
                         scaled(std::max<int64_t>(power - noise, 0), kPresentWeight);
  return share_q15(static_cast<uint64_t>(speech), static_cast<uint64_t>(speech + noise));
}

// The noise's share of the way to the power: as far as speech is likely absent; in the first frames
// all of them count alike.
int follow_rate(const NsxInst_t_* ns, int speech) {
  const pace& p = pace_of(ns);
  const int rate = p.noise_rate * (kOneQ15 - speech) >> 15;
  return ns->tracked_frames < p.start_frames
             ? std::max<int>(rate, tekaNsx_kCounterDiv[ns->tracked_frames])
             : rate;
}

}  // namespace

void reset_tracker(NsxInst_t_* ns) {
  ns->tracked_frames = ns->stage = ns->stage_age = 0;
  std::fill(std::begin(ns->smooth_power), std::end(ns->smooth_power), 0);
  std::fill(std::begin(ns->stage_minimum), std::end(ns->stage_minimum), kNoMinimum);
  std::fill(std::begin(ns->window_minimum), std::end(ns->window_minimum), kNoMinimum);
  for (auto& past : ns->past_minimum) std::fill(std::begin(past), std::end(past), kNoMinimum);
  std::fill(std::begin(ns->noise_power), std::end(ns->noise_power), 0);
  std::fill(std::begin(ns->speech_power), std::end(ns->speech_power), 0);
  std::fill(std::begin(ns->smooth_snr), std::end(ns->smooth_snr), 0);
  std::fill(std::begin(ns->voice_around), std::end(ns->voice_around), 0);
}

//   spectrum ─► powers ─┬─► over bins and time ─► minimum of 1.1 s ─► absence of speech ─┐
//                       └─► SNRs, by the noise before ─► probability of speech ◄─────────┘
//                                    └─► view                    └─► noise
void track_noise(NsxInst_t_* ns, noise_view& view) {
  int64_t power[kNsxMaxBins];
  measure_powers(ns, power);
  follow_minimum(ns, power);
  const int frames_of_window = (kNsxStages + 1) * pace_of(ns).stage_frames;
  const bool first_window = ns->tracked_frames < frames_of_window;
  if (ns->tracked_frames == 0) std::copy_n(power, ns->bins, ns->noise_power);
  for (int k = 0; k < ns->bins; ++k) {
    int64_t& noise = ns->noise_power[k];
    const int64_t minimum = std::min(ns->stage_minimum[k], ns->window_minimum[k]);
    const int64_t present = std::max(scaled(noise, kNoiseBias), kFaintest);
    const int wiener = directed_wiener(power[k], present, ns->speech_power[k]);
    const int64_t v = ratio_q12(static_cast<uint64_t>(power[k]), static_cast<uint64_t>(present)) *
                          int64_t{wiener} >>
                      15;
    view.wiener[k] = wiener;
    view.unlikeliness[k] = static_cast<int>(exp_q12(-v, 15));
    ns->speech_power[k] = scaled(power[k], wiener * wiener >> 15);

    const int speech = speech_probability(absence(power[k], ns->smooth_power[k], minimum), wiener,
                                          view.unlikeliness[k]);
    noise += scaled(power[k] - noise, follow_rate(ns, speech));
    if (first_window) noise = std::min(noise, scaled(minimum, kFirstNoise));
  }
  end_stage(ns);
  ns->tracked_frames = std::min(ns->tracked_frames + 1, frames_of_window);
}
