// Features of a frame that separate speech from noise, and the thresholds and weights that are
// derived from their histograms once per window of 512 frames.
#pragma once

#include "ns/noise_suppressor.h"

void reset_features(NsxInst_t_* ns);

// Flatness and difference of the frame; at the end of a window the thresholds of all three
// features.
void update_features(NsxInst_t_* ns);
