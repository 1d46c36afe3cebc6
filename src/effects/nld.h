// Non-linear device: makes harmonics of a bass signal, from which the ear hears the fundamental
// even where the loudspeaker cannot reproduce it.
//
// A clipper whose threshold moves smoothly, then a polynomial of eighth order without a constant
// term. With x and y in units of 24-bit full scale (2^23) and the default coefficients
//
//   y = 3.754 x - 0.0585 x^2 - 1.249 x^3 + 0.0131 x^4 + 0.1247 x^5 - 0.0011 x^6 - 0.0039 x^7 + ...
//
// which is close to 2.65 sin(1.414 x): mostly odd harmonics (a third at 1.249 a^3 / 4 for a small
// tone of amplitude a) with a trace of even ones. It is evaluated as a chain, each power from the
// one before: the coefficient of x^k is c0 c1 ... c(k-1).
//
// As a user thinks of it: the clip level, in 16-bit sample units (8192 is a quarter of full scale),
// says where the bass begins to clip, which adds strong odd harmonics. The threshold moves to a new
// level by 1/128 of the distance per sample.
//
// Polynomials as harmonic generators for virtual bass: N. Oo and W.-S. Gan, "Harmonic and
// intermodulation analysis of nonlinear devices used in virtual bass systems", 124th Convention of
// the Audio Eng. Soc., 2008.
//
// Latency: none. Memory: eight words, taken by init. Samples: 24-bit values in 32-bit words.
#pragma once

#include "../export.h"

struct NLD {
  int* coefficients;      // c0..c7, Q15; owned, may be written between two calls
  int clip_flag;          // the clipper works when this is not 0
  int clip_level_scaled;  // threshold to be reached, in sample units: 256 x clip_level, saturated
  int clip_envelope;      // threshold in force, in sample units
  int clip_level;         // as set
};

// Takes the coefficients and sets the defaults: those above, clipping on, level 8192 in force.
// If memory is short it takes none, and what the clipper leaves passes on as it is.
SONX_EXPORT void NLD_init(NLD* nld);

// The threshold in force restarts at 2097152 (level 8192), whatever level is set; settings stay.
SONX_EXPORT void NLD_reset(NLD* nld);

// Frees the coefficients; calling it again does nothing.
SONX_EXPORT void NLD_end(NLD* nld);

// The clip level: 16-bit sample units, useful from 0 to 32767 and stored as given; above 8388607
// the threshold saturates at 2147483647. The threshold moves from the next sample on. For a
// negative one see clip_process.
SONX_EXPORT void NLD_set_clip_level(NLD* nld, int level);
SONX_EXPORT void NLD_get_clip_level(NLD* nld, int* level);

// 0 bypasses the clipper and holds its threshold; the polynomial always runs. Takes effect at the
// next sample.
SONX_EXPORT void NLD_set_clip_flag(NLD* nld, int flag);
SONX_EXPORT void NLD_get_clip_flag(NLD* nld, int* flag);

// The clipper on its own, one sample; in and out may be the same. The threshold t moves first (its
// 32-bit arithmetic wraps), then: above t gives t, else below -t gives -t, else in itself. By that
// order a negative t gives t for all samples above it, and -t for all others.
SONX_EXPORT void clip_process(NLD* nld, int* in, int* out);

// The polynomial on its own, one sample; in and out may be the same. Every product and every sum
// saturates at the 32-bit limits; all quotients round toward minus infinity.
SONX_EXPORT void multiplier_process(NLD* nld, int* in, int* out);

// Clipper and polynomial, one sample; in and out may be the same.
SONX_EXPORT void NLD_process(NLD* nld, int* in, int* out);
