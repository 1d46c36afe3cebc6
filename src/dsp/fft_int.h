// Integer spectrum analysis for the howling canceller: a small 64-bit complex type, a 256-point
// radix-2 transform, and the analysis of one frame into bin powers with a memory of eight frames.
//
// A frame is windowed (the four-term window of Nuttall, "Some windows with very good sidelobe
// behavior", IEEE Trans. ASSP 29, 1981: side lobes below -98 dB, main lobe +-4 bins), transformed,
// and turned into the powers of bins 2..62. Each bin's power goes into a history of eight frames
// and into a smoothed power, a weighted sum over that history. On top of it the frame's most
// prominent narrow peaks are marked: two in the low band (bins 2..17), three in the high band
// (bins 18..60).
//
// Scale: a full-scale 24-bit sine on a bin has a power of about 2^31; 1 is 93 dB below that.
// Frequencies are in bins of 1/256 of the rate at which the frames were sampled.
//
// Not re-entrant: the history and smoothed powers of this analysis exist once for the whole process,
// so only one object may analyse at a time. (The howling canceller's analysis has its own.) All
// arithmetic wraps at 64 bits; samples of 24 bits stay 8 dB below that.
//
// Memory: the working buffer, taken by fft_int_init: 6 KB. Where memory is short the pointer is null
// and n 0; such an object transforms nothing, and a frame has no peaks and changes nothing else.
//
// `complex` is a name of this interface at global scope. Beside `using namespace std;` and <complex>
// it has to be written `::complex`.
#pragma once

#include <stdint.h>

#include "../export.h"

// A complex number of the transform.
struct complex {
  int64_t re;  // real part
  int64_t im;  // imaginary part
};

struct fft_int {
  int n;                  // transform size; only 256 gives a correct transform
  complex* data;          // working buffer, owned: n values (and room for what any n touches)
  int64_t peak_power[5];  // smoothed power of each marked peak with its two neighbours; 0 = no peak
  int64_t frames_heard;   // for the owner: frames analysed since the history was last cleared
  int64_t samples_pending;  // for the owner: samples gathered toward the next frame
  int marked_bins[5];       // the peaks: two in the low band, three in the high band, the strongest
                            // first in each; 64 = none
  uint64_t power[64];       // raw power of the latest frame; bins 2..62 are written
};

// The eight latest powers of each bin, newest first; shared by all objects.
extern SONX_EXPORT uint64_t fft_power_history[64][8];

// The smoothed power of each bin: the newest power plus the seven older ones, each divided by a
// number that grows from 9 or 10 to 15 or 16 with its age; a bin that was marked by the frame
// before counts a sixteenth (bins 5..8) or an eighth (from bin 9 on) more. Bins 2..4 hold the
// newest power as it is. Shared by all objects.
extern SONX_EXPORT uint64_t fft_power_current[64];

// Both parts set.
SONX_EXPORT void complex_init(complex* value, int re, int im);
SONX_EXPORT void complex_setvalue(complex* value, int re, int im);

// Both parts 0.
SONX_EXPORT void complex_end(complex* value);

// ((re / 2^13)^2 + (im / 2^13)^2) / 2^10, each division rounding down.
SONX_EXPORT uint64_t complex_getpower(complex* value);

// out = a + b, a - b, and a b / 2^28 rounded down (a Q28 factor). out may be a or b.
SONX_EXPORT void complex_add(complex* a, complex* b, complex* out);
SONX_EXPORT void complex_sub(complex* a, complex* b, complex* out);
SONX_EXPORT void complex_mul(complex* a, complex* b, complex* out);

// Exchanges two numbers.
SONX_EXPORT void complex_swap(complex* a, complex* b);

// Takes the working buffer for n points, unmarks all bins, clears the object's powers and the
// process-wide history, also for every other object. The smoothed powers stay until the next frame.
SONX_EXPORT void fft_int_init(fft_int* fft, int n);

// Frees the working buffer, sets n to 0; calling it again does nothing.
SONX_EXPORT void fft_int_end(fft_int* fft);

// Forward transform of data in place, X[k] = sum of x[i] e^(-2 pi j k i / n), unscaled. The
// twiddle factors have 28 fractional bits and each product rounds down: a result is off by some
// units of 2^-28 of the largest value inside. Correct for n = 256 only.
SONX_EXPORT void fft_do_process(fft_int* fft);

// One frame of len samples, 24 bits each, len = 256 for the whole window: what is missing to n is
// taken as 0, what goes beyond min(n, 256) is left out. Writes powers, history, smoothed powers and
// marks; out gets five words, the frequency of each marked peak in 1/256 bin, interpolated between
// bins, 0 = no peak. out may be null. in is not changed, and out must not overlap it.
SONX_EXPORT void fft_int_dowin_process(fft_int* fft, int* in, int* out, int len);
