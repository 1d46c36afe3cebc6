// Analysis: from a block of samples to the spectrum of a windowed frame, its magnitudes and sums.
#include "ns/logarithm_internal.h"
#include "ns/noise_suppressor_internal.h"
#include "spl/fft.h"
#include "spl/vectors.h"

int64_t frame_energy(const NsxInst_t_* ns, const short* frame) {
  int scale = 0;
  const int64_t energy = tekaSpl_Energy16(frame, ns->frame_length, &scale);
  return energy << scale;
}

void AnalysisUpdateC(NsxInst_t_* ns, const short* block, short* frame) {
  short* const buffer = ns->analysis_buffer;
  const int kept = ns->frame_length - ns->block_length;
  tekaSpl_Copy16(buffer + ns->block_length, buffer, kept);
  tekaSpl_Copy16(block, buffer + kept, ns->block_length);
  for (int i = 0; i < ns->frame_length; ++i)
    frame[i] = static_cast<short>((buffer[i] * ns->window[i] + 8192) >> 14);
}

void CreateComplexBufferC(NsxInst_t_* ns, const short* frame, short* scaled) {
  for (int i = 0; i < ns->frame_length; ++i)
    scaled[i] = static_cast<short>(frame[i] * (1 << ns->norm));
}

namespace {

constexpr int kLogOfQ16 = 2839;  // 16 ln 2, Q8

// Magnitudes three times over: 16 bits at the frame's own scale, Q16, and logarithm. The root is
// taken of a power that fills its 32 bits, so that small magnitudes have as many bits as large
// ones.
//
//   |X| / N 2^norm, Q16 ─┬─► whole part
//                        ├─► × 2^-norm ──► Q16
//                        └─► ln ──► + (stages - norm) ln 2 ──► ln |X|, at least 0, Q8
void measure(NsxInst_t_* ns, unsigned short* magnitudes) {
  const int scaling = ns->stages - ns->norm;  // -7..8
  const int log_scaling = scaling < 0 ? -tekaNsx_kLogTable[-scaling] : tekaNsx_kLogTable[scaling];
  int64_t energy = 0;
  ns->magnitude_sum = 0;
  for (int k = 0; k < ns->bins; ++k) {
    const int re = ns->spectrum[2 * k], im = ns->spectrum[2 * k + 1];
    const unsigned power = static_cast<unsigned>(re * re) + static_cast<unsigned>(im * im);
    const int up = tekaSpl_NormU32(power) / 2;
    const auto root = static_cast<uint64_t>(tekaSpl_SqrtFloor(power << (2 * up)));
    const uint64_t magnitude = (root << 16) >> up;
    magnitudes[k] = static_cast<unsigned short>(magnitude >> 16);
    ns->magnitude[k] = static_cast<unsigned>(magnitude >> ns->norm);
    const int log = ln_q8(std::max<uint64_t>(magnitude, 1)) - kLogOfQ16 + log_scaling;
    ns->log_magnitude[k] = static_cast<short>(std::max(0, log));
    ns->magnitude_sum += magnitudes[k];
    energy += power;
  }
  ns->magnitude_energy = energy << (32 - 2 * ns->norm);  // below 2^62: the mean square of a frame
}

}  // namespace

//   block ─► last N samples ─► × window ─► energy_in
//                                      └─► × 2^norm ─► real FFT, 1 / N ─► spectrum ─► magnitudes
void tekaNsx_DataAnalysis(NsxInst_t_* ns, short* in, unsigned short* magnitudes) {
  short frame[kNsxMaxFrame], scaled[kNsxMaxFrame];
  tekaNsx_AnalysisUpdate(ns, in, frame);
  const int peak = tekaSpl_MaxAbsValue16(frame, ns->frame_length);
  ns->zero_input = peak == 0;
  if (ns->zero_input) return;
  ns->norm = tekaSpl_Norm16(static_cast<short>(std::min(peak, INT16_MAX)));
  ns->energy_in = frame_energy(ns, frame);
  tekaNsx_CreateComplexBuffer(ns, frame, scaled);
  tekaSpl_RealFft(scaled, ns->spectrum, ns->stages);
  measure(ns, magnitudes);
  if (ns->frame_count < kStartupFrames) collect_start_model(ns);
}
