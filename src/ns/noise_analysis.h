// Analysis: from a block of samples to the spectrum of a windowed frame, its magnitudes and sums.
// The stage itself is tekaNsx_DataAnalysis.
#pragma once

#include "ns/noise_suppressor.h"

// Of that stage all but the magnitudes, where the spectrum is enough.
void analyse_frame(NsxInst_t_* ns, const short* in);

// Sets this stage's dispatch pointers to the functions here.
void use_portable_analysis();
