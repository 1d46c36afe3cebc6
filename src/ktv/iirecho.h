// Echo: repeats the voice after a settable time, again and again, each time softer, with the right
// channel's repeats half a millisecond behind the left ones, so that a mono voice gets a wide echo.
//
// Each channel runs through its own feedback comb with a fixed low-pass in the loop; the comb's
// output is mixed with the direct signal. There is no cross-feed.
//
//   delay      time to the first repeat and between repeats, milliseconds, up to 350
//   feedback   how slowly the repeats fade, Q13 gain of the loop: each repeat is feedback / 13926
//              times the one before, the loop filter's own gain being 8192 / 13926 = 0.588 at 0 Hz.
//              4096 gives -10.6 dB, 8192 gives -4.6 dB. Up to 10 kHz that holds within 1% (0.1 dB),
//              then repeats lose their highs: 1.6 dB more at 20 kHz, all at 24 kHz. At 13926 they
//              no longer fade, and above they grow until the loop wraps. A negative feedback turns
//              every other repeat over.
//   dry, wet   gains of the direct signal and of the comb, Q13. The comb's output holds the direct
//              signal too, so a voice without its repeats passes with dry + wet; the defaults add
//              up to exactly 1.0, with a first repeat at wet * 0.294 = 0.197 (-14 dB).
//
// A tail ends in exact silence for a feedback of -13000..8192. Outside of that the rounding in the
// loop keeps a few steps alive (4 at 8193, 23 at 13000, growing towards 13926).
//
// Times are for 48 kHz (48 samples a millisecond) and scale with another rate. Samples are 24-bit
// values in 32-bit words, with 8 bits of headroom; sums wrap at 32 bits.
//
// Latency: none. Memory: two loops of 16800 and 16824 words, taken by init.
#pragma once

#include "../dsp/iircomber.h"
#include "../export.h"

struct iirecho {
  int feedback;           // Q13 gain of the loops
  int delay;              // milliseconds
  int dry;                // Q13 gain of the direct signal
  int wet;                // Q13 gain of the combs
  int status;             // non-zero = the owner runs this stage; processing does not look at it
  iircomber* comb_left;   // owned, capacity 350 ms
  iircomber* comb_right;  // owned, capacity 350.5 ms
};

// Takes cleared loops. On (status 1), feedback 4096, delay 1 ms, dry 2703, wet 5489.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void iirecho_init(iirecho* echo);

// Frees the loops and nulls both pointers; calling it again does nothing.
SONX_EXPORT void iirecho_end(iirecho* echo);

// Hands feedback and delay to both combs and clears them: what still sounds of the echo is cut off.
// Left loop delay * 48 samples, right loop 24 more, at 32 bits (wrapping); a comb limits that to
// its capacity, and a loop of 0 or fewer samples is one sample long.
SONX_EXPORT void iirecho_update(iirecho* echo);

// Stored as given; any non-zero value is on. The loops keep what they hold.
SONX_EXPORT void iirecho_setstatus(iirecho* echo, int status);
SONX_EXPORT void iirecho_getstatus(iirecho* echo, int* status);

// Stored as given, then as iirecho_update: cuts the tail.
SONX_EXPORT void iirecho_setfeedback(iirecho* echo, int feedback);
SONX_EXPORT void iirecho_getfeedback(iirecho* echo, int* feedback);

// Milliseconds; above 350 counts as 350, and there is no lower limit (0 and less make a loop of one
// sample, but for the right one of 24 samples at 0). Then as iirecho_update: cuts the tail.
SONX_EXPORT void iirecho_setdelay(iirecho* echo, int milliseconds);
SONX_EXPORT void iirecho_getdelay(iirecho* echo, int* milliseconds);

// Gains, stored as given; they count from the next sample on, the tail goes on.
SONX_EXPORT void iirecho_setwet(iirecho* echo, int gain);
SONX_EXPORT void iirecho_getwet(iirecho* echo, int* gain);
SONX_EXPORT void iirecho_setdry(iirecho* echo, int gain);
SONX_EXPORT void iirecho_getdry(iirecho* echo, int* gain);

// n frames, planar, any n; n < 1 does nothing. In place allowed, and any of the four buffers may be
// the same; where both outputs are, the right one stays. An output of exactly -1 becomes 0.
SONX_EXPORT void iirecho_processStereo(iirecho* echo, int* in_left, int* in_right, int* out_left,
                                       int* out_right, int n);
