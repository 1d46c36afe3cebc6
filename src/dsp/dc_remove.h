// A first-order DC blocker, Y[n] = R (X[n] - X[n-1] + Y[n-1]) with R = 0.996 (Q26: 66840428). The
// -3 dB corner lies near 31 Hz at 48 kHz and moves with the rate.
//
// 64-bit state at an internal scale (13 bits up for 16-bit samples, 5 bits up for 24-bit ones). The
// 64-bit product wraps on full swings of the 32-bit range; samples of the meant width are far from
// that. One object stays with one width. Latency: none. Memory: the record itself.
#pragma once

#include <stdint.h>

#include "../export.h"

struct dc_remove {
  int64_t y_prev;  // previous output at the internal scale
  int64_t x_prev;  // previous input at the internal scale
};

// All three clear the history.
SONX_EXPORT void dc_remove_init(dc_remove* filter);
SONX_EXPORT void dc_remove_reset(dc_remove* filter);
SONX_EXPORT void dc_remove_end(dc_remove* filter);

// One sample of 16-bit range held in 32 bits; in and out may be the same. The output wraps at 32
// bits, it is not clamped to 16; an output of exactly -1 becomes 0.
SONX_EXPORT void dc_remove_process_16(dc_remove* filter, int* in, int* out);

// One sample of 24-bit range held in 32 bits; in and out may be the same. The output saturates at
// 32 bits; an output of exactly -1 becomes 0.
SONX_EXPORT void dc_remove_process_24(dc_remove* filter, int* in, int* out);
