// A tunable notch: two zeros on the unit circle, two poles at radius r on the same angle, with
// first-order error feedback.
//
//   H(z) = (1 + f z^-1 + z^-2) / (1 + r f z^-1 + r^2 z^-2),   f = -2 cos(2 pi frequency / rate)
//
// The closer the radius to 1.0, the narrower the notch. 64-bit arithmetic that wraps; nothing
// saturates. Latency: none but the filter's own. Memory: five 64-bit words, taken by init.
#pragma once

#include <stdint.h>

#include "../export.h"

struct notch {
  int radius;      // pole radius, Q13: 8192 = 1.0
  int freq;        // f in Q28: -2 cos(angle) * 2^28
  int64_t* state;  // x[n-1], x[n-2], y[n-1], y[n-2] at sample scale, then the residue; owned
};

// Stores both settings and takes the cleared history.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void notch_init(notch* filter, int radius, int freq);

// Stores both settings; history cleared.
SONX_EXPORT void notch_setcoef(notch* filter, int radius, int freq);

// Moves the notch; history kept. Takes effect at the next sample.
SONX_EXPORT void notch_setfi(notch* filter, int freq);

// Clears the history.
SONX_EXPORT void notch_resetstate(notch* filter);

// Frees the history, zeroes the settings; calling it again does nothing.
SONX_EXPORT void notch_end(notch* filter);

// One sample of up to 32 bits; in and out may be the same. The output is the low 32 bits of the
// result; an output of exactly -1 becomes 0.
SONX_EXPORT void notch_process(notch* filter, int* in, int* out);
