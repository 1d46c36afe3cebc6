// Fixed-ratio sample-rate kernels: 16-bit samples, one block of fixed length per call.
//
// Each is a polyphase FIR filter, linear in phase: at L / M times the input rate, the output sample
// m is the dot product of the input's newest taps at sample floor(m M / L) with the filter's phase
// (m M) mod L. Coefficients are Q15, designed with a Kaiser window for 72 dB from the Nyquist
// frequency of the lower rate on (tools/make_resampler_tables.py); sums are exact, rounded once to
// the nearest step, ties upward, and saturated.
//
// A kernel keeps its newest taps - 1 samples in a state record of the caller's, zeroed by its reset
// function before the first call; consecutive blocks form one stream. scratch is working memory of
// the given number of 32-bit words (4 bytes each, aligned to 2); its contents before and after have
// no meaning. Kernels that make a block shorter work in place; those that make it longer need out
// apart from in.
//
//   kernel                     in   out  scratch words  L / M   taps per phase
//   Resample16khzTo48khz      160   480       336         3      48
//   Resample48khzTo16khz      480   160       496        1/3    144
//   Resample8khzTo22khz        80   220        98       11/4     48
//   Resample16khzTo22khz      160   220        88       11/8     48
//   Resample22khzTo16khz      220   160       104        8/11    64
//   Resample22khzTo8khz       220    80       126        4/11   128
//
// Quality, measured with tones of 30000 steps; a test holds these figures. Rejection: the power of
// images and aliases under that of the tone that causes them, from any frequency of the input (but
// right at multiples of half the lower rate, where an alias's power depends on its phase). The
// delay is the same at all frequencies. SNR is that of a tone at 1010 Hz, and of one high up: at
// 3190 Hz for the two kernels of 8 kHz, at 6390 Hz for the others.
//
//                         pass-band  ripple  stop-band  rejection  delay  SNR (dB)
//   kernel                to (Hz)    (dB)    from (Hz)  (dB)       (ms)   1010 Hz  high up
//
//   Resample16khzTo48khz  6510       0.005   8000       69.0       1.490  86.8     85.7
//   Resample48khzTo16khz  6510       0.005   8000       68.6       1.490  96.3     96.1
//   Resample8khzTo22khz   3250       0.005   4000       71.2       2.994  83.4     79.0
//   Resample16khzTo22khz  6510       0.005   8000       71.2       1.497  83.0     79.2
//   Resample22khzTo16khz  6460       0.005   8000       71.8       1.452  83.1     81.9
//   Resample22khzTo8khz   3230       0.005   4000       70.0       2.903  81.9     85.0
#pragma once

#include "../export.h"

// What 16 kHz to 48 kHz keeps of its input.
struct tekaSpl_State16khzTo48khz {
  short history[47];  // the newest samples so far, oldest first
};

// What 48 kHz to 16 kHz keeps of its input.
struct tekaSpl_State48khzTo16khz {
  short history[143];  // the newest samples so far, oldest first
};

// What 8 kHz to 22 kHz keeps of its input.
struct tekaSpl_State8khzTo22khz {
  short history[47];  // the newest samples so far, oldest first
};

// What 16 kHz to 22 kHz keeps of its input.
struct tekaSpl_State16khzTo22khz {
  short history[47];  // the newest samples so far, oldest first
};

// What 22 kHz to 16 kHz keeps of its input.
struct tekaSpl_State22khzTo16khz {
  short history[63];  // the newest samples so far, oldest first
};

// What 22 kHz to 8 kHz keeps of its input.
struct tekaSpl_State22khzTo8khz {
  short history[127];  // the newest samples so far, oldest first
};

// Scratch sizes in 32-bit words.
constexpr int tekaSpl_kScratch16khzTo48khz = 336;
constexpr int tekaSpl_kScratch48khzTo16khz = 496;
constexpr int tekaSpl_kScratch8khzTo22khz = 98;
constexpr int tekaSpl_kScratch16khzTo22khz = 88;
constexpr int tekaSpl_kScratch22khzTo16khz = 104;
constexpr int tekaSpl_kScratch22khzTo8khz = 126;

// Silence as the past.
SONX_EXPORT void tekaSpl_ResetResample16khzTo48khz(tekaSpl_State16khzTo48khz* state);
SONX_EXPORT void tekaSpl_ResetResample48khzTo16khz(tekaSpl_State48khzTo16khz* state);
SONX_EXPORT void tekaSpl_ResetResample8khzTo22khz(tekaSpl_State8khzTo22khz* state);
SONX_EXPORT void tekaSpl_ResetResample16khzTo22khz(tekaSpl_State16khzTo22khz* state);
SONX_EXPORT void tekaSpl_ResetResample22khzTo16khz(tekaSpl_State22khzTo16khz* state);
SONX_EXPORT void tekaSpl_ResetResample22khzTo8khz(tekaSpl_State22khzTo8khz* state);

// One block.
SONX_EXPORT void tekaSpl_Resample16khzTo48khz(const short* in, short* out,
                                              tekaSpl_State16khzTo48khz* state, void* scratch);
SONX_EXPORT void tekaSpl_Resample48khzTo16khz(const short* in, short* out,
                                              tekaSpl_State48khzTo16khz* state, void* scratch);
SONX_EXPORT void tekaSpl_Resample8khzTo22khz(const short* in, short* out,
                                             tekaSpl_State8khzTo22khz* state, void* scratch);
SONX_EXPORT void tekaSpl_Resample16khzTo22khz(const short* in, short* out,
                                              tekaSpl_State16khzTo22khz* state, void* scratch);
SONX_EXPORT void tekaSpl_Resample22khzTo16khz(const short* in, short* out,
                                              tekaSpl_State22khzTo16khz* state, void* scratch);
SONX_EXPORT void tekaSpl_Resample22khzTo8khz(const short* in, short* out,
                                             tekaSpl_State22khzTo8khz* state, void* scratch);
