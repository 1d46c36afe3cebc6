// A sixth-order recursive filter in one direct-form section, for steep band-passes and low-passes
// (elliptic designs). 24-bit samples in 32-bit words, Q20 coefficients, 64-bit accumulator; inside,
// samples stand 5 bits up. Nothing saturates: input scaling and result wrap at 32 bits.
//
// The 13 coefficients are b0..b6, then -a1..-a6 (feedback stored negated), 1048576 = 1.0.
//
// Latency: none but the filter's own. Memory: 13 words, taken by init; the table is the caller's.
#pragma once

#include "../export.h"

struct elliptic {
  const int* coef;  // 13 Q20 words b0..b6, -a1..-a6; borrowed, so later edits change the filter
  int* state;       // 13 words: x[n]..x[n-6], y[n-1]..y[n-6]; owned. Between calls word 0 holds the
                    // low 13 bits of the last accumulator
};

// Keeps the pointer to the table and takes the cleared history.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void elliptic_init(elliptic* filter, const int* coefficients);

// Another table; history cleared.
SONX_EXPORT void elliptic_setcoef(elliptic* filter, const int* coefficients);

// Clears the history.
SONX_EXPORT void elliptic_resetstate(elliptic* filter);

// Frees the history and nulls both pointers; calling it again does nothing.
SONX_EXPORT void elliptic_end(elliptic* filter);

// One sample; in and out may be the same. An output of exactly -1 becomes 0.
SONX_EXPORT void elliptic_process(elliptic* filter, int* in, int* out);
