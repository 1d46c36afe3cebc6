// A feedback comb whose loop holds a fixed first-order filter: the karaoke echo, whose repeats lose
// their highs.
//
//   y[n] = x[n] + g F(y[n - D]),   F(z) = (b0 + b1 z^-1) / (1 + a1 z^-1)
//
// D = delay, g = feedback / 8192, b0 = b1 = 0.5, a1 = 0.69995 (Q13: 4096, 4096, 5734). Products are
// scaled down by 2^13 and wrap at 32 bits, a product of exactly -1 becomes 0, and the sum wraps.
// Memory: capacity words. Latency: none, the output holds the input at once.
#pragma once

#include "../export.h"

struct iircomber {
  int* buffer;   // capacity samples, owned
  int capacity;  // allocated length
  int index;     // read and write position
  int feedback;  // g, Q13
  int b0;        // Q13
  int b1;        // Q13
  int a1;        // Q13, subtracted
  int delay;     // active loop length in samples; 0 and 1 are both one sample
  int x1;        // the loop filter's previous input
  int y1;        // the loop filter's previous output
};

// A cleared loop with room for n samples, feedback 4096, delay 0 (a one-sample loop until the delay
// is set).
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void iircomber_init(iircomber* comb, int n);

// Clears the loop and its filter; settings stay.
SONX_EXPORT void iircomber_reset(iircomber* comb);

// Frees the loop and nulls the pointer; calling it again does nothing.
SONX_EXPORT void iircomber_end(iircomber* comb);

// delay = the smaller of capacity and n; nothing is cleared.
SONX_EXPORT void iircomber_setdelay(iircomber* comb, int n);
SONX_EXPORT void iircomber_getdelay(iircomber* comb, int* n);

// Loop gain in Q13, stored as given.
SONX_EXPORT void iircomber_setfeedback(iircomber* comb, int feedback);
SONX_EXPORT void iircomber_getfeedback(iircomber* comb, int* feedback);

// One sample.
SONX_EXPORT int iircomber_process(int x, iircomber* comb);
