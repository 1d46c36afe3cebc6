// The karaoke microphone chain: a singer's mono voice in, stereo out.
//
//   in ─► [noise path] ─► howling canceller ─► gramophone ─► equalizer (mono) ─► copy to the right
//      ─► reverb ─► echo ─► compressor ─► left, right
//
// Each stage runs when its status is not 0. The noise path (down to 32 kHz, high-pass, noise
// suppressor, up to 48 kHz) is switched off by the chain on every call. The voice gain is the
// compressor's volume: with the compressor off it has no effect.
//
// Samples inside are 24-bit in 32-bit words, gains Q13 (8192 = 1.0). Latency: none (the compressor
// runs without look-ahead). Memory: 323 KB, taken by init. One chain is used from one thread
// at a time; any function may be called between two process calls and takes effect at the next one.
// Values are passed on to the modules unchecked; each module's header gives units and ranges.
#pragma once

#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../effects/compressor.h"
#include "../effects/equalizer.h"
#include "../effects/reverb.h"
#include "../export.h"
#include "gramophone.h"
#include "howling_cancel.h"
#include "iirecho.h"
#include "resampler.h"

struct NsxInst_t_;

struct teka_audio_tx_ktv_t {
  int reserved;                // neither read nor written
  int volume;                  // voice gain, Q13
  SampleRateType sample_rate;  // index of the rate

  // A stage of the chain, owned.
  reverb_t* reverb;
  equalizer_t* eq;
  compressor_t* compressor;
  struct iirecho* iirecho;
  howlingCancel* howling;
  struct gramophone* gramophone;

  IIR* hpf;                     // high-pass ahead of the noise suppressor
  NsxInst_t_* ns;               // the noise suppressor
  Resampler_t* resampler_down;  // 48000 to 32000 Hz
  Resampler_t* resampler_up;    // 32000 to 48000 Hz
  int* buf_left;                // 256 samples: the mono voice, then the left channel
  int* buf_right;               // 256 samples
};

// Voice gain 8192 at 48000 Hz; howling canceller and echo on, everything else off. Takes all
// memory.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void teka_audio_tx_ktv_init(teka_audio_tx_ktv_t* chain);

// Ends and frees all modules and buffers; volume and rate keep their values. To be called once.
SONX_EXPORT void teka_audio_tx_ktv_end(teka_audio_tx_ktv_t* chain);

// Rate in Hz: 44100, 96000 or 192000, any other value counts as 48000. Reaches the compressor and
// the high-pass, and the equalizer with its next indices; the other stages are made for 48000 Hz.
SONX_EXPORT void teka_audio_tx_ktv_set_sample_rate(teka_audio_tx_ktv_t* chain, unsigned int rate);

// Voice gain, Q13.
SONX_EXPORT void teka_audio_tx_ktv_set_volume(teka_audio_tx_ktv_t* chain, int volume);
SONX_EXPORT void teka_audio_tx_ktv_get_volume(teka_audio_tx_ktv_t* chain, int* volume);

// Equalizer by ten rows of Q28 coefficients, or by ten gains in dB (equalizer.h).
SONX_EXPORT void teka_audio_tx_ktv_eq_setparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]);
SONX_EXPORT void teka_audio_tx_ktv_eq_getparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]);
SONX_EXPORT void teka_audio_tx_ktv_eq_set_param_index(teka_audio_tx_ktv_t* chain, int* indices);
SONX_EXPORT void teka_audio_tx_ktv_eq_get_param_index(teka_audio_tx_ktv_t* chain, int* indices);

// Reverb, Q13 (reverb.h). Every setter takes effect at the next call, without a further update.
SONX_EXPORT void teka_audio_tx_ktv_reverb_setroomsize(teka_audio_tx_ktv_t* chain, int roomsize);
SONX_EXPORT void teka_audio_tx_ktv_reverb_setdamp(teka_audio_tx_ktv_t* chain, int damp);
SONX_EXPORT void teka_audio_tx_ktv_reverb_setwet(teka_audio_tx_ktv_t* chain, int wet);
SONX_EXPORT void teka_audio_tx_ktv_reverb_setdry(teka_audio_tx_ktv_t* chain, int dry);
SONX_EXPORT void teka_audio_tx_ktv_reverb_setwidth(teka_audio_tx_ktv_t* chain, int width);
SONX_EXPORT void teka_audio_tx_ktv_reverb_setgain(teka_audio_tx_ktv_t* chain, int gain);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getroomsize(teka_audio_tx_ktv_t* chain, int* roomsize);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getdamp(teka_audio_tx_ktv_t* chain, int* damp);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getwet(teka_audio_tx_ktv_t* chain, int* wet);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getdry(teka_audio_tx_ktv_t* chain, int* dry);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getwidth(teka_audio_tx_ktv_t* chain, int* width);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getgain(teka_audio_tx_ktv_t* chain, int* gain);

// Echo (iirecho.h): feedback, wet and dry Q13, delay in milliseconds up to 350. A change of
// feedback or delay cuts off the running echo.
SONX_EXPORT void teka_audio_tx_ktv_iirecho_setfeedback(teka_audio_tx_ktv_t* chain, int feedback);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_setdelay(teka_audio_tx_ktv_t* chain, int milliseconds);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_setwet(teka_audio_tx_ktv_t* chain, int wet);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_setdry(teka_audio_tx_ktv_t* chain, int dry);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_getfeedback(teka_audio_tx_ktv_t* chain, int* feedback);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_getdelay(teka_audio_tx_ktv_t* chain, int* milliseconds);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_getwet(teka_audio_tx_ktv_t* chain, int* wet);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_getdry(teka_audio_tx_ktv_t* chain, int* dry);

// Stages on (not 0) and off (0). Noise cancelling reads back 0 after any process call.
SONX_EXPORT void teka_audio_tx_ktv_reverb_setstatus(teka_audio_tx_ktv_t* chain, int status);
SONX_EXPORT void teka_audio_tx_ktv_reverb_getstatus(teka_audio_tx_ktv_t* chain, int* status);
SONX_EXPORT void teka_audio_tx_ktv_eq_setstatus(teka_audio_tx_ktv_t* chain, int status);
SONX_EXPORT void teka_audio_tx_ktv_eq_getstatus(teka_audio_tx_ktv_t* chain, int* status);
SONX_EXPORT void teka_audio_tx_ktv_noise_canceling_setstatus(teka_audio_tx_ktv_t* chain,
                                                             int status);
SONX_EXPORT void teka_audio_tx_ktv_noise_canceling_getstatus(teka_audio_tx_ktv_t* chain,
                                                             int* status);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_setstatus(teka_audio_tx_ktv_t* chain,
                                                               int status);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_getstatus(teka_audio_tx_ktv_t* chain,
                                                               int* status);

// The howling canceller's further lines of defence (howling_cancel.h): shift in Hz, 0..20, and when
// (0 always, else while the notches alone don't hold the loop); gain as the last resort, and what
// is left of it, Q13.
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_set_shift(teka_audio_tx_ktv_t* chain,
                                                               int hertz);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_get_shift(teka_audio_tx_ktv_t* chain,
                                                               int* hertz);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_set_shift_mode(teka_audio_tx_ktv_t* chain,
                                                                    int mode);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_get_shift_mode(teka_audio_tx_ktv_t* chain,
                                                                    int* mode);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_set_last_resort(teka_audio_tx_ktv_t* chain,
                                                                     int on);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_get_last_resort(teka_audio_tx_ktv_t* chain,
                                                                     int* on);
SONX_EXPORT void teka_audio_tx_ktv_howling_canceling_get_gain(teka_audio_tx_ktv_t* chain,
                                                              int* gain);

// Stages on (not 0) and off (0).
SONX_EXPORT void teka_audio_tx_ktv_gramophone_setstatus(teka_audio_tx_ktv_t* chain, int status);
SONX_EXPORT void teka_audio_tx_ktv_gramophone_getstatus(teka_audio_tx_ktv_t* chain, int* status);
SONX_EXPORT void teka_audio_tx_ktv_compressor_setstatus(teka_audio_tx_ktv_t* chain, int status);
SONX_EXPORT void teka_audio_tx_ktv_compressor_getstatus(teka_audio_tx_ktv_t* chain, int* status);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_setstatus(teka_audio_tx_ktv_t* chain, int status);
SONX_EXPORT void teka_audio_tx_ktv_iirecho_getstatus(teka_audio_tx_ktv_t* chain, int* status);

// n words from left to right; the buffers may overlap. n < 1 does nothing.
SONX_EXPORT void teka_audio_tx_ktv_copy_left_to_right(int* left, int* right, int n);

// The stages on 24-bit samples: left holds the mono voice, both hold the stereo result. Any n: the
// compressor takes the call as one block.
SONX_EXPORT void teka_audio_tx_ktv_core_process(teka_audio_tx_ktv_t* chain, int* left, int* right,
                                                int n);

// n mono samples in, n samples out per channel; outputs may be the input's buffer. Up to 256
// samples are one block, a longer call runs as several. n < 1 touches no buffer, but counts as an
// empty block for the compressor.
//   process_16: 16-bit samples, x 256 in, / 256 rounded down and saturated out.
//   process_24: 32-bit words with the sample 4 bits up; out is clamped to +-8388607 (on both sides)
//               before it is shifted back up.
//   process: bit_width 16 as process_16, any other value as process_24.
SONX_EXPORT void teka_audio_tx_ktv_process_16(teka_audio_tx_ktv_t* chain, void* in, void* out_left,
                                              void* out_right, int n);
SONX_EXPORT void teka_audio_tx_ktv_process_24(teka_audio_tx_ktv_t* chain, void* in, void* out_left,
                                              void* out_right, int n);
SONX_EXPORT void teka_audio_tx_ktv_process(teka_audio_tx_ktv_t* chain, int bit_width, void* in,
                                           void* out_left, void* out_right, int n);
