// Difference circuit: the first stage of the stereo widening. Splits the music into the sum and the
// difference of the channels, and recombines them with the difference amplified where the ear
// judges width.
//
// First each channel passes three all-passes of its own, at different frequencies left and right:
//   left   250 Hz (Q 13), 1675 Hz (Q 13), 18 kHz (Q 13)
//   right  50 Hz (Q 13), 600 Hz (Q 13), 5580 Hz (Q 2)
// They keep the levels and shift the phases against each other around these frequencies, so that
// even a mono input has a difference there. Then, per sample, with a and b the channels:
//   s = a + b,  d = a - b
//   mid  = (s + s around 2860 Hz / 4 + s below 200 Hz) / 2
//   side = (d / 2 + 1.5 x d below 200 Hz + d above 7 kHz) x side gain
//   left = mid + a / 4 + side,  right = mid + b / 4 - side
//
// Side gain is Q13, 8192 = 1.0: 0 leaves little but the sum, 4096 is the setting after init.
//
// The mid/side matrix goes back to A. D. Blumlein's shuffler (British Patent 394325, 1931). All
// filters are second-order sections; at 192 kHz they are all silent, and so is the output.
// Latency: none but the filters' own. Memory: eleven sections, taken by init.
#pragma once

#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

struct difference_circuit {
  IIR* section[11];  // 0..2 all-passes left, 3..5 all-passes right, 6 a band-pass (2.7 to 12 kHz)
                     // that is set but not run, 7 low-pass and 8 high-pass of the difference,
                     // 9 band-pass and 10 low-pass of the sum
  int side_gain;     // Q13
};

// Takes the memory; 48000 Hz, side gain 4096, history clear.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void difference_circuit_init(difference_circuit* circuit);

// Clears the history of all sections.
SONX_EXPORT void difference_circuit_reset(difference_circuit* circuit);

// Frees the sections, nulls their pointers, side gain 0; calling it again does nothing.
SONX_EXPORT void difference_circuit_end(difference_circuit* circuit);

// Coefficients of all sections for a rate, their history cleared; a value outside 0..3 counts as
// 48000 Hz. Safe between two process calls, with a transient.
SONX_EXPORT void difference_circuit_set_sample_rate(difference_circuit* circuit,
                                                    SampleRateType rate);

// Q13, any value; takes effect at the next sample.
SONX_EXPORT void difference_circuit_set_side_gain(difference_circuit* circuit, int gain);
SONX_EXPORT void difference_circuit_get_side_gain(difference_circuit* circuit, int* gain);

// One frame, 24-bit samples in 32-bit words. Sums wrap at 32 bits (24-bit samples stay far below),
// the side signal saturates. The four pointers may coincide in any way.
SONX_EXPORT void difference_circuit_process_32(difference_circuit* circuit, int* in_left,
                                               int* in_right, int* out_left, int* out_right);

// n frames, planar, the same bits as n single frames; whole buffers may coincide in any way; n < 1
// does nothing.
SONX_EXPORT void difference_circuit_process_block(difference_circuit* circuit, int* in_left,
                                                  int* in_right, int* out_left, int* out_right,
                                                  int n);
