// Speech probability: likelihood ratio of each bin, and the prior from the features.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "fixed.h"
#include "ns/logarithm.h"
#include "ns/noise_frame.h"
#include "ns/speech_indicator.inc"

namespace {

constexpr int kSlopeOfSpeech = 4;     // of an indicator on the side of speech
constexpr int kSlopeOfPause = 8;      // and on the side of a pause
constexpr int kPriorStep = 1638;      // 0.1, Q14
constexpr int kLargestPrior = 16220;  // of a pause: speech is never ruled out by more than 0.99

// Smoothed log-likelihood ratio of speech and noise for a bin, Q12. xi is the SNR a priori, gamma
// the SNR a posteriori, taken as 1 where it is less, both Q11:
//
//   L += ((gamma 2 xi / (1 + 2 xi) - ln(1 + 2 xi)) - L) / 2
int follow_likelihood(int likelihood, uint32_t xi, uint32_t gamma) {
  const uint64_t twice = uint64_t{xi} * 2, sum = kOneQ11 + twice;
  const uint64_t wiener = (twice << 15) / sum;  // Q15
  const auto bessel = static_cast<int64_t>((std::max<uint64_t>(gamma, kOneQ11) * wiener) >> 14);
  const int64_t ratio = bessel - (ln_q12(sum) - ln_q12(kOneQ11));
  return saturate32(likelihood + ((ratio - likelihood) >> 1));
}

// 1 / (1 + e^(-2 x)) in Q14 for x = slope * distance, distance in Q12, by a table with four steps
// per 1.0 of x and straight lines between them.
int indicator(int slope, int64_t distance) {
  const int64_t x = std::min<int64_t>(std::abs(distance) * slope, 4 << 12);
  const int64_t step = std::min<int64_t>(x >> 10, 15), rest = x - (step << 10);
  const int64_t low = kIndicator[step], high = kIndicator[step + 1];
  const int half = static_cast<int>(low + ((high - low) * rest >> 10));
  return distance >= 0 ? kOneQ14 / 2 + half : kOneQ14 / 2 - half;
}

// The probability of speech that a feature gives by its distance on the side of speech, Q14.
int speech_indicator(int64_t distance) {
  return indicator(distance < 0 ? kSlopeOfPause : kSlopeOfSpeech, distance);
}

// The prior from the features: the weighted indicators, smoothed. Speech is less flat than noise,
// and its difference from the pauses is larger.
void follow_prior(NsxInst_t_* ns) {
  const auto above = [&](int f) { return int64_t{ns->feature[f]} - ns->threshold[f]; };
  const int speech = (ns->weight[kLikelihood] * speech_indicator(above(kLikelihood)) +
                      ns->weight[kFlatness] * speech_indicator(-above(kFlatness)) +
                      ns->weight[kDifference] * speech_indicator(above(kDifference))) >>
                     14;
  const int error = kOneQ14 - speech - ns->prior_non_speech;
  const int prior = ns->prior_non_speech + ((error * kPriorStep + 8192) >> 14);
  ns->prior_non_speech = static_cast<short>(std::clamp(prior, 0, kLargestPrior));
}

// prior / (prior + (1 - prior) e^likelihood), Q14; only powers up to 1 are formed.
unsigned short noise_probability(int64_t prior, int likelihood) {
  const int64_t power = exp_q12(-std::abs(int64_t{likelihood}), 30);  // Q30
  const int64_t one = int64_t{1} << 30;
  const int64_t noise = prior * (likelihood >= 0 ? power : one);
  const int64_t speech = (kOneQ14 - prior) * (likelihood >= 0 ? one : power);
  return noise == 0 ? 0 : static_cast<unsigned short>((noise << 14) / (noise + speech));
}

}  // namespace

void tekaNsx_SpeechNoiseProb(NsxInst_t_* ns, unsigned short* non_speech_probability,
                             unsigned int* prior_snr, unsigned int* post_snr) {
  int64_t sum = 0;
  for (int k = 0; k < ns->bins; ++k) {
    ns->log_likelihood[k] = follow_likelihood(ns->log_likelihood[k], prior_snr[k], post_snr[k]);
    sum += ns->log_likelihood[k];
  }
  ns->feature[kLikelihood] = static_cast<int>(sum / ns->bins);
  if (ns->prior_source == kPriorFromFeatures) follow_prior(ns);
  for (int k = 0; k < ns->bins; ++k)
    non_speech_probability[k] = noise_probability(ns->prior_non_speech, ns->log_likelihood[k]);
}
