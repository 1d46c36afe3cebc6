// The analysis of frames with a memory that the caller chooses: several may be analysed at a time.
#pragma once

#include <cstdint>

#include "dsp/fft_int.h"

constexpr int kFirstBin = 2, kLastBin = 62;  // those with powers

// Powers of the eight latest frames, [bin][age] with the newest first, and the smoothed ones. The
// exported analysis has one of these for the whole process: fft_power_history, fft_power_current.
struct bin_powers {
  uint64_t history[64][8];
  uint64_t smoothed[64];
};

// As fft_int_init and fft_int_dowin_process, but for the process-wide arrays: init leaves them
// alone, and powers takes their place. in has len samples.
void fft_init_own(fft_int* fft, int n);
void fft_analyse(fft_int* fft, bin_powers* powers, const int* in, int* out, int len);
