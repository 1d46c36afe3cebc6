// What the suppressor's stages share: the order of the features, the lengths of the phases, the
// energy of a frame.
#pragma once

#include <cstdint>

#include "ns/noise_suppressor.h"
#include "spl/vectors.h"

// Frames in which the parametric noise model and its gain are blended in.
constexpr int kStartupFrames = 50;
// Length of a quantile estimate's cycle. During the first, the estimate is read every frame.
constexpr int kCycleFrames = 200;

enum { kLikelihood, kFlatness, kDifference };                                   // features
enum { kPriorFromPresence = 0, kPriorFromFeatures = 1, kPriorFromMinima = 2 };  // prior sources

// Sum of squares over frame[0..N).
inline int64_t frame_energy(const NsxInst_t_* ns, const short* frame) {
  int scale = 0;
  const int64_t energy = tekaSpl_Energy16(frame, ns->frame_length, &scale);
  return energy << scale;
}

// Sets a dispatch pointer. Writes nothing where nothing changes: other instances may be running in
// other threads.
template <typename Stage>
void dispatch(Stage*& pointer, Stage* stage) {
  if (pointer != stage) pointer = stage;
}
