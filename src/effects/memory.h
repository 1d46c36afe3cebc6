// Whether a record of this folder has its memory.
#pragma once

#include "dsp/memory.h"
#include "effects/compressor.h"
#include "effects/compressor_bass.h"
#include "effects/crossfeed_network.h"
#include "effects/difference_circuit.h"
#include "effects/dynamic_range_control.h"
#include "effects/early_reflector.h"
#include "effects/equalizer.h"
#include "effects/nld.h"
#include "effects/parameter_equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/spectral_band_split.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"

inline bool has_memory(const compressor_bass*) { return true; }        // takes none
inline bool has_memory(const parameter_equalizer_t*) { return true; }  // takes none
inline bool has_memory(const compressor_t* compressor) { return compressor->left != nullptr; }
inline bool has_memory(const crossfeed_network* network) { return network->delay_left != nullptr; }
inline bool has_memory(const difference_circuit* circuit) { return circuit->section[0] != nullptr; }
inline bool has_memory(const dynamic_range_control_t* drc) { return drc->delay != nullptr; }
inline bool has_memory(const early_reflector* reflector) { return reflector->dc_left != nullptr; }
inline bool has_memory(const equalizer_t* equalizer) {
  return equalizer->left_section[0] != nullptr;
}
inline bool has_memory(const NLD* nld) { return nld->coefficients != nullptr; }
inline bool has_memory(const reverb_t* reverb) { return reverb->dc_left != nullptr; }
inline bool has_memory(const smart_volume_control_t* control) {
  return control->low_pass_left[0] != nullptr;
}
inline bool has_memory(const speaker_boost_system_t* boost) { return boost->nld != nullptr; }
inline bool has_memory(const spectral_band_split* split) { return split->low[0] != nullptr; }
inline bool has_memory(const stereo_widening_system* system) {
  return system->reflector != nullptr;
}
inline bool has_memory(const virtual_bass_system* bass) { return bass->nld != nullptr; }
