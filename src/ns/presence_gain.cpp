// Gains of prior source 2: a bin gets Wiener's gain as far as speech is present in it, in its
// neighbours and in the frame, and the policy's bound as far as it isn't; what a voice around hides
// anyway is let be.
#include "ns/presence_gain.h"

#include <algorithm>
#include <cstdint>

#include "fixed.h"
#include "ns/noise_power.h"

namespace {

// SNRs in Q12.
constexpr int kTenMillisecondSmoothing = 9830;  // 0.3, a new frame's weight, Q15
constexpr int kFiveMillisecondSmoothing = 5352;
constexpr int kLargestSnrOfFrame = 4 << 12;  // more doesn't make a frame more of a voice
constexpr int kNeighbours = 8;               // to either side

struct limits {
  int low, high;  // certainly noise, certainly speech
};
constexpr limits kBin = {729, 2053};  // -7.5 and -3 dB
// Of a frame's mean: fewer bins and frames that are averaged scatter more.
constexpr limits kFrame8 = {917, 1631};   // -6.5 and -4 dB
constexpr limits kFrame16 = {771, 1371};  // -7.25 and -4.75 dB
constexpr limits kFrame32 = {579, 1154};  // -8.5 and -5.5 dB

// Noise this far below the voice around it isn't heard: 30 dB at 16000 Hz, 33 at the others, as a
// shift of powers. A voice hides it for a while after, too: weight of what was before, Q15.
constexpr int kHidden16 = 10, kHidden = 11;
constexpr int kTenMillisecondHolding = 31785;  // 0.97
constexpr int kFiveMillisecondHolding = 32272;

int between(int snr, limits l) {
  return (std::clamp(snr, l.low, l.high) - l.low) * kOneQ15 / (l.high - l.low);
}

bool short_frames(const NsxInst_t_* ns) { return ns->sample_rate == 32000; }

int first_bin_of_voice(const NsxInst_t_* ns) { return short_frames(ns) ? 2 : 3; }

// Means over each bin and kNeighbours to either side, as far as there are so many.
template <typename Number>
void neighbourhood_means(const NsxInst_t_* ns, const Number* values, int64_t* means) {
  const int last = ns->bins - 1;
  int64_t sum = 0;
  for (int k = 0; k < kNeighbours; ++k) sum += values[k];
  for (int k = 0; k <= last; ++k) {
    if (k + kNeighbours <= last) sum += values[k + kNeighbours];
    if (k > kNeighbours) sum -= values[k - kNeighbours - 1];
    means[k] = sum / (std::min(k + kNeighbours, last) - std::max(k - kNeighbours, 0) + 1);
  }
}

void hold_voice(NsxInst_t_* ns) {
  const int weight = short_frames(ns) ? kFiveMillisecondHolding : kTenMillisecondHolding;
  int64_t around[kNsxMaxBins];
  neighbourhood_means(ns, ns->speech_power, around);
  for (int k = 0; k < ns->bins; ++k)
    ns->voice_around[k] = std::max(scaled(ns->voice_around[k], weight), around[k]);
}

// Below a voice the noise has its slowest movements, which look like speech: no bin there counts
// for more than the voice's first.
void smooth_snrs(NsxInst_t_* ns, const noise_view& view) {
  const int weight = short_frames(ns) ? kFiveMillisecondSmoothing : kTenMillisecondSmoothing;
  for (int k = 0; k < ns->bins; ++k) {
    const int wiener = std::min(view.wiener[k], kLargestWiener);
    const int snr = (wiener << 12) / (kOneQ15 - wiener);
    ns->smooth_snr[k] += static_cast<int>((int64_t{snr} - ns->smooth_snr[k]) * weight >> 15);
  }
  const int first = first_bin_of_voice(ns);
  for (int k = 0; k < first; ++k)
    ns->smooth_snr[k] = std::min(ns->smooth_snr[k], ns->smooth_snr[first]);
}

int presence_in_frame(const NsxInst_t_* ns) {
  const int first = first_bin_of_voice(ns);
  int64_t sum = 0;
  for (int k = first; k < ns->bins; ++k) sum += std::min(ns->smooth_snr[k], kLargestSnrOfFrame);
  const limits& l = ns->sample_rate == 8000    ? kFrame8
                    : ns->sample_rate == 16000 ? kFrame16
                                               : kFrame32;
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): init sets 65 bins or more.
  return between(static_cast<int>(sum / (ns->bins - first)), l);
}

int presence_in_bin(const NsxInst_t_* ns, int k) {
  const int below = ns->smooth_snr[std::max(k - 1, 0)];
  const int above = ns->smooth_snr[std::min(k + 1, ns->bins - 1)];
  return between((below + 2 * ns->smooth_snr[k] + above) / 4, kBin);
}

}  // namespace

void set_presence_gains(NsxInst_t_* ns, const noise_view& view) {
  smooth_snrs(ns, view);
  hold_voice(ns);
  int64_t around[kNsxMaxBins];
  neighbourhood_means(ns, ns->smooth_snr, around);
  const int frame = presence_in_frame(ns),
            hidden_by = ns->sample_rate == 16000 ? kHidden16 : kHidden;
  for (int k = 0; k < ns->bins; ++k) {
    const int neighbours = between(static_cast<int>(around[k]), kBin);
    const int presence = (presence_in_bin(ns, k) * neighbours >> 15) * frame >> 15;
    const int speech = speech_probability(kOneQ15 - presence, view.wiener[k], view.unlikeliness[k]);
    const int wiener = view.wiener[k] / 2;  // Q14
    const int gain = ns->denoise_bound + ((wiener - ns->denoise_bound) * speech >> 15);

    const auto hiding = static_cast<uint64_t>(ns->voice_around[k] >> hidden_by);
    const int hidden = share_q15(hiding, hiding + static_cast<uint64_t>(ns->noise_power[k]));
    const int least = std::max(hidden * frame >> 16, ns->denoise_bound);  // Q14
    ns->gain[k] = static_cast<unsigned short>(std::clamp(gain, least, kOneQ14));
  }
}
