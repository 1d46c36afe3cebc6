// The headphone chain's planar entry points for callers that declare all buffers untyped. A header
// of its own, so that for all others the compiler checks the buffers' type.
#pragma once

#include "teka_hp_effect.h"

// As the typed forms: 16-bit samples for process_16, 32-bit words for process_24.
SONX_EXPORT void teka_hp_effect_process_16(teka_hp_effect_t* chain, void* in_left, void* in_right,
                                           void* out_left, void* out_right, int n);
SONX_EXPORT void teka_hp_effect_process_24(teka_hp_effect_t* chain, void* in_left, void* in_right,
                                           void* out_left, void* out_right, int n);
