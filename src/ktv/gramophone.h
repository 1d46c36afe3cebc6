// Gramophone: makes a voice sound like an old shellac record through a horn. Three steps, all of
// them fixed; the only thing to set is on or off.
//
//   overdrive   gain 4 (12 dB) up to an input of 1398100 (-15.6 dBFS), then a parabola that bends
//               into full scale, reached at 2796202 (-9.5 dBFS); beyond it clips hard. Compresses
//               the voice and adds odd harmonics.
//   bit shift   adds the low 16 bits of a value's magnitude once more: twice the slope within each
//               stretch of 65536, and a drop back at its end. What that adds is a saw-tooth of at
//               most 1/128 of full scale (-42 dBFS), the crackle of the record.
//   band-pass   sixth-order elliptic section: the horn. It takes away most of the harmonics again.
//
// The band-pass alone, measured with full-scale tones at 48 kHz (at another rate all frequencies
// move in proportion):
//   highest gain                   +2.2 dB at 950 Hz
//   3 dB below that                814 Hz and 1722 Hz
//   gain at 1500 Hz / 2000 Hz      0.0 dB / -4.8 dB
//   gain at 300 Hz / 4000 Hz       -35 dB / -32 dB
//   gain at 50 Hz / 10 kHz         -62 dB / -66 dB: 64 dB / 68 dB under the pass-band
//
// Samples are 24-bit values in 32-bit words (full scale 8388607). The overdrive bounds what reaches
// the band-pass, so nothing behind it can wrap, but a tone near 950 Hz driven into clipping leaves
// with up to 4.3 dB above full scale: what follows must have that room.
//
// The band-pass rounds down and feeds that back. After the first sound it therefore never falls
// silent: it keeps a faint noise around 1.2 kHz, within some -2900..1000 (-69 dBFS), on an offset
// of -964 (half a step down each sample, times 2^20 / 17, the recursion's gain at 0 Hz). Until the
// first sound it is silent.
//
// Latency: none but the filter's own. Memory: one elliptic section (its record and 13 words).
#pragma once

#include "../dsp/elliptic.h"
#include "../export.h"

struct gramophone {
  elliptic* filter;  // the band-pass, owned
  int status;        // non-zero = the owner runs this stage; processing itself does not look at it
};

// Takes the band-pass with a clear history; status 0.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void gramophone_init(gramophone* effect);

// Frees the band-pass and nulls the pointer; calling it again does nothing.
SONX_EXPORT void gramophone_end(gramophone* effect);

// Stored as given; any non-zero value is on. The filter's history stays.
SONX_EXPORT void gramophone_setstatus(gramophone* effect, int status);
SONX_EXPORT void gramophone_getstatus(gramophone* effect, int* status);

// n samples of one channel, any n; in place allowed; n < 1 does nothing. The history carries on
// from call to call, however the stream is cut. A filter output of exactly -1 becomes 0.
SONX_EXPORT void gramophone_process(gramophone* effect, int* in, int* out, int n);

// The first two steps alone, one sample each; in and out may be the same.
//
// Overdrive: the result lies in -8388607..8388607 for every 32-bit input. 2x is formed at 32 bits,
// so that the input's highest bit does not count: an input of 2^30 or more wraps to the other sign,
// and +-2^30 gives 0 (2x is -2^31 there, which is its own magnitude, and the gain of 4 wraps).
SONX_EXPORT void overdrive_process(int* in, int* out);

// Bit shift: y >= 0 gives y + (y mod 65536); y < 0 gives -(m + (m - 1) mod 65536) with m = |y|: the
// negative side is one step off the positive one. Wraps at 32 bits.
SONX_EXPORT void bit_shift_porocess(int* in, int* out);
