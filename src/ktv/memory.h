// Whether a record of this folder has its memory.
#pragma once

#include "dsp/memory.h"
#include "effects/memory.h"
#include "ktv/gramophone.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ktv/resampler.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "ns/noise_suppressor.h"

inline bool has_memory(const gramophone* effect) { return effect->filter != nullptr; }
inline bool has_memory(const howlingCancel* canceller) { return canceller->powers != nullptr; }
inline bool has_memory(const iirecho* echo) { return echo->comb_left != nullptr; }
inline bool has_memory(const teka_audio_tx_ktv_t* chain) { return chain->eq != nullptr; }
inline bool has_memory(const NsxInst_t_* ns) { return ns->initialized == 1; }

// A converter that copies (mode 0) takes none.
inline bool has_memory(const Resampler_t* resampler) {
  return resampler->mode == 0 || resampler->state1 != nullptr;
}
