// The headphone effect as an audio HAL uses it: a handle, a parameter record, and a buffer of
// interleaved stereo that is processed in place, one period at a time.
//
// Compiles as C11 and as C++:
//
//   void* effect = sonx_hp_effect_init(48000, 1);
//   struct audio_effect_control_acdb_t record = {SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {6, 3, 0, -3}};
//   sonx_hp_effect_set_parameters(effect, &record);
//   sonx_hp_effect_process(effect, buffer, bytes);      // once per period
//   sonx_hp_effect_deinit(effect);
//
// A change of parameters fades out, applies the new settings and fades in again, so that nothing
// clicks. The effect starts the same way. A tone falls for 10 ms, is zero for another 10 to 12 ms,
// and comes back as the compressor's gain recovers: it is 3 dB down until 80 to 90 ms after the
// change, and 0.5 dB until 115 to 135 ms. Inside, a period is cut into blocks of 240 or 256 frames,
// chosen by its length, and the fade counts blocks. It is as long as it should be where the first two
// blocks after a change, and the next two, hold the latency (below) together: periods of 240, 256, 480,
// 500, 512, 768, 960, 1000, 1024, 1152, 1536, 1764 and 1920 frames, and 441 at 44100 Hz. There the
// largest step of a tone of 50 to 200 Hz at a change between effects, wherever in the tone's period, is
// at most 3.7 times the tone's own (bench/switch_steps). At 48000 Hz it is up to 25 times that with 441
// frames, 26 with 220, 48 with 882, and 55 to 116 with 96, 192, 260, 288, 320, 384 and 576: such a host
// gathers frames into one of the periods above.
//
// Sliders: a change that comes before the sound is back takes it away again. Music in which a record
// changes every 10 ms is mute, every 50 ms 10 dB softer, every 150 ms 3 dB, every 500 ms 0.8 dB. So
// set one record per 150 ms at most while a slider moves, and its last position when it rests.
//
// Level: each effect has a make-up gain, the headroom for what it raises: stereo widening -4.0 dB,
// virtual bass -5.0 dB, parametric preset -2.2 dB, reverb -2.0 dB, graphic equalizer 0 dB. A headphone
// adapter without an effect sets 0 dB. A record with neither sets none: the gain before it stays in
// force, so that bass and then nothing plays 5 dB down. For full level without an effect select the
// graphic equalizer with all bands at 0 dB.
//
// Rates: 44050..48050 Hz are processed (44.1 and 48 kHz with a tolerance). At any other rate the
// handle is a bypass: init logs a warning, process does nothing.
//
// Latency: the compressor's look-ahead, 440 samples at 44100 Hz and 480 at the other rates.
// Memory: 213 KB per handle, taken by init; process takes none, no lock, and makes no system
// call but the log lines for a changed period and at a switch. A call needs at most 16384 bytes of stack
// in an optimised build.
//
// Threads: process belongs to one thread, the audio thread. set_parameters, get_parameters and reset
// may be called while it runs, from one other thread at a time; none of them waits for the other
// side. What they ask for is done at the start of the next process call: the newest record holds, and
// all resets and changes between two calls count as one; a reset clears its 213 KB there. latency and
// bypasses may be asked by any thread. init comes before and deinit after everything else. Handles
// share nothing. The log lines are written by the thread that causes them: a log of the host's, or a
// standard error that isn't read, can hold it up.
//
// A null handle is ignored everywhere, and a null record or buffer too. A record and a buffer of
// 32-bit words are aligned to 4 bytes, a buffer of 16-bit words to 2.
#pragma once

#include "../export.h"
#include "audio_effect_control.h"

// Sample formats: the HAL's PCM sub-format codes. Always signed, interleaved, left first.
enum {
  SONX_FORMAT_16_BIT = 1,    // 16-bit words, Q15
  SONX_FORMAT_24_IN_32 = 2,  // 32-bit words holding 24-bit samples (full scale 2^23)
  SONX_FORMAT_32_BIT = 3,    // 32-bit words, Q31
  SONX_FORMAT_8_24 = 4,      // 32-bit words, 8.24: as SONX_FORMAT_24_IN_32
};

SONX_C_BEGIN

// A new handle for a rate in Hz and a format code; any other code is taken as 32-bit words without
// conversion. Null if memory is short. Logs the arguments (debug) and a rate that makes the handle
// a bypass (warning).
SONX_EXPORT void* sonx_hp_effect_init(unsigned int sample_rate, int format_type);

// Ends the handle and frees all its memory; the handle is invalid afterwards.
SONX_EXPORT void sonx_hp_effect_deinit(void* handle);

// Clears the filter histories and tails; parameters stay. For the start of a new stream.
SONX_EXPORT void sonx_hp_effect_reset(void* handle);

// Copies an audio_effect_control_acdb_t and starts the fade to it; a record equal to the last one
// changes nothing. Logs effect and adapter (debug).
SONX_EXPORT void sonx_hp_effect_set_parameters(void* handle, void* record);

// Copies the last record set (zeros before the first) to an audio_effect_control_acdb_t.
SONX_EXPORT void sonx_hp_effect_get_parameters(void* handle, void* record);

// Processes bytes / frame size whole frames in place; a frame is 4 bytes in format 1 and 8 in the
// others, and a trailing part of a frame is ignored (format 3 converts every whole sample to 24
// bits and back). Outputs saturate at the format's limits. Logs once when the period changes
// (debug).
SONX_EXPORT void sonx_hp_effect_process(void* handle, void* buffer, unsigned long bytes);

// Frames by which process delays the sound once an effect is in force: 440 at 44100 Hz, 480 at the
// other rates, 0 for a bypass and for a null handle.
SONX_EXPORT int sonx_hp_effect_latency(const void* handle);

// 1 for a handle whose process leaves the sound as it came because of its rate, and for a null
// handle; otherwise 0. Never changes.
SONX_EXPORT int sonx_hp_effect_bypasses(const void* handle);

SONX_C_END
