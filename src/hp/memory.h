// Whether a record of this folder has its memory.
#pragma once

#include "effects/memory.h"
#include "hp/teka_hp_effect.h"

inline bool has_memory(const channel_balance_t*) { return true; }  // takes none
inline bool has_memory(const smooth_volume_t*) { return true; }    // takes none
inline bool has_memory(const teka_hp_effect_t* chain) { return chain->eq != nullptr; }
