// Speaker boost: makes a small loudspeaker as loud and as full as it can safely be. The lowest
// bass, which it cannot reproduce, is replaced by harmonics; each of the other bands has its own
// limiter with make-up volume, so that a loud band doesn't lower the others; a last limiter acts on
// the sum.
//
// Each channel passes a gentle treble roll-off and is split at 250 Hz, 950 Hz and 2.8 kHz into sub,
// low, mid and high. The mean of the two sub bands drives the non-linear device (nld.h), whose
// harmonics around 400 Hz take the place of the sub bands. The splits are those of
// spectral_band_split.h.
//
// S. H. Linkwitz, "Active Crossover Networks for Noncoincident Drivers", J. Audio Eng. Soc. 24(1),
// 1976; E. Larsen and R. M. Aarts, "Audio Bandwidth Extension", Wiley, 2004.
//
// As a user thinks of it:
//   nld gain left, right   level of the harmonics, Q13 (8192 = 1.0), initially 1.0
//   eight controllers      low, mid, high and full band of each side: how loud each gets (volume),
//                          where it is limited (threshold), how fast, and where its gate closes;
//                          see dynamic_range_control.h
// Settings take effect with the next block and are not faded.
//
// Latency: 240 samples at every rate, 120 in the bands and 120 in the full band; the harmonics are
// delayed with the bands. Controllers and delays are made by init for 2 x 60 samples, and a change
// of rate cannot make them longer: the frame length of 220 to 960 samples that belongs to the rate
// is stored, but the look-ahead stays 120 samples. A gain thus begins to fall with the block that
// holds the peak, at least 120 samples before the peak comes out.
//
// Loud music overshoots full scale: a gain falls by only about 1 dB in those 120 samples (3/4096 of
// itself per sample), and the sum of the bands may need far more. Peaks measured at 48000 Hz in
// blocks of 240, against full scale: +1 dB on dense music and +4 dB on hard onsets with the initial
// settings, +5 and +7 dB with the volumes of the three bands doubled. Lower thresholds of the full
// band leave headroom: half of full scale lowered the peaks by 2 to 6 dB. Blocks of 240 to 256
// samples overshoot least, because a gain begins to fall earlier before peaks late in a block; with
// blocks below 60 samples the target of a peak can end before the peak has come out.
//
// The controllers measure once per block, so the output depends on how a stream is cut.
//
// After a signal the output settles, with the initial settings, at a constant of -3..0 at 44100 Hz,
// -4..0 at 48000 Hz and -55..0 at 96000 Hz; silence from init on gives exact silence.
//
// There are no coefficients for 192000 Hz: there the output of the input filters, and of the
// module, is 0.
//
// Memory: 18 KB (ten buffers of 256 words, ten delays of 120, 27 filter sections), taken by
// init. Stack: at most 16 KB. Samples: 24-bit values in 32-bit words.
#pragma once

#include "../dsp/audio_delay.h"
#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"
#include "dynamic_range_control.h"
#include "nld.h"
#include "spectral_band_split.h"

struct speaker_boost_system_t {
  int status;                             // the owner's enable word; processing doesn't look at it
  int nld_gain_left, nld_gain_right;      // Q13 gain of the harmonics
  int channel_num;                        // for the owner; processing doesn't look at it
  spectral_band_split* split_left[3];     // 250 Hz, 950 Hz, 2.8 kHz; owned, as all that follow
  spectral_band_split* split_right[3];    // the same
  NLD* nld;                               // makes the harmonics, of both channels' bass
  IIR* nld_band;                          // band-pass of the harmonics
  IIR *pre_left, *pre_right;              // treble roll-off of the input
  int history_len;                        // past blocks that the controllers' look-ahead covers
  int frame_len;                          // samples per block assumed for it
  audio_delay *delay_left, *delay_right;  // keep the harmonics aligned with the bands

  // The controllers of the bands, and of their sum.
  dynamic_range_control_t *drc_low_left, *drc_mid_left, *drc_high_left;
  dynamic_range_control_t *drc_low_right, *drc_mid_right, *drc_high_right;
  dynamic_range_control_t *drc_full_left, *drc_full_right;

  // Ten buffers of 256 words: the bands of the last block after their controllers, and their sum
  // before the full band's controller.
  int *sub_left, *low_left, *mid_left, *high_left, *sum_left;
  int *sub_right, *low_right, *mid_right, *high_right, *sum_right;
};

// Takes all parts. Status 0, harmonics at 8192, 2 channels, filters for 48000 Hz, look-ahead 2 x 60
// samples, the controllers as dynamic_range_control_init leaves them.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void speaker_boost_system_init(speaker_boost_system_t* boost);

// Loads the filters for a rate, in place of a set nld band too, and clears their history and
// delays; the frame length becomes 220, 240, 480 or 960. At 192000 Hz the crossovers stay those of
// 48000 Hz and the input and harmonic filters are 0. Any value beyond the four rates takes 48000
// Hz. Between two process calls it causes a transient.
SONX_EXPORT void speaker_boost_system_set_sample_rate(speaker_boost_system_t* boost,
                                                      SampleRateType rate);

// Clears the history of all parts and the buffers; settings and coefficients stay, and so do the
// controllers' running gains.
SONX_EXPORT void speaker_boost_system_reset(speaker_boost_system_t* boost);

// Ends and frees all parts; calling it again does nothing.
SONX_EXPORT void speaker_boost_system_end(speaker_boost_system_t* boost);

// Stored for the owner; any value.
SONX_EXPORT void speaker_boost_system_setstatus(speaker_boost_system_t* boost, int status);
SONX_EXPORT void speaker_boost_system_getstatus(speaker_boost_system_t* boost, int* status);

// Level of the harmonics, Q13, any value.
SONX_EXPORT void speaker_boost_system_set_nld_gain_left(speaker_boost_system_t* boost, int gain);
SONX_EXPORT void speaker_boost_system_get_nld_gain_left(speaker_boost_system_t* boost, int* gain);
SONX_EXPORT void speaker_boost_system_set_nld_gain_right(speaker_boost_system_t* boost, int gain);
SONX_EXPORT void speaker_boost_system_get_nld_gain_right(speaker_boost_system_t* boost, int* gain);

// A number for the owner, stored only.
SONX_EXPORT void speaker_boost_system_set_channel_num(speaker_boost_system_t* boost, int number);
SONX_EXPORT void speaker_boost_system_get_channel_num(speaker_boost_system_t* boost, int* number);

// The filter of the harmonics: five words b0, b1, b2, -a1, -a2, Q28, copied in (history kept) or
// out. set_sample_rate puts the 400 Hz band-pass back.
SONX_EXPORT void speaker_boost_system_set_nld_param(speaker_boost_system_t* boost,
                                                    int* coefficients);
SONX_EXPORT void speaker_boost_system_get_nld_param(speaker_boost_system_t* boost,
                                                    int* coefficients);

// clang-format off
// The controllers' settings: eighty functions, for each controller and parameter one pair
//
//   void speaker_boost_system_drc_<band>_<side>_set_<parameter>(
//       speaker_boost_system_t* boost, int value);
//   void speaker_boost_system_drc_<band>_<side>_get_<parameter>(
//       speaker_boost_system_t* boost, int* value);
//
//   band               low, mid, high: the band of that name, before the sum; full: the sum
//   side               left, right
//   parameter
//     attact_order       shift of the level follower upwards, 0..31, initially 0 ("attact" is the
//                        interface's own spelling)
//     release_order      shift of the level follower downwards, 0..31, initially 5
//     threshold          peak limit, |sample| >> 8, 1..32767, initially 32767
//     denoise_threshold  mean magnitude in sample units below which the gate closes, initially 256;
//                        less than 2 stores 2; setting it restarts the followed mean at 0
//     volume             make-up volume, Q13, initially 8192; setting it makes the running gain
//                        jump to half of it
//
// Each calls the function of dynamic_range_control.h with the same ending on its one controller;
// the rest of the contract is there. SPEAKER_BOOST_FOR_EACH_ACCESSOR(use) gives use(<band>_<side>,
// <parameter>) for all forty pairs, to declare them here and for hosts that bind them to names.
#define SPEAKER_BOOST_FOR_EACH_PARAMETER(use, controller) \
  use(controller, attact_order)                           \
  use(controller, release_order)                          \
  use(controller, threshold)                              \
  use(controller, denoise_threshold)                      \
  use(controller, volume)
#define SPEAKER_BOOST_FOR_EACH_ACCESSOR(use)        \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, low_left)   \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, mid_left)   \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, high_left)  \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, full_left)  \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, low_right)  \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, mid_right)  \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, high_right) \
  SPEAKER_BOOST_FOR_EACH_PARAMETER(use, full_right)
// clang-format on

#define SPEAKER_BOOST_DECLARE(controller, parameter)                        \
  SONX_EXPORT void speaker_boost_system_drc_##controller##_set_##parameter( \
      speaker_boost_system_t* boost, int value);                            \
  SONX_EXPORT void speaker_boost_system_drc_##controller##_get_##parameter( \
      speaker_boost_system_t* boost, int* value);
SPEAKER_BOOST_FOR_EACH_ACCESSOR(SPEAKER_BOOST_DECLARE)
#undef SPEAKER_BOOST_DECLARE

// One block of n frames, planar, meant for up to 256; more are taken as blocks of 256, each
// measured by the controllers on its own. Any of the four buffers may be the same; the right output
// is written last. The bands' sum wraps at 32 bits; the outputs saturate and -1 becomes 0. With
// n < 1 no samples are touched, and the controllers advance by a block of silence.
SONX_EXPORT void speaker_boost_system_process_stereo(speaker_boost_system_t* boost, int* in_left,
                                                     int* in_right, int* out_left, int* out_right,
                                                     int n);

// The same for one channel, with the left side's parts and gain; the right side's keep their state.
SONX_EXPORT void speaker_boost_system_process_mono(speaker_boost_system_t* boost, int* in, int* out,
                                                   int n);
