// Analysis: from a block of samples to the spectrum of a windowed frame, its magnitudes and sums.
// The stage itself is tekaNsx_DataAnalysis.
#pragma once

// Sets this stage's dispatch pointers to the functions here.
void use_portable_analysis();
