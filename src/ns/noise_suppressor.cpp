#include "ns/noise_suppressor.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "fixed.h"
#include "ns/noise_analysis.h"
#include "ns/noise_estimate.h"
#include "ns/noise_features.h"
#include "ns/noise_frame.h"
#include "ns/noise_synthesis.h"
#include "ns/noise_tracker.h"
#include "ns/noise_windows.inc"
#include "ns/presence_gain.h"

namespace {

struct frame_sizes {
  int block, length, stages;
  const short* window;
};
constexpr frame_sizes kNarrow = {80, 128, 7, kWindow128};
constexpr frame_sizes kWide = {160, 256, 8, kWindow256};

struct policy_row {
  int overdrive;      // Q8
  int denoise_bound;  // Q14
  int gain_factor_on;
};
constexpr policy_row kPolicies[] = {{256, 8192, 0}, {256, 4096, 1}, {282, 2048, 1}, {320, 1475, 1}};

constexpr int kPreviousWeight = 32113;  // 0.98 of the frame before, Q15
constexpr int kPresentWeight = 655;     // 0.02 of the present one, Q15
constexpr int kNoiseRate = 1638;        // 0.1, Q14
constexpr int kSpeechRate = 164;        // 0.01, Q14
constexpr int kPauseRate = 819;         // 0.05, Q14
constexpr int kLikelyNoise = 13107;     // a speech probability of 0.2 or less, Q14

// num / den in Q11, at most kSnrLimit; 0 / 0 is 0.
constexpr uint32_t kSnrLimit = INT32_MAX;
uint32_t snr_q11(uint64_t num, uint64_t den) {
  if (num == 0) return 0;
  return den == 0 ? kSnrLimit
                  : static_cast<uint32_t>(std::min<uint64_t>((num << 11) / den, kSnrLimit));
}

}  // namespace

int tekaNs_InitCore(NsxInst_t_* ns, unsigned int fs) {
  if (ns == nullptr || (fs != 8000 && fs != 16000 && fs != 32000)) return -1;
  use_portable_analysis();
  use_portable_estimate();
  use_portable_synthesis();

  *ns = NsxInst_t_{};
  const frame_sizes& sizes = fs == 8000 ? kNarrow : kWide;
  ns->sample_rate = fs;
  ns->block_length = sizes.block;
  ns->frame_length = sizes.length;
  ns->bins = sizes.length / 2 + 1;
  ns->stages = sizes.stages;
  ns->window = sizes.window;
  ns->prior_non_speech = kOneQ14 / 2;
  ns->prior_source = kPriorFromPresence;
  tekaNs_set_policy_core(ns, 0);
  reset_noise_estimate(ns);
  reset_features(ns);
  ns->band_post = BP_ns_init(static_cast<int>(fs), ns->bins);
  ns->initialized = ns->band_post != nullptr;
  return ns->initialized ? 0 : -1;
}

int tekaNs_FreeCore(NsxInst_t_* ns) {
  if (ns == nullptr) return 0;
  BP_ns_delete(ns->band_post);
  ns->band_post = nullptr;
  ns->initialized = 0;
  return 0;
}

int tekaNs_set_policy_core(NsxInst_t_* ns, int mode) {
  if (static_cast<unsigned>(mode) >= std::size(kPolicies)) return -1;
  const policy_row& row = kPolicies[mode];
  ns->policy = mode;
  ns->overdrive = row.overdrive;
  ns->denoise_bound = row.denoise_bound;
  ns->gain_factor_on = row.gain_factor_on;
  return 0;
}

int tekaNs_set_prior_source(NsxInst_t_* ns, int source) {
  if (source < kPriorFromPresence || source > kPriorFromMinima) return -1;
  if (source == kPriorFromMinima && ns->prior_source != source) reset_tracker(ns);
  ns->prior_source = source;
  return 0;
}
int tekaNs_get_prior_source(NsxInst_t_* ns, int* source) {
  *source = ns->prior_source;
  return 0;
}

void tekaNs_canceling_setstatus(NsxInst_t_* ns, int status) { ns->status = status; }
void tekaNs_canceling_getstatus(NsxInst_t_* ns, int* status) { *status = ns->status; }

namespace {

bool starting_up(const NsxInst_t_* ns) { return ns->frame_count < kStartupFrames; }

// From a to b by t / kStartupFrames.
uint64_t blend(uint64_t a, uint64_t b, int t) {
  const auto weight = static_cast<uint64_t>(t);
  return (b * weight + a * (kStartupFrames - weight)) / kStartupFrames;
}

// The noise that the frame's SNRs refer to, Q16: the quantile, at the start blended with the model.
void present_noise(const NsxInst_t_* ns, const unsigned int* model, unsigned int* noise) {
  std::copy_n(ns->quantile_noise, ns->bins, noise);
  if (!starting_up(ns)) return;
  for (int k = 0; k < ns->bins; ++k)
    noise[k] = static_cast<unsigned>(blend(model[k], noise[k], ns->frame_count));
}

// The frame before after its gain, over the noise of that frame: Q11.
void previous_snr(const NsxInst_t_* ns, unsigned int* snr) {
  for (int k = 0; k < ns->bins; ++k)
    snr[k] = snr_q11(uint64_t{ns->previous_magnitude[k]} * ns->gain[k] >> 14, ns->noise[k]);
}

// Decision-directed: 0.98 previous + 0.02 max(magnitude / noise - 1, 0), Q11.
unsigned int directed(unsigned int previous, unsigned int ratio) {
  const uint64_t excess = ratio > kOneQ11 ? ratio - kOneQ11 : 0;
  return static_cast<unsigned>((uint64_t{previous} * kPreviousWeight + excess * kPresentWeight) >>
                               15);
}

// value + rate (target - value), the rate in Q28.
unsigned int approach(unsigned int value, unsigned int target, int64_t rate) {
  const int64_t half = 1 << 27;
  return static_cast<unsigned>(value + (((int64_t{target} - value) * rate + half) >> 28));
}

// The noise moves toward the magnitude by the probability that the bin is noise, slowly where
// speech is likely. Where the likelihood changes from one bin to the next, the smaller of both
// results counts. The mean spectrum of the pauses moves only in bins of likely noise.
void update_noise(NsxInst_t_* ns, const unsigned short* non_speech_probability) {
  bool was_noise = true;
  for (int k = 0; k < ns->bins; ++k) {
    const unsigned int magnitude = ns->magnitude[k], noise = ns->noise[k];
    const int64_t p = non_speech_probability[k];
    const bool is_noise = p >= kLikelyNoise;
    const unsigned int fast = approach(noise, magnitude, p * kNoiseRate);
    const unsigned int slow = approach(noise, magnitude, p * kSpeechRate);
    ns->noise[k] = is_noise != was_noise ? std::min(fast, slow) : is_noise ? fast : slow;
    if (is_noise)
      ns->pause_magnitude[k] =
          approach(ns->pause_magnitude[k], magnitude, int64_t{kPauseRate} * kOneQ14);
    was_noise = is_noise;
  }
}

// snr / (overdrive + snr), from the lower bound to 1: Q14 from an SNR in Q11.
unsigned short wiener_gain(const NsxInst_t_* ns, uint64_t snr) {
  const uint64_t sum = (static_cast<uint64_t>(ns->overdrive) << 3) + snr;  // Q8 to Q11
  const auto gain = static_cast<int>(((snr << 14) + sum / 2) / sum);
  return static_cast<unsigned short>(std::clamp(gain, ns->denoise_bound, kOneQ14));
}

// The gain of spectral subtraction of the model's noise (Q16) from the mean spectrum since init,
// Q14.
unsigned short start_gain(const NsxInst_t_* ns, int k, uint64_t model) {
  const int64_t magnitude = ns->start_magnitude[k];
  const auto noise = static_cast<int64_t>(model * static_cast<uint64_t>(ns->overdrive) >> 8) *
                     (ns->frame_count + 1);
  if (noise >= magnitude) return static_cast<unsigned short>(ns->denoise_bound);
  const auto gain = static_cast<int>((magnitude - noise) * kOneQ14 / magnitude);
  return static_cast<unsigned short>(std::clamp(gain, ns->denoise_bound, kOneQ14));
}

void update_gain(NsxInst_t_* ns, const unsigned int* model, const unsigned int* previous) {
  for (int k = 0; k < ns->bins; ++k) {
    const unsigned int ratio = snr_q11(ns->magnitude[k], ns->noise[k]);
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): as many as there are bins.
    ns->gain[k] = wiener_gain(ns, directed(previous[k], ratio));
  }
  if (!starting_up(ns)) return;
  for (int k = 0; k < ns->bins; ++k)
    ns->gain[k] = static_cast<unsigned short>(
        blend(start_gain(ns, k, model[k]), ns->gain[k], ns->frame_count));
}

//   in ─► analysis ─► noise ─► gain ─► synthesis ─► out
void process_by_minima(NsxInst_t_* ns, short* in, short* out) {
  analyse_frame(ns, in);
  noise_view view;
  track_noise(ns, view);
  set_presence_gains(ns, view);
  tekaNsx_DataSynthesis(ns, out);
}

}  // namespace

//   in ─┬─► analysis ─┬─► quantiles ─► noise ─► SNRs ─► speech probability ─► noise update ─► SNR
//       │             ├─► features ───────────────────► ▲                                      │
//       │             └─► presence ─► prior ──────────► ▲                                      ▼
//       └─► peaks ──────► ▲                            out ◄─ limiter ◄─ synthesis ◄───────── gain
int tekaNs_ProcessCore(NsxInst_t_* ns, short* in, short* out) {
  if (ns == nullptr || ns->initialized != 1) return -1;
  if (ns->prior_source == kPriorFromMinima) {
    process_by_minima(ns, in, out);
    return 0;
  }
  unsigned short magnitudes[kNsxMaxBins];
  BP_ns_pre(ns->band_post, in, ns->block_length, nullptr);
  tekaNsx_DataAnalysis(ns, in, magnitudes);
  if (ns->zero_input) {
    tekaNsx_DataSynthesis(ns, out);
    return 0;
  }

  unsigned int model[kNsxMaxBins], noise[kNsxMaxBins], previous[kNsxMaxBins];
  unsigned int prior_snr[kNsxMaxBins], post_snr[kNsxMaxBins];
  tekaNsx_NoiseEstimation(ns);
  if (starting_up(ns)) start_noise(ns, model);
  present_noise(ns, model, noise);
  previous_snr(ns, previous);
  for (int k = 0; k < ns->bins; ++k) {
    post_snr[k] = snr_q11(ns->magnitude[k], noise[k]);
    prior_snr[k] = directed(previous[k], post_snr[k]);
  }
  update_features(ns);
  if (ns->prior_source == kPriorFromPresence) {
    const int presence = BP_ns_app(ns->band_post, magnitudes, ns->magnitude_sum,
                                   static_cast<short>(ns->norm - ns->stages));
    ns->prior_non_speech = static_cast<short>((INT16_MAX - presence) >> 1);
  }

  unsigned short non_speech_probability[kNsxMaxBins];
  tekaNsx_SpeechNoiseProb(ns, non_speech_probability, prior_snr, post_snr);
  update_noise(ns, non_speech_probability);
  update_gain(ns, model, previous);
  tekaNsx_DataSynthesis(ns, out);
  BP_ns_post(ns->band_post, out, ns->block_length, out);

  std::copy_n(ns->magnitude, ns->bins, ns->previous_magnitude);
  ns->frame_count = std::min(ns->frame_count + 1, kCycleFrames);
  return 0;
}
