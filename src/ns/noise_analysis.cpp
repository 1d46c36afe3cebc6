#include "ns/noise_analysis.h"

#include <algorithm>

#include "ns/logarithm.h"
#include "ns/noise_estimate.h"
#include "ns/noise_frame.h"
#include "spl/fft.h"
#include "spl/vectors.h"

namespace {

// Moves the block into the last N samples, then frame = those times window (Q14), rounded.
void analysis_update(NsxInst_t_* ns, const short* block, short* frame) {
  short* const buffer = ns->analysis_buffer;
  const int kept = ns->frame_length - ns->block_length;
  tekaSpl_Copy16(buffer + ns->block_length, buffer, kept);
  tekaSpl_Copy16(block, buffer + kept, ns->block_length);
  for (int i = 0; i < ns->frame_length; ++i)
    frame[i] = static_cast<short>((buffer[i] * ns->window[i] + 8192) >> 14);
}

void create_complex_buffer(NsxInst_t_* ns, const short* frame, short* scaled) {
  for (int i = 0; i < ns->frame_length; ++i)
    scaled[i] = static_cast<short>(frame[i] * (1 << ns->norm));
}

// Each magnitude in three forms: 16 bits at the frame's own scale, Q16, and logarithm.
//
//   |X| / N 2^norm ─┬─► × 2^(16 - norm) ──► |X| / N, Q16
//                   └─► ln ──► + (stages - norm) ln 2 ──► ln |X|, at least 0, Q8
void measure(NsxInst_t_* ns, unsigned short* magnitudes) {
  const int scaling = ns->stages - ns->norm;  // -7..8
  const int log_scaling = scaling < 0 ? -tekaNsx_kLogTable[-scaling] : tekaNsx_kLogTable[scaling];
  int64_t energy = 0;
  ns->magnitude_sum = 0;
  for (int k = 0; k < ns->bins; ++k) {
    const int re = ns->spectrum[2 * k], im = ns->spectrum[2 * k + 1];
    const unsigned power = static_cast<unsigned>(re * re) + static_cast<unsigned>(im * im);
    const auto magnitude = static_cast<unsigned short>(tekaSpl_SqrtFloor(power));
    magnitudes[k] = magnitude;
    ns->magnitude[k] = unsigned{magnitude} << (16 - ns->norm);
    ns->log_magnitude[k] =
        static_cast<short>(std::max(0, ln_q8(std::max<unsigned>(magnitude, 1)) + log_scaling));
    ns->magnitude_sum += magnitude;
    energy += power;
  }
  ns->magnitude_energy = energy << (32 - 2 * ns->norm);  // at most 2^62: the mean square of a frame
}

}  // namespace

void (*tekaNsx_AnalysisUpdate)(NsxInst_t_*, const short*, short*) = analysis_update;
void (*tekaNsx_CreateComplexBuffer)(NsxInst_t_*, const short*, short*) = create_complex_buffer;

void use_portable_analysis() {
  dispatch(tekaNsx_AnalysisUpdate, analysis_update);
  dispatch(tekaNsx_CreateComplexBuffer, create_complex_buffer);
}

//   block ─► last N samples ─► × window ─┬─► energy_in
//                                        └─► × 2^norm ─► real FFT, 1 / N ─► spectrum
void analyse_frame(NsxInst_t_* ns, const short* in) {
  short frame[kNsxMaxFrame], scaled[kNsxMaxFrame];
  tekaNsx_AnalysisUpdate(ns, in, frame);
  const int peak = tekaSpl_MaxAbsValue16(frame, ns->frame_length);
  ns->zero_input = peak == 0;
  if (ns->zero_input) return;
  ns->norm = tekaSpl_Norm16(static_cast<short>(std::min(peak, INT16_MAX)));
  ns->energy_in = frame_energy(ns, frame);
  tekaNsx_CreateComplexBuffer(ns, frame, scaled);
  tekaSpl_RealFft(scaled, ns->spectrum, ns->stages);
}

//   block ─► spectrum ─► magnitudes
void tekaNsx_DataAnalysis(NsxInst_t_* ns, short* in, unsigned short* magnitudes) {
  analyse_frame(ns, in);
  if (ns->zero_input) return;
  measure(ns, magnitudes);
  if (ns->frame_count < kStartupFrames) collect_start_model(ns);
}
