#include "ns/noise_synthesis.h"

#include <algorithm>
#include <cstdint>

#include "fixed.h"
#include "ns/noise_frame.h"
#include "ns/noise_gain_factors.inc"
#include "spl/fft.h"
#include "spl/vectors.h"

namespace {

// Never -32768, whose magnitude the transient limiter gets wrong.
short saturate_symmetric(int64_t value) {
  return static_cast<short>(std::clamp<int64_t>(value, -INT16_MAX, INT16_MAX));
}

// The gain of the frame as a whole, Q13, by the share of its energy that is left: likely speech is
// raised, likely noise lowered further.
short gain_factor_q13(const NsxInst_t_* ns, const short* frame) {
  if (!ns->gain_factor_on || ns->energy_in < 1 || ns->prior_source == kPriorFromMinima)
    return kOneQ13;
  const int64_t left = (frame_energy(ns, frame) * 256 + ns->energy_in / 2) / ns->energy_in;
  const auto ratio = std::min<int64_t>(left, 256);
  const int noise = ns->prior_non_speech, speech = kOneQ14 - noise;
  return static_cast<short>((speech * kSpeechFactor[ratio] >> 14) +
                            (noise * kNoiseFactor[ns->policy - 1][ratio] >> 14));
}

// Moves the finished block out of the overlap-add and appends as many zeros.
void shift_out_block(NsxInst_t_* ns, short* block) {
  short* const buffer = ns->synthesis_buffer;
  const int kept = ns->frame_length - ns->block_length;
  tekaSpl_Copy16(buffer, block, ns->block_length);
  tekaSpl_Copy16(buffer + ns->block_length, buffer, kept);
  tekaSpl_Fill16(buffer + kept, ns->block_length, 0);
}

void prepare_spectrum(NsxInst_t_* ns, short* spectrum) {
  for (int k = 0; k < ns->bins; ++k)
    for (int part : {2 * k, 2 * k + 1})
      spectrum[part] = static_cast<short>((ns->spectrum[part] * ns->gain[k] + 8192) >> 14);
}

void denormalize(NsxInst_t_* ns, short* frame, int shift) {
  for (int i = 0; i < ns->frame_length; ++i) {
    const int64_t x = frame[i];
    frame[i] = saturate_symmetric(shift >= 0 ? x * (int64_t{1} << shift)
                                             : (x + (int64_t{1} << (-shift - 1))) >> -shift);
  }
}

void synthesis_update(NsxInst_t_* ns, const short* frame, short* block, short factor_q13) {
  short* const sum = ns->synthesis_buffer;
  for (int i = 0; i < ns->frame_length; ++i) {
    const int windowed = (frame[i] * ns->window[i] + 8192) >> 14;
    sum[i] = saturate_symmetric(sum[i] + ((windowed * factor_q13 + 4096) >> 13));
  }
  shift_out_block(ns, block);
}

}  // namespace

void (*tekaNsx_PrepareSpectrum)(NsxInst_t_*, short*) = prepare_spectrum;
void (*tekaNsx_Denormalize)(NsxInst_t_*, short*, int) = denormalize;
void (*tekaNsx_SynthesisUpdate)(NsxInst_t_*, const short*, short*, short) = synthesis_update;

void use_portable_synthesis() {
  dispatch(tekaNsx_PrepareSpectrum, prepare_spectrum);
  dispatch(tekaNsx_Denormalize, denormalize);
  dispatch(tekaNsx_SynthesisUpdate, synthesis_update);
}

//   spectrum ─► × gain ─► inverse FFT ──► × 2^(scale - norm) ─┬─► × window × factor ─► overlap-add
//                 Q14     block-scaled                        │       Q14      ▲ Q13        │
//                                                             └─► energy left ─┘            ▼ block
void tekaNsx_DataSynthesis(NsxInst_t_* ns, short* out) {
  if (ns->zero_input) return shift_out_block(ns, out);
  short spectrum[kNsxMaxFrame + 2], frame[kNsxMaxFrame];
  tekaNsx_PrepareSpectrum(ns, spectrum);
  const int scale = tekaSpl_RealInverseFft(spectrum, frame, ns->stages);
  tekaNsx_Denormalize(ns, frame, scale - ns->norm);
  tekaNsx_SynthesisUpdate(ns, frame, out, gain_factor_q13(ns, frame));
}
