// Early reflector: the third stage of the stereo widening. A small room per channel, whose first
// echoes place the sound in front of the listener instead of inside the head.
//
//   in ─┬─► / 4 ─► high-pass 300 Hz ─► 4 combs ─► 2 all-passes ─► × wet gain ─► + ─► DC ─► out
//       └───────────────────────────────────────────────────────► × dry gain ─► +   remover
//
// The reverb's structure (see reverb.h) with half the parts: combs of 1109, 1399, 1489, 1777
// samples left and 1151, 1423, 1523, 1801 right, all-passes of 241, 337 and 269, 367 samples. The
// high-pass keeps the bass out of the room, which it would blur. The channels are not mixed.
//
// What a user sets, all Q13 (8192 = 1.0), useful from 0 to 8192, each effective at the next sample:
//   wet gain   level of the room, 6144 after init
//   dry gain   level of the plain sound, 6144 after init
//   room size  comb feedback from 0.705 to 0.990, 4096 after init
//   damp       damping in the combs from 0 to 0.403, 4096 after init
//
// The loops have the same lengths at every rate; at 192 kHz the high-pass is silent, and with it
// the room. Latency: none for the dry sound, 1109 samples to the first echo. Memory: 52 KB.
// After a signal the output settles at a constant between -8 and 0, as the reverb's 24-bit form
// does.
#pragma once

#include "../dsp/allpass.h"
#include "../dsp/comber.h"
#include "../dsp/dc_remove.h"
#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

struct early_reflector {
  comber *comb_left[4], *comb_right[4];         // side by side; owned, as all that follow
  allpass *allpass_left[2], *allpass_right[2];  // in series behind the combs
  dc_remove *dc_left, *dc_right;                // last
  IIR *highpass_left, *highpass_right;          // 300 Hz, first
  int wet_gain;                                 // Q13
  int dry_gain;                                 // Q13
  int roomsize;                                 // Q13, as last set
  int damp;                                     // Q13, as last set
};

// Takes the memory; settings as above, high-pass for 48000 Hz, history clear.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void early_reflector_init(early_reflector* reflector);

// Silences every loop and filter; settings stay.
SONX_EXPORT void early_reflector_reset(early_reflector* reflector);

// Frees every part and nulls its pointer; calling it again does nothing.
SONX_EXPORT void early_reflector_end(early_reflector* reflector);

// Coefficients of the two high-passes for a rate, their history cleared; the room's tail continues.
// A value outside 0..3 counts as 48000 Hz.
SONX_EXPORT void early_reflector_set_sample_rate(early_reflector* reflector, SampleRateType rate);

// Any value; takes effect at the next sample.
SONX_EXPORT void early_reflector_set_wet_gain(early_reflector* reflector, int gain);
SONX_EXPORT void early_reflector_get_wet_gain(early_reflector* reflector, int* gain);
SONX_EXPORT void early_reflector_set_dry_gain(early_reflector* reflector, int gain);
SONX_EXPORT void early_reflector_get_dry_gain(early_reflector* reflector, int* gain);

// Store the value and run early_reflector_update. Any value; beyond the useful range the tail may
// grow.
SONX_EXPORT void early_reflector_set_roomsize(early_reflector* reflector, int roomsize);
SONX_EXPORT void early_reflector_get_roomsize(early_reflector* reflector, int* roomsize);
SONX_EXPORT void early_reflector_set_damp(early_reflector* reflector, int damp);
SONX_EXPORT void early_reflector_get_damp(early_reflector* reflector, int* damp);

// Applies room size and damp to the combs: feedback = 5779 + (room size x 2333 >> 13), damping =
// damp x 3301 >> 13, both in Q13.
SONX_EXPORT void early_reflector_update(early_reflector* reflector);

// One frame, 24-bit samples in 32-bit words; gains and their sum saturate at 32 bits. The four
// pointers may coincide in any way.
SONX_EXPORT void early_reflector_process_32(early_reflector* reflector, int* in_left, int* in_right,
                                            int* out_left, int* out_right);

// n frames, planar, the same bits as n single frames; whole buffers may coincide in any way; n < 1
// does nothing.
SONX_EXPORT void early_reflector_process_block(early_reflector* reflector, int* in_left,
                                               int* in_right, int* out_left, int* out_right, int n);
