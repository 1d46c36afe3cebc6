// A pure delay of a settable number of samples, up to a capacity fixed at init.
// Latency: delay samples. Memory: capacity words.
#pragma once

#include "../export.h"

struct audio_delay {
  int* buffer;   // capacity samples, owned
  int capacity;  // allocated length
  int delay;     // active delay in samples
  int index;     // read and write position
};

// A cleared line of n samples, delay = capacity = n; n of 0 passes samples through.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void audio_delay_init(audio_delay* line, int n);

// delay = the smaller of capacity and n; clears the first delay samples only, a negative n clears
// none; the position stays.
SONX_EXPORT void audio_delay_reinit(audio_delay* line, int n);

// Clears the whole line and the position; the delay stays. Harmless on an ended line.
SONX_EXPORT void audio_delay_reset(audio_delay* line);

// Frees the line, everything 0; calling it again does nothing.
SONX_EXPORT void audio_delay_end(audio_delay* line);

// delay = the smaller of capacity and n, nothing cleared; takes effect at the next sample. A
// negative delay acts as one sample. A position left beyond a shorter delay is good for one more
// sample and then wraps.
SONX_EXPORT void audio_delay_set_delay(audio_delay* line, int n);
SONX_EXPORT void audio_delay_get_delay(audio_delay* line, int* n);

// One sample; with a delay of 0 the sample itself, the line untouched.
SONX_EXPORT int audio_delay_process(audio_delay* line, int x);
