// Smart volume control: keeps quiet and loud stereo material at about the same loudness.
//
// Each process call is one block. It is measured: three low-passes split each channel into four
// bands (below 160 Hz, up to about 600 Hz, up to about 4.4 kHz, above), whose energies are weighted
// and summed; the louder channel counts. An estimate follows the measurement with separate speeds,
// and the gain brings the estimate to the target: 1.0 while the estimate is within 3 dB of it,
// otherwise to 0.58 dB below the target for quiet and 0.97 dB above it for loud material, within
// -12..+12 dB. A boost is limited so that the followed peak stays below full scale. One gain is
// then ramped, sample by sample, over both channels. The split serves the measurement alone; the
// output is not filtered.
//
// Blocks below the energy floor (24 dB under the target) hold the gain, so that pauses and noise
// are not amplified; after init and reset the output is silent until the first block above it.
//
// The energy is a sum over the block: the level settings hold for blocks of 240 to 256 frames; half
// as many frames count as 3 dB less. Cutting a stream differently gives a different, equally valid
// result.
//
// As a user thinks of it:
//   level          the loudness aimed at, Q13; 16384 is 6 dB more than 8192
//   attact_order   how fast the estimate follows louder material: per block by 2^-order of the
//                  distance ("attact" is the interface's own spelling)
//   release_order  the same for quieter material
//
// Latency: none. Memory: the record and six filter sections, taken by init. Samples: 24-bit values
// in 32-bit words.
#pragma once

#include <stdint.h>

#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

struct smart_volume_control_t {
  int status;              // the owner's enable word; processing doesn't look at it
  int gain;                // ramped gain, Q17: 131072 = 1.0
  int gain_init;           // 131072; not read
  int level;               // target level, Q13: 8192 = 1.0
  int attack_order;        // shift of the estimate's step towards louder material
  int release_order;       // shift of its step towards quieter material
  int peak_env;            // followed peak as |sample| >> 8: 32768 is full scale of 24 bits
  int band_shift[4];       // right shift of each band's energy, lowest band first; the low 16 bits
                           // count, signed: negative shifts left (modulo 64)
  int hold_count;          // 0; not read
  int64_t energy_floor;    // measurements at or below it hold the gain
  int64_t energy_target;   // what the estimate is brought to
  int64_t energy_est;      // followed measurement; energies are in sample units squared >> 24
  IIR* low_pass_left[3];   // 160 Hz, about 600 Hz, about 4.4 kHz; owned
  IIR* low_pass_right[3];  // the same
};

// Level 8192 with its energies, attack order 3, release order 7, band shifts 3, 1, 0, 2, gain 0,
// status 0, filters for 48000 Hz.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void smart_volume_control_init(smart_volume_control_t* control);

// Gain, followed peak and estimate to 0, filter histories cleared; settings stay.
SONX_EXPORT void smart_volume_control_reset(smart_volume_control_t* control);

// Ends and frees the filter sections; calling it again does nothing.
SONX_EXPORT void smart_volume_control_end(smart_volume_control_t* control);

// Filters for a rate, histories cleared; 192000 Hz and any other value take the 48000 Hz sets,
// which puts the bands four times higher at 192000 Hz.
SONX_EXPORT void smart_volume_control_set_sample_rate(smart_volume_control_t* control,
                                                      SampleRateType rate);

// Stored for the owner; any value.
SONX_EXPORT void smart_volume_control_setstatus(smart_volume_control_t* control, int status);
SONX_EXPORT void smart_volume_control_getstatus(smart_volume_control_t* control, int* status);

// Target level, Q13, stored as given and meant for 0..370000 (beyond, the energies wrap). Floor,
// target and estimate (restarted 6 dB below the target) follow from its square; the gain then moves
// through the ramp. May be called between two process calls.
SONX_EXPORT void smart_volume_control_set_level(smart_volume_control_t* control, int level);
SONX_EXPORT void smart_volume_control_get_level(smart_volume_control_t* control, int* level);

// Shifts of the estimate's steps, meant for 0..31; stored as given, the low 6 bits count.
SONX_EXPORT void smart_volume_control_set_attact_order(smart_volume_control_t* control, int order);
SONX_EXPORT void smart_volume_control_get_attact_order(smart_volume_control_t* control, int* order);
SONX_EXPORT void smart_volume_control_set_release_order(smart_volume_control_t* control, int order);
SONX_EXPORT void smart_volume_control_get_release_order(smart_volume_control_t* control,
                                                        int* order);

// One block of any length, measured as a whole; the output buffers may be the input buffers, in any
// pairing. Outputs saturate at the 32-bit limits; a result of exactly -1 becomes 0. With n < 1 no
// samples are touched and the followed peak decays.
SONX_EXPORT void smart_volume_control_process(smart_volume_control_t* control, int* in_left,
                                              int* in_right, int* out_left, int* out_right, int n);
