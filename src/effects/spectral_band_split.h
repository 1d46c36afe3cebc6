// Band splitter: divides one channel at a corner frequency into a low and a high band.
//
// Each band is a cascade of two identical second-order sections (fourth order, 24 dB per octave).
// With Butterworth sections that share their poles this is a Linkwitz-Riley crossover: both bands
// are 6 dB down at the corner, in phase with each other everywhere, and their sum is an all-pass,
// flat in level. S. H. Linkwitz, "Active Crossover Networks for Noncoincident Drivers", J. Audio
// Eng. Soc. 24(1), 1976. The caller supplies the coefficients, and with them the corner.
//
// Latency: none but the filters' own. Memory: four sections, taken by init. Samples: 24-bit values
// in 32-bit words; coefficients: five words Q28, see dsp/iir.h.
#pragma once

#include "../dsp/iir.h"
#include "../export.h"

struct spectral_band_split {
  IIR* low[2];   // low 1, low 2: one coefficient set for both; owned
  IIR* high[2];  // high 1, high 2: another set for both; owned
};

// Takes the four sections. low and high: five coefficients each, copied.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void spectral_band_split_init(spectral_band_split* split, const int* low,
                                          const int* high);

// New coefficients, history cleared. Safe between two process calls, with a transient.
SONX_EXPORT void spectral_band_split_reinit(spectral_band_split* split, const int* low,
                                            const int* high);

// Clears the history.
SONX_EXPORT void spectral_band_split_reset(spectral_band_split* split);

// Ends and frees the sections; calling it again does nothing.
SONX_EXPORT void spectral_band_split_end(spectral_band_split* split);

// One sample into both bands. in may be the same as low or high: it is read before either is
// written. Edges as in IIR_process_32.
SONX_EXPORT void spectral_band_split_process(spectral_band_split* split, int* in, int* low,
                                             int* high);
