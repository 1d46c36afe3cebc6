// The karaoke microphone chain as an audio HAL uses it: a handle, mono 16-bit voice in, stereo out,
// one period at a time at 48000 Hz.
//
// Compiles as C11 and as C++:
//
//   void* karaoke = sonx_ktv_init();
//   sonx_ktv_compressor_enable(karaoke, 1);
//   sonx_ktv_reverb_enable(karaoke, 1);
//   sonx_ktv_process_16(karaoke, voice, left, right, 240);   // once per period
//   sonx_ktv_deinit(karaoke);
//
// Stages in their order: howling cancellation, gramophone, equalizer, reverb, echo, compressor.
// After init howling cancellation and echo are on and the others off; the echo's defaults are those
// of iirecho.h. Settings take effect at the next process call. Values are passed on as they are:
// each module's header gives units and ranges. Gains are Q13 (8192 = 1.0).
//
// Latency: none. Memory: 324 KB per handle, taken by init; process takes none, no lock, and makes no
// system call. A call needs at most 16384 bytes of stack in an optimised build.
//
// Threads: process belongs to one thread, the audio thread. Settings may be made, bypasses and gain
// asked while it runs, from one other thread at a time; neither side waits for the other. init comes
// before and deinit after everything else. Handles share nothing. A new echo delay clears the echo's
// memory in the next process call.
//
// A null handle is ignored everywhere (noise cancelling still logs the request), and a null buffer
// too. Buffers are aligned to 2 bytes, indices to 4.
#pragma once

#include "../export.h"

SONX_C_BEGIN

// A new handle; null if memory is short.
SONX_EXPORT void* sonx_ktv_init(void);

// Ends the handle and frees all its memory.
SONX_EXPORT void sonx_ktv_deinit(void* handle);

// n mono samples in, n samples out per channel; the outputs may be the input's buffer. Outputs
// saturate at 16 bits. Up to 256 samples are one block, a longer call runs as several; n < 1
// touches no buffer, but counts as an empty block for the compressor.
SONX_EXPORT void sonx_ktv_process_16(void* handle, short* in, short* out_left, short* out_right,
                                     int n);

// Gain of the voice, Q13. Heard through the compressor only: without it, it changes nothing.
SONX_EXPORT void sonx_ktv_set_voice_gain(void* handle, int gain);

// Ten band gains in whole dB, -15..15, clamped (equalizer.h).
SONX_EXPORT void sonx_ktv_eq_setparameter(void* handle, int* indices);

// Reverb settings, Q13 (reverb.h).
SONX_EXPORT void sonx_ktv_reverb_setroomsize(void* handle, int roomsize);
SONX_EXPORT void sonx_ktv_reverb_setdamp(void* handle, int damp);
SONX_EXPORT void sonx_ktv_reverb_setwet(void* handle, int wet);
SONX_EXPORT void sonx_ktv_reverb_setdry(void* handle, int dry);
SONX_EXPORT void sonx_ktv_reverb_setwidth(void* handle, int width);
SONX_EXPORT void sonx_ktv_reverb_setgain(void* handle, int gain);

// Echo settings (iirecho.h): feedback, wet and dry Q13, delay in milliseconds up to 350. A change
// of feedback or delay cuts off the running echo.
SONX_EXPORT void sonx_ktv_iirecho_setfeedback(void* handle, int feedback);
SONX_EXPORT void sonx_ktv_iirecho_setdelay(void* handle, int milliseconds);
SONX_EXPORT void sonx_ktv_iirecho_setwet(void* handle, int wet);
SONX_EXPORT void sonx_ktv_iirecho_setdry(void* handle, int dry);

// Stages on (not 0) and off (0). Noise cancelling is switched off again by the next process call,
// whatever is asked for; the request is logged (debug).
SONX_EXPORT void sonx_ktv_reverb_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_eq_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_noise_canceling_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_gramophone_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_hw_howling_canceling_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_compressor_enable(void* handle, int enable);
SONX_EXPORT void sonx_ktv_iirecho_enable(void* handle, int enable);

// The howling canceller's further lines of defence, off after init (howling_cancel.h): a shift of all
// frequencies in Hz, 0..20; when to shift, 0 always, 1 only while the notches alone don't hold the
// loop; whether gain may go down as the last resort, and what is left of it, Q13 (8192 without a
// handle).
SONX_EXPORT void sonx_ktv_howling_canceling_set_shift(void* handle, int hertz);
SONX_EXPORT void sonx_ktv_howling_canceling_set_shift_mode(void* handle, int mode);
SONX_EXPORT void sonx_ktv_howling_canceling_set_last_resort(void* handle, int on);
SONX_EXPORT int sonx_ktv_howling_canceling_gain(const void* handle);

// Frames by which process delays the voice: 0.
SONX_EXPORT int sonx_ktv_latency(const void* handle);

// 1 while all stages are off, when process copies the voice to both outputs, and for a null handle;
// otherwise 0.
SONX_EXPORT int sonx_ktv_bypasses(const void* handle);

SONX_C_END
