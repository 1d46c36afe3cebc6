// A second-order recursive filter section (biquad) with integer arithmetic, run one sample at a
// time, in two variants: 16-bit samples with Q20 coefficients and first-order error feedback, and
// 24-bit samples in 32-bit words with Q28 coefficients. The caller chooses the coefficients for the
// variant it runs; one object stays with one variant.
//
//   y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] + (-a1) y[n-1] + (-a2) y[n-2]      (direct form I)
//
// A coefficient set is five words b0, b1, b2, -a1, -a2: the feedback terms are stored negated, so
// that all five products are added. 1.0 is 1048576 in Q20 and 268435456 in Q28.
//
// Latency: none but the filter's own. Memory: two five-word arrays, taken by IIR_init. The
// functions have C linkage and take the section untyped; pass the address of an IIR. Compiles as C11
// and as C++.
//
// Pointers aren't null, and have the alignment of what they point to: an IIR 8 bytes (4 with 32-bit
// pointers), words 4, 16-bit samples 2. A section belongs to one thread at a time.
#pragma once

#include <stdint.h>

#include "../export.h"

struct IIR {
  int* coef;   // 5 words b0, b1, b2, -a1, -a2; owned copy
  int* state;  // 5 words x[n], x[n-1], x[n-2], y[n-1], y[n-2] at the internal scale; owned.
               // In the 16-bit variant word 0 carries the truncation residue between calls.
};

// The Q20 high-pass of the karaoke chain (for IIR_process_16 at 32 kHz): about -12.5 dB at 100 Hz,
// -1.4 dB at 200 Hz, +0.7 dB at 300 Hz.
extern SONX_EXPORT const int kFilterCoefficients[5];

SONX_C_BEGIN

// Takes memory, copies the five coefficients, clears the history.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void IIR_init(void* section, const int* coefficients);

// New coefficients, history cleared. Safe between two process calls, with a transient.
SONX_EXPORT void IIR_reinit(void* section, const int* coefficients);

// New coefficients, history kept. Takes effect at the next sample.
SONX_EXPORT void IIR_set_param(void* section, const int* coefficients);

// Copies the five coefficients out.
SONX_EXPORT void IIR_get_param(void* section, int* coefficients);

// Clears the history.
SONX_EXPORT void IIR_reset(void* section);

// Frees both arrays and nulls the pointers; calling it again does nothing.
SONX_EXPORT void IIR_end(void* section);

// One 16-bit sample, Q20 coefficients; in and out may be the same. The output saturates at 16 bits;
// an output of exactly -1 becomes 0. Inside, samples stand 13 bits up.
SONX_EXPORT void IIR_process_16(void* section, const int16_t* in, int16_t* out);

// One sample, Q28 coefficients; in and out may be the same. Inside, samples stand 5 bits up: inputs
// beyond +-2^26 saturate, and so does the result; a result of exactly -1 there becomes 0.
SONX_EXPORT void IIR_process_32(void* section, const int32_t* in, int32_t* out);

SONX_C_END
