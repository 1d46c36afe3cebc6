// Crossfeed network: the second stage of the stereo widening. With loudspeakers each ear also hears
// the far speaker, a little later and with fewer highs, because of the head; headphones lack that.
// This stage adds it:
//
//   left ─┬─► all-pass 500 Hz ───────────────────► + ──► left
//         ├─► high-pass 1500 Hz ─► × gain / 4 ───► +
//         └─► delay ─► low-pass 1500 Hz ─► × gain ─► to the right output's sum
//   right, the same; its delayed lows go to the left output's sum
//
// The all-pass (Q 2.5) shifts the direct sound's phase around 500 Hz, low- and high-pass are
// Butterworth filters with the same poles; the high-pass compensates for the highs that the
// crossfed sound lacks. Delay by rate: 23, 23, 47, 95 samples at 44100, 48000, 96000, 192000 Hz,
// half a millisecond: the interaural delay of a sound from some 60 degrees to the side (J. Blauert,
// "Spatial Hearing", MIT Press 1997; B. B. Bauer, "Stereophonic Earphones and Binaural
// Loudspeakers", J. Audio Eng. Soc. 9(2), 1961).
//
// Gain is Q13, 8192 = 1.0: 0 passes each channel through its all-pass alone, 4096 is the setting
// after init. At 192 kHz the filters, and with them the output, are silent.
// Latency: none but the filters' own. Memory: six sections and two lines of 95 samples.
#pragma once

#include "../dsp/audio_delay.h"
#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

struct crossfeed_network {
  IIR *allpass_left, *allpass_right;      // direct sound
  IIR *lowpass_left, *lowpass_right;      // crossfed sound, of the delayed channels
  IIR *highpass_left, *highpass_right;    // direct high band
  audio_delay *delay_left, *delay_right;  // capacity 95 samples
  int gain;                               // Q13 gain of the crossfed sound
};

// Takes the memory; filters for 48000 Hz, gain 4096, history clear. Both delays are 95 samples
// until the first crossfeed_network_set_sample_rate.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void crossfeed_network_init(crossfeed_network* network);

// Clears the history of filters and delays.
SONX_EXPORT void crossfeed_network_reset(crossfeed_network* network);

// Frees every part and nulls its pointer, gain 0; calling it again does nothing.
SONX_EXPORT void crossfeed_network_end(crossfeed_network* network);

// Coefficients and delays for a rate; filter history and the active part of the delay lines are
// cleared, the lines' positions stay, so that the first pass through a delay that has become
// shorter may have a wrong length. A value outside 0..3 counts as 48000 Hz.
SONX_EXPORT void crossfeed_network_set_sample_rate(crossfeed_network* network, SampleRateType rate);

// Q13, any value; takes effect at the next sample.
SONX_EXPORT void crossfeed_network_set_gain(crossfeed_network* network, int gain);
SONX_EXPORT void crossfeed_network_get_gain(crossfeed_network* network, int* gain);

// One frame, 24-bit samples in 32-bit words. Every product and every sum saturates at 32 bits. The
// four pointers may coincide in any way.
SONX_EXPORT void crossfeed_network_process_32(crossfeed_network* network, int* in_left,
                                              int* in_right, int* out_left, int* out_right);

// n frames, planar, the same bits as n single frames; whole buffers may coincide in any way; n < 1
// does nothing.
SONX_EXPORT void crossfeed_network_process_block(crossfeed_network* network, int* in_left,
                                                 int* in_right, int* out_left, int* out_right,
                                                 int n);
