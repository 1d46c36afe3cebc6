// Brings a module to where another one of its kind stands: histories, loops and followers are
// copied, settings are not. Both have been initialised alike, for the same rate.
#pragma once

#include "effects/compressor.h"
#include "effects/equalizer.h"
#include "effects/parameter_equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"
#include "ktv/gramophone.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ns/noise_suppressor.h"

void copy_state(const equalizer_t& from, equalizer_t& to);
void copy_state(const parameter_equalizer_t& from, parameter_equalizer_t& to);
void copy_state(const reverb_t& from, reverb_t& to);
void copy_state(const stereo_widening_system& from, stereo_widening_system& to);
void copy_state(const virtual_bass_system& from, virtual_bass_system& to);
void copy_state(const gramophone& from, gramophone& to);
void copy_state(const howlingCancel& from, howlingCancel& to);
void copy_state(const NsxInst_t_& from, NsxInst_t_& to);

// For loops of the same length.
void copy_state(const iirecho& from, iirecho& to);

// Gains and levels that a dynamics module has reached are scaled to its own make-up volume.
void copy_state(const dynamic_range_control_t& from, dynamic_range_control_t& to);
void copy_state(const compressor_t& from, compressor_t& to);
void copy_state(const speaker_boost_system_t& from, speaker_boost_system_t& to);
void copy_state(const smart_volume_control_t& from, smart_volume_control_t& to);
