// Whether a record of this folder has its memory, and what processing is without it.
#pragma once

#include <cstdint>

#include "allocation.h"
#include "dsp/allpass.h"
#include "dsp/audio_delay.h"
#include "dsp/comber.h"
#include "dsp/dc_remove.h"
#include "dsp/elliptic.h"
#include "dsp/fft_int.h"
#include "dsp/iir.h"
#include "dsp/iircomber.h"
#include "dsp/notch.h"

inline bool has_memory(const allpass* section) { return section->buffer != nullptr; }
inline bool has_memory(const audio_delay* line) { return line->buffer != nullptr; }
inline bool has_memory(const comber* comb) { return comb->buffer != nullptr; }
inline bool has_memory(const dc_remove*) { return true; }  // takes none
inline bool has_memory(const elliptic* filter) { return filter->state != nullptr; }
inline bool has_memory(const fft_int* fft) { return fft->data != nullptr; }
inline bool has_memory(const IIR* section) { return section->state != nullptr; }
inline bool has_memory(const iircomber* comb) { return comb->buffer != nullptr; }
inline bool has_memory(const notch* filter) { return filter->state != nullptr; }

// n samples, or n frames, as they are; any of the buffers may be the same.
template <typename Word>
void pass(const Word* in, Word* out, int64_t n) {
  for (int64_t i = 0; i < n; ++i) out[i] = in[i];
}
template <typename Word>
void pass(const Word* in_left, const Word* in_right, Word* out_left, Word* out_right, int64_t n) {
  for (int64_t i = 0; i < n; ++i) {
    const Word left = in_left[i], right = in_right[i];
    out_left[i] = left;
    out_right[i] = right;
  }
}
