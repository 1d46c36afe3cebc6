// A Schroeder all-pass section: flat magnitude, dense echoes; the diffuser of the reverbs.
//
//   H(z) = (g + z^-N) / (1 + g z^-N),   N = length, g = feedback / 8192
//
// M. R. Schroeder, "Natural Sounding Artificial Reverberation", J. Audio Eng. Soc. 10(3), 1962.
// Samples pass at the caller's scale. Every product saturates at 32 bits and a product of exactly
// -1 becomes 0, so that a tail reaches silence; the sums saturate. Memory: length words.
#pragma once

#include "../export.h"

struct allpass {
  int feedback;  // g, Q13: 8192 = 1.0
  int* buffer;   // length samples of loop delay, owned
  int length;    // loop delay in samples
  int index;     // read and write position, 0..length - 1
};

// A cleared loop of n samples, feedback 4096 (0.5). n below 1 makes a one-sample loop.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void allpass_init(allpass* section, int n);

// Clears the loop; feedback stays.
SONX_EXPORT void allpass_reset(allpass* section);

// Frees the loop and nulls the pointer; calling it again does nothing.
SONX_EXPORT void allpass_end(allpass* section);

// Feedback in Q13, stored as given. Below 8192 in magnitude the section is stable.
SONX_EXPORT void allpass_setfeedback(allpass* section, int feedback);
SONX_EXPORT void allpass_getfeedback(allpass* section, int* feedback);

// One sample.
SONX_EXPORT int allpass_process(int x, allpass* section);
