// Virtual bass: more apparent bass from small loudspeakers and earphones. The ear hears a low note
// from its harmonics alone (the missing fundamental), so the bass is split off, turned into
// harmonics that the loudspeaker can reproduce, levelled, and added again.
//
// J. F. Schouten, "The Perception of Subjective Tones", Proc. Kon. Ned. Akad. Wetensch. 41, 1938;
// E. Larsen and R. M. Aarts, "Audio Bandwidth Extension", Wiley, 2004.
//
// Each channel is split at 250 Hz. The mean of the two low bands drives the non-linear device
// (nld.h), whose harmonics are cut off above 500 Hz; harmonics and plain bass are weighted, mixed
// and levelled by the bass compressor (compressor_bass.h), and the result goes to both channels.
// The high bands and the plain bass pass identical all-passes, which keep them in phase with each
// other and, roughly, with the band-limited harmonics. Bass thus comes out in mono.
//
// As a user thinks of it, all Q13 (8192 = 1.0), stored as given, effective from the next sample on:
//   nld gain        level of the harmonics, initially 0.5
//   origin gain     level of the plain bass, initially 0.5
//   high band gain  level of everything above 250 Hz, initially 1.0
//   clip level      where the bass begins to clip (nld.h), 8192: a quarter of full scale
// With the harmonics at 0 and both other gains at 1.0 a mono signal passes flat. Changes are not
// faded.
//
// The compressor measures the mixed bass once per block, so the output depends, slightly, on how a
// stream is cut; its gain starts at 0, so the bass fades in after init and reset.
//
// There are no coefficients for 192000 Hz: there the output of all filters, and of the module, is
// 0.
//
// After a signal the output settles at a constant between 0 and some -180 (-93 dB of full scale),
// -700 (-82 dB) at 96000 Hz, with the initial gains; it is proportional to the gains. The filters
// round toward minus infinity, hence the sign. Silence from init or reset on gives exact silence.
//
// Latency: none but the filters' own, the same at every rate. The group delay is 2.58 ms towards
// 0 Hz (1.80 ms from the crossover, 0.78 ms from the all-passes), 2.67 ms at 60 Hz and 2.80 ms at
// 100 Hz. Memory: 1 KB for the bass buffer and twelve filter sections, taken by init. Samples:
// 24-bit values in 32-bit words.
#pragma once

#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"
#include "compressor_bass.h"
#include "nld.h"
#include "spectral_band_split.h"

struct virtual_bass_system {
  int status;          // the owner's enable word; processing doesn't look at it
  int origin_gain;     // Q13 gain of the plain bass
  int nld_gain;        // Q13 gain of the harmonics
  int high_band_gain;  // Q13 gain of the high bands
  int* bass_buffer;    // 256 words: the mixed bass of the last block; owned
  NLD* nld;            // makes the harmonics; owned, as all that follow
  spectral_band_split *split_left, *split_right;  // 250 Hz
  IIR* nld_band;                                  // low-pass of the harmonics
  IIR *align_left, *align_right, *align_bass;     // three identical all-passes
  compressor_bass* bass_compressor;               // levels bass and harmonics together
};

// Takes all parts. Status 0, gains 4096, 4096 and 8192, filters for 48000 Hz.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void virtual_bass_system_init(virtual_bass_system* bass);

// Loads the filters for a rate, in place of a set nld band too, and clears their history; the
// compressor and the clipper continue. Any value beyond the four rates takes 48000 Hz. Between two
// process calls it causes a transient.
SONX_EXPORT void virtual_bass_system_set_sample_rate(virtual_bass_system* bass,
                                                     SampleRateType rate);

// Clears the history of all parts and the bass buffer; settings and coefficients stay. The clip
// threshold restarts at its default and moves to the level set.
SONX_EXPORT void virtual_bass_system_reset(virtual_bass_system* bass);

// Ends and frees all parts; calling it again does nothing.
SONX_EXPORT void virtual_bass_system_end(virtual_bass_system* bass);

// Stored for the owner; any value.
SONX_EXPORT void virtual_bass_system_setstatus(virtual_bass_system* bass, int status);
SONX_EXPORT void virtual_bass_system_getstatus(virtual_bass_system* bass, int* status);

// The three gains, Q13, any value.
SONX_EXPORT void virtual_bass_system_set_nld_gain(virtual_bass_system* bass, int gain);
SONX_EXPORT void virtual_bass_system_get_nld_gain(virtual_bass_system* bass, int* gain);
SONX_EXPORT void virtual_bass_system_set_origin_gain(virtual_bass_system* bass, int gain);
SONX_EXPORT void virtual_bass_system_get_origin_gain(virtual_bass_system* bass, int* gain);
SONX_EXPORT void virtual_bass_system_set_high_band_gain(virtual_bass_system* bass, int gain);
SONX_EXPORT void virtual_bass_system_get_high_band_gain(virtual_bass_system* bass, int* gain);

// The filter of the harmonics: five words b0, b1, b2, -a1, -a2, Q28, copied in (history kept) or
// out. set_sample_rate puts the 500 Hz low-pass back.
SONX_EXPORT void virtual_bass_system_set_nld_band_param(virtual_bass_system* bass,
                                                        const int* coefficients);
SONX_EXPORT void virtual_bass_system_get_nld_band_param(virtual_bass_system* bass,
                                                        int* coefficients);

// The clip level, see NLD_set_clip_level.
SONX_EXPORT void virtual_bass_system_set_nld_clip_level(virtual_bass_system* bass, int level);
SONX_EXPORT void virtual_bass_system_get_nld_clip_level(virtual_bass_system* bass, int* level);

// One block of n frames, planar, meant for up to 256; more are taken as blocks of 256, each
// measured by the compressor on its own. Any of the four buffers may be the same; with one buffer
// for both outputs it holds the right channel with the bass added twice. Outputs saturate at the
// 32-bit limits; a scaled band of exactly -1 becomes 0. With n < 1 no samples are touched and the
// compressor's level falls by one step.
SONX_EXPORT void virtual_bass_system_process(virtual_bass_system* bass, int* in_left, int* in_right,
                                             int* out_left, int* out_right, int n);
