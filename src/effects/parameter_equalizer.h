// Parametric equalizer: up to ten second-order sections in series per channel, and an input gain per
// channel. For the correction of a headphone or a fixed tuning.
//
// The caller supplies the coefficients, which are taken as they are: b0, b1, b2, -a1, -a2 in Q28
// (268435456 = 1.0), the feedback terms negated, so that all five products are added. Gains are Q13
// (8192 = 1.0). Samples are 24-bit in 32-bit words, planar; a section has 48 dB of headroom above
// 24-bit full scale and wraps beyond.
//
// A section rounds each result down to a whole sample step, without feedback of the error. This
// leaves a small negative offset of at most 1 / (1 + a1 + a2) steps, which remains after the input
// has become silent: some 2600 of 2^23 (-70 dB) for a peaking section with Q = 2 at 150 Hz and
// 48000 Hz, four times as much an octave lower. Corrections below 100 Hz are best avoided.
//
// The right channel has its own gain, number of bands and history, but runs the left channel's
// coefficients; those set for the right are kept and not used.
//
// Latency: none. Memory: the record; nothing is allocated. Settings may change between two process
// calls. One caller per object.
#pragma once

#include "../export.h"

struct parameter_equalizer_t {
  int status;              // non-zero: the owner runs this stage; processing doesn't look at it
  int gain_left;           // Q13, left and mono
  int gain_right;          // Q13
  int band_count_left;     // bands run on the left channel, 0..10
  int band_count_right;    // bands run on the right channel, 0..10
  int coef_left[10][5];    // b0, b1, b2, -a1, -a2; run on both channels
  int coef_right[10][5];   // kept, not used
  int state_left[10][5];   // x[n], x[n-1], x[n-2], y[n-1], y[n-2]
  int state_right[10][5];  // the same of the right channel
};

// Status 0, both gains 8192, no bands, all coefficients and history zero: a pass-through.
SONX_EXPORT void parameter_equalizer_init(parameter_equalizer_t* equalizer);

// Clears the history of both channels; settings stay.
SONX_EXPORT void parameter_equalizer_reset(parameter_equalizer_t* equalizer);

// Nothing to free: does nothing.
SONX_EXPORT void parameter_equalizer_end(parameter_equalizer_t* equalizer);

// Sets a channel's bands from ten rows: a flag and five Q28 coefficients. All ten rows are copied
// and the channel's history is cleared. The number of bands run is the number of rows whose flag is
// 1 or more, and those run are always the first ones: flags are counted, not matched to their rows,
// so the rows in use must come first.
SONX_EXPORT void parameter_equalizer_setparameter_left(parameter_equalizer_t* equalizer,
                                                       const int (*rows)[6]);
SONX_EXPORT void parameter_equalizer_setparameter_right(parameter_equalizer_t* equalizer,
                                                        const int (*rows)[6]);

// Do nothing; the rows are left as they are.
SONX_EXPORT void parameter_equalizer_getparameter_left(parameter_equalizer_t* equalizer,
                                                       int (*rows)[6]);
SONX_EXPORT void parameter_equalizer_getparameter_right(parameter_equalizer_t* equalizer,
                                                        int (*rows)[6]);

// Stored for the owner; any value.
SONX_EXPORT void parameter_equalizer_setstatus(parameter_equalizer_t* equalizer, int status);
SONX_EXPORT void parameter_equalizer_getstatus(parameter_equalizer_t* equalizer, int* status);

// The input gains, Q13, any value.
SONX_EXPORT void parameter_equalizer_set_gain_left(parameter_equalizer_t* equalizer, int gain);
SONX_EXPORT void parameter_equalizer_get_gain_left(parameter_equalizer_t* equalizer, int* gain);
SONX_EXPORT void parameter_equalizer_set_gain_right(parameter_equalizer_t* equalizer, int gain);
SONX_EXPORT void parameter_equalizer_get_gain_right(parameter_equalizer_t* equalizer, int* gain);

// n frames, planar: the channel's gain (saturating, a result of -1 becomes 0), then its bands,
// which wrap at 32 bits. In place allowed, and any of the outputs may be any of the inputs: a
// frame's inputs are read before its outputs are written. n < 1 does nothing.
SONX_EXPORT void parameter_equalizer_process_stereo(parameter_equalizer_t* equalizer, int* in_left,
                                                    int* in_right, int* out_left, int* out_right,
                                                    int n);

// n samples through the left channel; in place allowed; n < 1 does nothing.
SONX_EXPORT void parameter_equalizer_process_mono(parameter_equalizer_t* equalizer, int* in,
                                                  int* out, int n);
