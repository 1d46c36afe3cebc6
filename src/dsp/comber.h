// A feedback comb filter with a one-pole low-pass in its loop: the echo whose highs die first, of
// which a reverb runs several side by side.
//
//   x ──► × 2^k ──► + ──► loop of length samples ──┬──► / 2^k ──► out
//                   ▲                              ▼
//                   └─ × feedback ◄─ damp2·d + damp1·store          (gains Q13)
//
// J. A. Moorer, "About This Reverberation Business", Computer Music Journal 3(2), 1979.
// k is 13 for 16-bit samples and 5 for 24-bit ones, so that both reach 2^28 inside. The products
// saturate at 32 bits, a product of exactly -1 becomes 0, the sum into the loop wraps.
// Memory: length words. Latency: the output is the loop's delay.
#pragma once

#include "../export.h"

struct comber {
  int feedback;      // loop gain, Q13
  int filter_store;  // state of the damping low-pass
  int damp1;         // weight of the low-pass's own past, Q13
  int damp2;         // weight of the delayed sample, Q13; 8192 - damp1
  int* buffer;       // length samples, owned
  int length;        // loop delay in samples
  int index;         // read and write position, 0..length - 1
};

// A cleared loop of n samples, feedback 4096, damp1 8192, damp2 0: with this damping the loop feeds
// nothing back, so comb_setsetdamp must be called before use. n below 1 makes a one-sample loop.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void comb_init(comber* comb, int n);

// Clears the loop and the low-pass; gains stay.
SONX_EXPORT void comb_reset(comber* comb);

// Frees the loop and nulls the pointer; calling it again does nothing.
SONX_EXPORT void comb_end(comber* comb);

// Loop gain in Q13, stored as given; from 8192 on the loop doesn't decay.
SONX_EXPORT void comb_setfeedback(comber* comb, int feedback);

// Damping in Q13: 0 = none, towards 8192 ever darker. Stored as given.
SONX_EXPORT void comb_setsetdamp(comber* comb, int damp);

// One sample of 16-bit or of 24-bit range; an output of exactly -1 becomes 0.
SONX_EXPORT int comb_process_16(int x, comber* comb);
SONX_EXPORT int comb_process_24(int x, comber* comb);
