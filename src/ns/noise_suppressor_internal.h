// What the sources of the noise suppressor share: the order of its features, the lengths of its
// phases, and the stages that only the frame's own function calls.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ns/noise_suppressor.h"

// Frames in which the parametric noise model and its gain are blended in.
constexpr int kStartupFrames = 50;
// Length of a quantile estimate; before the first is complete it's read every frame.
constexpr int kCycleFrames = 200;

constexpr int kOneQ14 = 16384;

enum { kLikelihood, kFlatness, kDifference };             // features
enum { kPriorFromPresence = 0, kPriorFromFeatures = 1 };  // prior sources

// num / den in Q11, at most kSnrLimit; 0 / 0 is 0.
constexpr uint32_t kSnrLimit = INT32_MAX;
inline uint32_t snr_q11(uint64_t num, uint64_t den) {
  if (num == 0) return 0;
  return den == 0 ? kSnrLimit
                  : static_cast<uint32_t>(std::min<uint64_t>((num << 11) / den, kSnrLimit));
}

// Portable forms of the stages behind the dispatch pointers.
void AnalysisUpdateC(NsxInst_t_* ns, const short* block, short* frame);
void CreateComplexBufferC(NsxInst_t_* ns, const short* frame, short* scaled);
void NoiseEstimationC(NsxInst_t_* ns);
void PrepareSpectrumC(NsxInst_t_* ns, short* spectrum);
void DenormalizeC(NsxInst_t_* ns, short* frame, int shift);
void SynthesisUpdateC(NsxInst_t_* ns, const short* frame, short* block, short gain_factor);

// Noise estimate.
void collect_start_model(NsxInst_t_* ns);  // the frame's part of the start-up sums
void start_noise(const NsxInst_t_* ns, unsigned int* noise);  // their white or pink noise, Q16
void reset_noise_estimate(NsxInst_t_* ns);

// Features.
void update_features(NsxInst_t_* ns);  // flatness, difference, and the thresholds for all three
void reset_features(NsxInst_t_* ns);

int64_t frame_energy(const NsxInst_t_* ns, const short* frame);  // sum of squares, N samples
