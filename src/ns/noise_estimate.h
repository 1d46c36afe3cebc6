// Noise estimate: log-quantiles over time, and the parametric model that replaces them at the
// start.
#pragma once

#include "ns/noise_suppressor.h"

// Sets tekaNsx_NoiseEstimation to the function here.
void use_portable_estimate();

void reset_noise_estimate(NsxInst_t_* ns);

// Adds a frame's magnitudes to the sums of the start-up model.
void collect_start_model(NsxInst_t_* ns);

// The model's noise, white or pink: noise[0..bins), Q16.
void start_noise(const NsxInst_t_* ns, unsigned int* noise);
