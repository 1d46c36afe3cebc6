// The headphone effect chain: the modules in series, the record that selects which of them run, and
// the fade that makes a change of settings a short dip instead of a click.
//
//   in ─► channel balance ─► virtual bass ─► parametric or else graphic equalizer
//      ─► stereo widening or else reverb ─► smart volume ─► compressor ─► smooth volume ─► out
//
// A module runs when its status word is not 0; the compressor and the smooth volume always run.
// sonx_hp_effect.h is for a HAL with interleaved buffers, the functions here for callers with
// planar data. Samples inside are 24-bit in 32-bit words, gains Q13 (8192 = 1.0).
//
// How a change happens. switch_counter is the state of the sequence; the owner of the chain
// decrements it after each block while it is not negative (sonx_hp_effect_process does so, the
// planar entry points leave it to their caller):
//
//   6, 5  fading out with the old settings      2, 1, 0  fading in
//   4     the new settings are applied          -1       idle
//   3     running, still silent
//
// A change during 6 and 5 is part of the present fade-out; during 4..2 the counter returns to 4.
// While the chain is off (active_status not 1), audio still passes the smooth volume.
//
// Latency: the compressor's look-ahead, 440 frames at 44100 Hz, 480 at 48000, 960 at 96000, 1920 at
// 192000. Memory: 210 KB, taken by init. One chain is used from one thread at a time; any
// function may be called between two process calls.
#pragma once

#include "../dsp/sample_rate.h"
#include "../effects/compressor.h"
#include "../effects/equalizer.h"
#include "../effects/parameter_equalizer.h"
#include "../effects/reverb.h"
#include "../effects/smart_volume_control.h"
#include "../effects/stereo_widening_system.h"
#include "../effects/virtual_bass_system.h"
#include "../export.h"
#include "audio_effect_control.h"
#include "channel_balance.h"
#include "module_parameters.h"
#include "smooth_volume.h"

struct teka_hp_effect_t {
  int status;            // requested status, 1 = on
  int debug_enable;      // not 0 = a status change resets the modules instead of fading
  int active_status;     // status in force, taken over at the switch point
  int switch_counter;    // the sequence above; -1 = idle
  int volume;            // gain that a fade-in returns to, Q13
  int sample_rate_type;  // a SampleRateType

  // A module of the chain, owned.
  equalizer_t* eq;
  parameter_equalizer_t* p_eq;
  reverb_t* reverb;
  stereo_widening_system* sws;
  virtual_bass_system* vbs;
  smart_volume_control_t* svc;
  channel_balance_t* cb;
  compressor_t* comp;
  smooth_volume_t* sv;

  audio_effect_control_acdb_t* params;  // the chain's copy of the record
  int *work_left, *work_right;          // 256 samples each, for the planar entry points
};

// Everything off at 48000 Hz, gain of the smooth volume 0. Takes all memory.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void teka_hp_effect_init(teka_hp_effect_t* chain);

// Clears the histories of all modules but channel balance and smooth volume; settings stay.
SONX_EXPORT void teka_hp_effect_reset(teka_hp_effect_t* chain);

// Ends and frees all modules and buffers.
SONX_EXPORT void teka_hp_effect_end(teka_hp_effect_t* chain);

// Rate in Hz: 44100, 96000 or 192000, any other value counts as 48000. Takes effect at once in the
// modules with rate-dependent filters (their histories are cleared), in the equalizers with their
// next parameters.
SONX_EXPORT void teka_hp_effect_set_sample_rate(teka_hp_effect_t* chain, unsigned int rate);

// 1 switches the chain on, any other value off, with the fade (which starts even if the value is
// the old one). With debug_enable set: stored, and the modules reset, without a fade; active_status
// stays as it is.
SONX_EXPORT void teka_hp_effect_setstatus(teka_hp_effect_t* chain, int status);
SONX_EXPORT void teka_hp_effect_getstatus(teka_hp_effect_t* chain, int* status);

// Not 0: a status change resets the modules instead of fading.
SONX_EXPORT void teka_hp_effect_debug_enable_setstatus(teka_hp_effect_t* chain, int status);
SONX_EXPORT void teka_hp_effect_debug_enable_getstatus(teka_hp_effect_t* chain, int* status);

// Copies the record; if any word differs from the last one and status is 1, starts the fade, in the
// middle of which the record takes effect. The getter copies all 31 words out.
SONX_EXPORT void teka_hp_effect_setparameter(teka_hp_effect_t* chain,
                                             audio_effect_control_acdb_t* record);
SONX_EXPORT void teka_hp_effect_getparameter(teka_hp_effect_t* chain,
                                             audio_effect_control_acdb_t* record);

// Starts the fade without changing anything.
SONX_EXPORT void teka_hp_effect_update_smooth_status(teka_hp_effect_t* chain);

// Applies the record to the modules now; the chain calls it at the switch point. Logs effect,
// adapter and make-up gain (debug).
SONX_EXPORT void teka_hp_effect_update_parameter(teka_hp_effect_t* chain);

// Direct access to the modules: takes effect at once, without a fade, and lasts until the next
// switch point of the chain. The equalizers and the reverb are reset when their status changes,
// virtual bass and stereo widening always. Each getter fills the whole record, except that the
// parametric equalizer's rows are not written.
SONX_EXPORT void teka_hp_effect_eq_setparameter_data(teka_hp_effect_t* chain,
                                                     eq_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_eq_getparameter_data(teka_hp_effect_t* chain,
                                                     eq_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_eq_setparameter_index(teka_hp_effect_t* chain,
                                                      equalizer_params* record);
SONX_EXPORT void teka_hp_effect_eq_getparameter_index(teka_hp_effect_t* chain,
                                                      equalizer_params* record);
SONX_EXPORT void teka_hp_effect_p_eq_setparameter(teka_hp_effect_t* chain,
                                                  param_eq_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_p_eq_getparameter(teka_hp_effect_t* chain,
                                                  param_eq_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_reverb_setparameter(teka_hp_effect_t* chain,
                                                    reverb_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_reverb_getparameter(teka_hp_effect_t* chain,
                                                    reverb_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_vbs_setparameter(teka_hp_effect_t* chain,
                                                 virtual_bass_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_vbs_getparameter(teka_hp_effect_t* chain,
                                                 virtual_bass_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_sws_setparameter(teka_hp_effect_t* chain,
                                                 stereo_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_sws_getparameter(teka_hp_effect_t* chain,
                                                 stereo_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_svc_setparameter(teka_hp_effect_t* chain,
                                                 smart_volume_control_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_svc_getparameter(teka_hp_effect_t* chain,
                                                 smart_volume_control_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_cb_setparameter(teka_hp_effect_t* chain,
                                                channel_balance_param_acdb_t* record);
SONX_EXPORT void teka_hp_effect_cb_getparameter(teka_hp_effect_t* chain,
                                                channel_balance_param_acdb_t* record);

// The smooth stage's target (Q13) and ramp speed. The chain's own volume, to which the next fade-in
// returns, stays.
SONX_EXPORT void teka_hp_effect_sv_set_volume(teka_hp_effect_t* chain, int volume);
SONX_EXPORT void teka_hp_effect_sv_get_volume(teka_hp_effect_t* chain, int* volume);
SONX_EXPORT void teka_hp_effect_sv_set_smooth_buffer_num(teka_hp_effect_t* chain, int number);
SONX_EXPORT void teka_hp_effect_sv_get_smooth_buffer_num(teka_hp_effect_t* chain, int* number);

// One block in place, frames samples per channel, at most 256 as one block; a longer call runs as
// several blocks with one switch point at its start. frames < 1 touches no sample, but passes the
// switch point and counts as an empty block for the smart volume and the compressor.
SONX_EXPORT void teka_hp_effect_core_process(teka_hp_effect_t* chain, int* left, int* right,
                                             int frames);

// One block of planar 16-bit samples (x 256 in; out / 256 rounded down, saturated). If the channel
// balance's channel count isn't 2, both outputs get the left result. Lengths as core_process; any
// in and out buffers may be the same.
SONX_EXPORT void teka_hp_effect_process_16(teka_hp_effect_t* chain, short* in_left, short* in_right,
                                           short* out_left, short* out_right, int n);

// The same for 32-bit words that hold the 24-bit sample 4 bits up; out is clamped to +-8388607 (on
// both sides) before it is shifted back up.
SONX_EXPORT void teka_hp_effect_process_24(teka_hp_effect_t* chain, int* in_left, int* in_right,
                                           int* out_left, int* out_right, int n);

// bits = 16: as process_16 on 16-bit samples; any other value: as process_24.
SONX_EXPORT void teka_hp_effect_process_v2(teka_hp_effect_t* chain, int bits, void* in_left,
                                           void* in_right, void* out_left, void* out_right, int n);
