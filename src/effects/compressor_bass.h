// Bass compressor: levels a bass signal before it is added to the rest, so that strong bass neither
// overdrives the next stages nor pumps.
//
// Each process call is one block: its peak sets a target gain, which the samples approach, 1/128 of
// the distance per sample downwards, 1/512 upwards. Cutting a stream differently gives a different,
// equally valid result. Peaks are in 16-bit units (|sample| >> 8), so 32768 is full scale of 24
// bits:
//
//   block peak up to 24576       default_gain, 1.0
//   block peak above 24576       0.756 (peak / 32768)^-3/4: the output rises by 1 dB for 4 dB
//   level above 32768            0.547
//   level above 65536            0.359
//   level above 90112            0.141
//
// The lowest row that applies counts, so a level above 32768 precedes a quiet block's peak. The
// gain (Q17) stops up to 511 steps below a target that it rises to, and up to 127 above one that it
// falls to: quiet bass comes out up to 0.03 dB softer.
//
// level follows the peak, upwards at once, downwards by 1/32 of the distance per block; so after
// bass beyond full scale the gain stays low for some blocks. The gain starts at 0: after init or
// reset the bass fades in over some thousand samples.
//
// Latency: none. Memory: the record itself. Samples: 24-bit values in 32-bit words; gains Q17
// (131072 = 1.0).
#pragma once

#include "../export.h"

struct compressor_bass {
  int status;        // the owner's enable word; processing doesn't look at it
  int default_gain;  // Q17 gain of quiet bass
  int gain;          // Q17 running gain
  int level;         // followed peak, 16-bit units
  int reserved;      // always 0
};

// Status 1, default gain 1.0, gain and level 0.
SONX_EXPORT void compressor_bass_init(compressor_bass* compressor);

// Gain and level back to 0; status and default gain stay.
SONX_EXPORT void compressor_bass_reset(compressor_bass* compressor);

// As init, but status 0. There is nothing to free.
SONX_EXPORT void compressor_bass_end(compressor_bass* compressor);

// The owner's enable word. "compresso_bassr" is the interface's own spelling.
SONX_EXPORT void compressor_bass_setstatus(compressor_bass* compressor, int status);
SONX_EXPORT void compresso_bassr_getstatus(compressor_bass* compressor, int* status);

// The largest |x| >> 8 over x[0..n), 0 to 8388607; n < 1 gives 0. -2147483648, whose magnitude
// doesn't fit, is passed over.
SONX_EXPORT int find_current_max_bass(int* x, int n);

// One block of any length, measured as a whole; in and out may be the same buffer. Outputs saturate
// at the 32-bit limits; a result of exactly -1 becomes 0; a gain below 32 becomes 0. With n < 1 no
// samples are touched and the level falls by one step.
SONX_EXPORT void compressor_bass_process(compressor_bass* compressor, int* in, int* out, int n);
