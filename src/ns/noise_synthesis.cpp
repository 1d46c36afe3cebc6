// Synthesis: from the spectrum and its gains back to samples.
#include "ns/noise_gain_factors.inc"
#include "ns/noise_suppressor_internal.h"
#include "spl/fft.h"
#include "spl/vectors.h"

namespace {

constexpr int kUnityFactor = 8192;  // Q13

// Symmetric, so that a sample's negative is one too: the transient limiter needs that.
short saturate_symmetric(int64_t value) {
  return static_cast<short>(std::clamp<int64_t>(value, -INT16_MAX, INT16_MAX));
}

// What the frame gains or loses as a whole: by the share of its energy that is left, likely speech
// gets some back, likely noise loses some more. Q13.
short gain_factor(const NsxInst_t_* ns, const short* frame) {
  if (!ns->gain_factor_on || ns->energy_in < 1) return kUnityFactor;
  const int64_t left = (frame_energy(ns, frame) * 256 + ns->energy_in / 2) / ns->energy_in;
  const auto ratio = std::min<int64_t>(left, 256);
  const int noise = ns->prior_non_speech, speech = kOneQ14 - noise;
  return static_cast<short>((speech * kSpeechFactor[ratio] >> 14) +
                            (noise * kNoiseFactor[ns->policy - 1][ratio] >> 14));
}

// The finished block out of the overlap-add, and room for as much at its end.
void take_block(NsxInst_t_* ns, short* block) {
  short* const buffer = ns->synthesis_buffer;
  const int kept = ns->frame_length - ns->block_length;
  tekaSpl_Copy16(buffer, block, ns->block_length);
  tekaSpl_Copy16(buffer + ns->block_length, buffer, kept);
  tekaSpl_Fill16(buffer + kept, ns->block_length, 0);
}

}  // namespace

void PrepareSpectrumC(NsxInst_t_* ns, short* spectrum) {
  for (int k = 0; k < ns->bins; ++k)
    for (int part : {2 * k, 2 * k + 1})
      spectrum[part] = static_cast<short>((ns->spectrum[part] * ns->gain[k] + 8192) >> 14);
}

void DenormalizeC(NsxInst_t_* ns, short* frame, int shift) {
  for (int i = 0; i < ns->frame_length; ++i) {
    const int64_t x = frame[i];
    frame[i] = saturate_symmetric(shift >= 0 ? x * (int64_t{1} << shift)
                                             : (x + (int64_t{1} << (-shift - 1))) >> -shift);
  }
}

void SynthesisUpdateC(NsxInst_t_* ns, const short* frame, short* block, short gain_factor) {
  short* const sum = ns->synthesis_buffer;
  for (int i = 0; i < ns->frame_length; ++i) {
    const int windowed = (frame[i] * ns->window[i] + 8192) >> 14;
    sum[i] = saturate_symmetric(sum[i] + ((windowed * gain_factor + 4096) >> 13));
  }
  take_block(ns, block);
}

//   spectrum ─► × gain ─► inverse FFT ─► × 2^-norm ─► × window × factor ─► overlap-add ─► block
//                 Q14      block-scaled           └─► energy left ─► ▲ Q13
void tekaNsx_DataSynthesis(NsxInst_t_* ns, short* out) {
  if (ns->zero_input) return take_block(ns, out);
  short spectrum[kNsxMaxFrame + 2], frame[kNsxMaxFrame];
  tekaNsx_PrepareSpectrum(ns, spectrum);
  const int scale = tekaSpl_RealInverseFft(spectrum, frame, ns->stages);
  tekaNsx_Denormalize(ns, frame, scale - ns->norm);
  tekaNsx_SynthesisUpdate(ns, frame, out, gain_factor(ns, frame));
}
