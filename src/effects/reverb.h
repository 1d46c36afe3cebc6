// Reverb: a room around the music. Each channel feeds a bank of its own: eight feedback combs in
// parallel make the tail, four all-pass sections in series make its echoes dense. The two tails are
// cross-mixed and added to the dry sound.
//
//   left ─┬─► × gain ─► 8 combs ─► 4 all-passes ─┬─► × wet1 ─► + ─► DC remover ─► left
//         │                                      └─► × wet2 ─► to the right output's sum
//         └─► × dry_scaled ──────────────────────────────────► +
//                       tail of the right bank ────► × wet2 ─► +
//   right, the same with its own bank
//
// M. R. Schroeder, "Natural Sounding Artificial Reverberation", J. Audio Eng. Soc. 10(3), 1962;
// J. A. Moorer, "About This Reverberation Business", Computer Music Journal 3(2), 1979.
//
// The loops are prime numbers of samples (1109 to 2579 in the combs, 241 to 643 in the all-passes)
// and the right ones 24 to 42 samples longer than the left ones, so that echoes don't coincide and
// the two tails differ. The lengths are the same at every rate, so a room is twice as large at 48
// kHz as at 96 kHz.
//
// What a user sets, all Q13 (8192 = 1.0), useful from 0 to 8192:
//   room size  how long the tail lasts. The comb feedback g runs from 0.705 to 0.990; a loop of N
//              samples falls by 60 dB in -3 N / log10(g) samples: undamped, at 48 kHz, the longest
//              one takes 1.1 s at 0, 2.2 s at 4096 and 38 s at 8192.
//   damp       how much faster the highs decay: each pass of the loop multiplies the highest
//              frequency by (1 - d) / (1 + d), d from 0 to 0.403.
//   wet, dry   level of the room (times 3 inside) and of the plain sound (times 2: 4096 passes it
//              unchanged).
//   width      8192: a channel's own tail at full level, the other's at half; 0: its own at
//              half, the other's full. The other's reaches 0 at 16384.
//   gain       level into the combs: eight of them add up, so it is small, initially 127.
//
// Room size, damp, wet and width take effect with reverb_update, dry and gain at the next sample.
// All values are taken as given: beyond the useful range the tail may grow instead of decaying; the
// arithmetic saturates or wraps as said below.
//
// Latency: none for the dry sound; the first echo comes after 1109 samples (23 ms at 48 kHz).
// Memory: 133 KB, nearly all of it loops, taken by reverb_init.
//
// The end of a tail: 16-bit output ends in exact zeros. 24-bit output settles at a constant
// between -8 and 0 (-120 dB of full scale), because the DC remover rounds toward minus infinity at
// five bits below the sample; above a room size of about 6700 each loop can also hold a residue of
// a few units.
#pragma once

#include "../dsp/allpass.h"
#include "../dsp/comber.h"
#include "../dsp/dc_remove.h"
#include "../export.h"

struct reverb_t {
  int wet_scaled;   // 3 wet, saturated
  int wet1;         // Q13 gain of a channel's own tail
  int wet2;         // Q13 gain of the other channel's tail
  int dry_scaled;   // 2 dry, saturated: Q13 gain of the plain sound
  int room_scaled;  // Q13 comb feedback
  int damp_scaled;  // Q13 comb damping
  int width;        // Q13
  int gain;         // Q13 gain into the combs
  int status;       // not 0 = the owner runs this stage; processing itself does not look at it
  comber *comb_left[8], *comb_right[8];         // side by side; owned, as the next four
  allpass *allpass_left[4], *allpass_right[4];  // in series behind the combs
  dc_remove *dc_left, *dc_right;                // of the output
  int wet;                                      // Q13, as last set
  int dry;                                      // Q13, as last set
  int roomsize;                                 // Q13, as last set
  int damp;                                     // Q13, as last set
};

// Takes the memory; wet 2730, dry 0, room size 4096, damp 4096, width 8192, gain 127, status 0;
// runs reverb_update.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void reverb_init(reverb_t* reverb);

// Silences every loop and filter; settings stay.
SONX_EXPORT void reverb_reset(reverb_t* reverb);

// Frees every part and nulls its pointer; calling it again does nothing.
SONX_EXPORT void reverb_end(reverb_t* reverb);

// Store the value and its scaled form, which take effect with reverb_update.
//   roomsize  room_scaled = 5779 + (v x 2333 >> 13)
//   damp      damp_scaled = v x 3301 >> 13
//   wet       wet_scaled = 3 v, saturated
SONX_EXPORT void reverb_setroomsize(reverb_t* reverb, int v);
SONX_EXPORT void reverb_setdamp(reverb_t* reverb, int v);
SONX_EXPORT void reverb_setwet(reverb_t* reverb, int v);

// dry_scaled = 2 v, saturated; takes effect at the next sample.
SONX_EXPORT void reverb_setdry(reverb_t* reverb, int v);

// Stored; takes effect with reverb_update.
SONX_EXPORT void reverb_setwidth(reverb_t* reverb, int v);

// Stored; takes effect at the next sample.
SONX_EXPORT void reverb_setgain(reverb_t* reverb, int v);

// Stored for the owner.
SONX_EXPORT void reverb_setstatus(reverb_t* reverb, int v);

// The values as last set.
SONX_EXPORT void reverb_getroomsize(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getdamp(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getwet(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getdry(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getwidth(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getgain(reverb_t* reverb, int* v);
SONX_EXPORT void reverb_getstatus(reverb_t* reverb, int* v);

// Applies the stored settings: with h = width / 2 (toward zero),
//   wet1 = wet_scaled (h + 4096) / 8192,   wet2 = wet_scaled (8192 - h) / 8192,
// rounded down and saturated; damping and feedback are set in all sixteen combs. Tails continue.
// Safe between two process calls; the wet level jumps.
SONX_EXPORT void reverb_update(reverb_t* reverb);

// n frames of planar 16-bit samples. The DC remover's result is clamped to 16 bits.
// Buffers may coincide as wholes in any way; overlapping in part is not allowed. n = 0 does
// nothing.
SONX_EXPORT void reverb_process_stereo_16(reverb_t* reverb, short* in_left, short* in_right,
                                          short* out_left, short* out_right, unsigned int n);

// n frames of planar 24-bit samples in 32-bit words, buffers as above. Gains saturate at 32 bits,
// the output is that of the DC removers: it may exceed 24 bits when the input is loud.
SONX_EXPORT void reverb_process_stereo_24(reverb_t* reverb, int* in_left, int* in_right,
                                          int* out_left, int* out_right, unsigned int n);

// n samples of 16-bit mono through the left bank alone, in place allowed; n < 1 does nothing. Half
// the input level of the stereo form, own tail (wet1) and dry sound only, no DC removal; gain and
// mix are computed in 32 bits and wrap on extreme settings, the result is clamped to 16 bits. Use
// one form per instance: the combs of the 24-bit form have another scale.
SONX_EXPORT void reverb_processMono(reverb_t* reverb, short* in, short* out, int n);
