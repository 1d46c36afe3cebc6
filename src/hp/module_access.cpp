// Direct access to the chain's modules by their parameter records, without a fade.
#include "allocation.h"
#include "hp/teka_hp_effect.h"

namespace {

SampleRateType rate_of(const teka_hp_effect_t* chain) {
  return static_cast<SampleRateType>(chain->sample_rate_type);
}

// A module that changes its status starts with clear histories.
template <typename Module>
void reset_on_change(Module* module, int status, void (*reset)(Module*)) {
  if (module != nullptr && module->status != status) reset(module);
}

}  // namespace

void teka_hp_effect_eq_setparameter_data(teka_hp_effect_t* chain, eq_param_acdb_t* record) {
  reset_on_change(chain->eq, record->status, equalizer_reset);
  on(chain->eq, equalizer_setstatus, record->status);
  on(chain->eq, equalizer_set_gain, record->gain);
  on(chain->eq, equalizer_setparameter, record->band);
}
void teka_hp_effect_eq_getparameter_data(teka_hp_effect_t* chain, eq_param_acdb_t* record) {
  on(chain->eq, equalizer_getstatus, &record->status);
  on(chain->eq, equalizer_get_gain, &record->gain);
  on(chain->eq, equalizer_getparameter, record->band);
}

void teka_hp_effect_eq_setparameter_index(teka_hp_effect_t* chain, equalizer_params* record) {
  reset_on_change(chain->eq, record->status, equalizer_reset);
  on(chain->eq, equalizer_setstatus, record->status);
  on(chain->eq, equalizer_set_param_index, record->index, rate_of(chain));
}
void teka_hp_effect_eq_getparameter_index(teka_hp_effect_t* chain, equalizer_params* record) {
  on(chain->eq, equalizer_getstatus, &record->status);
  on(chain->eq, equalizer_get_param_index, record->index);
}

void teka_hp_effect_p_eq_setparameter(teka_hp_effect_t* chain, param_eq_param_acdb_t* record) {
  reset_on_change(chain->p_eq, record->status, parameter_equalizer_reset);
  on(chain->p_eq, parameter_equalizer_setstatus, record->status);
  on(chain->p_eq, parameter_equalizer_set_gain_left, record->gain_left);
  on(chain->p_eq, parameter_equalizer_set_gain_right, record->gain_right);
  on(chain->p_eq, parameter_equalizer_setparameter_left, record->left);
  on(chain->p_eq, parameter_equalizer_setparameter_right, record->right);
}
void teka_hp_effect_p_eq_getparameter(teka_hp_effect_t* chain, param_eq_param_acdb_t* record) {
  on(chain->p_eq, parameter_equalizer_getstatus, &record->status);
  on(chain->p_eq, parameter_equalizer_get_gain_left, &record->gain_left);
  on(chain->p_eq, parameter_equalizer_get_gain_right, &record->gain_right);
  on(chain->p_eq, parameter_equalizer_getparameter_left, record->left);
  on(chain->p_eq, parameter_equalizer_getparameter_right, record->right);
}

void teka_hp_effect_reverb_setparameter(teka_hp_effect_t* chain, reverb_param_acdb_t* record) {
  reset_on_change(chain->reverb, record->status, reverb_reset);
  on(chain->reverb, reverb_setstatus, record->status);
  on(chain->reverb, reverb_setroomsize, record->roomsize);
  on(chain->reverb, reverb_setdamp, record->damp);
  on(chain->reverb, reverb_setwet, record->wet);
  on(chain->reverb, reverb_setdry, record->dry);
  on(chain->reverb, reverb_setwidth, record->width);
  on(chain->reverb, reverb_setgain, record->gain);
  on(chain->reverb, reverb_update);
}
void teka_hp_effect_reverb_getparameter(teka_hp_effect_t* chain, reverb_param_acdb_t* record) {
  on(chain->reverb, reverb_getstatus, &record->status);
  on(chain->reverb, reverb_getroomsize, &record->roomsize);
  on(chain->reverb, reverb_getdamp, &record->damp);
  on(chain->reverb, reverb_getwet, &record->wet);
  on(chain->reverb, reverb_getdry, &record->dry);
  on(chain->reverb, reverb_getwidth, &record->width);
  on(chain->reverb, reverb_getgain, &record->gain);
}

void teka_hp_effect_vbs_setparameter(teka_hp_effect_t* chain, virtual_bass_param_acdb_t* record) {
  on(chain->vbs, virtual_bass_system_reset);
  on(chain->vbs, virtual_bass_system_setstatus, record->status);
  on(chain->vbs, virtual_bass_system_set_nld_clip_level, record->nld_clip_level);
  on(chain->vbs, virtual_bass_system_set_nld_gain, record->nld_gain);
  on(chain->vbs, virtual_bass_system_set_origin_gain, record->origin_gain);
  on(chain->vbs, virtual_bass_system_set_high_band_gain, record->high_band_gain);
  on(chain->vbs, virtual_bass_system_set_nld_band_param, record->nld_band);
}
void teka_hp_effect_vbs_getparameter(teka_hp_effect_t* chain, virtual_bass_param_acdb_t* record) {
  on(chain->vbs, virtual_bass_system_getstatus, &record->status);
  on(chain->vbs, virtual_bass_system_get_nld_clip_level, &record->nld_clip_level);
  on(chain->vbs, virtual_bass_system_get_nld_gain, &record->nld_gain);
  on(chain->vbs, virtual_bass_system_get_origin_gain, &record->origin_gain);
  on(chain->vbs, virtual_bass_system_get_high_band_gain, &record->high_band_gain);
  on(chain->vbs, virtual_bass_system_get_nld_band_param, record->nld_band);
}

void teka_hp_effect_sws_setparameter(teka_hp_effect_t* chain, stereo_param_acdb_t* record) {
  on(chain->sws, stereo_widening_system_reset);
  on(chain->sws, stereo_widening_system_setstatus, record->status);
  on(chain->sws, stereo_widening_system_dc_set_side_gain, record->side_gain);
  on(chain->sws, stereo_widening_system_cfn_set_gain, record->crossfeed_gain);
  on(chain->sws, stereo_widening_system_er_set_dry_gain, record->dry_gain);
  on(chain->sws, stereo_widening_system_er_set_wet_gain, record->wet_gain);
  on(chain->sws, stereo_widening_system_er_set_roomsize, record->roomsize);
  on(chain->sws, stereo_widening_system_er_set_damp, record->damp);
}
void teka_hp_effect_sws_getparameter(teka_hp_effect_t* chain, stereo_param_acdb_t* record) {
  on(chain->sws, stereo_widening_system_getstatus, &record->status);
  on(chain->sws, stereo_widening_system_dc_get_side_gain, &record->side_gain);
  on(chain->sws, stereo_widening_system_cfn_get_gain, &record->crossfeed_gain);
  on(chain->sws, stereo_widening_system_er_get_dry_gain, &record->dry_gain);
  on(chain->sws, stereo_widening_system_er_get_wet_gain, &record->wet_gain);
  on(chain->sws, stereo_widening_system_er_get_roomsize, &record->roomsize);
  on(chain->sws, stereo_widening_system_er_get_damp, &record->damp);
}

void teka_hp_effect_svc_setparameter(teka_hp_effect_t* chain,
                                     smart_volume_control_param_acdb_t* record) {
  on(chain->svc, smart_volume_control_setstatus, record->status);
  on(chain->svc, smart_volume_control_set_level, record->level);
  on(chain->svc, smart_volume_control_set_attact_order, record->attack_order);
  on(chain->svc, smart_volume_control_set_release_order, record->release_order);
}
void teka_hp_effect_svc_getparameter(teka_hp_effect_t* chain,
                                     smart_volume_control_param_acdb_t* record) {
  on(chain->svc, smart_volume_control_getstatus, &record->status);
  on(chain->svc, smart_volume_control_get_level, &record->level);
  on(chain->svc, smart_volume_control_get_attact_order, &record->attack_order);
  on(chain->svc, smart_volume_control_get_release_order, &record->release_order);
}

void teka_hp_effect_cb_setparameter(teka_hp_effect_t* chain, channel_balance_param_acdb_t* record) {
  on(chain->cb, channel_balance_setstatus, record->status);
  on(chain->cb, channel_balance_set_channel_num, record->channel_num);
  on(chain->cb, channel_balance_set_channel_ration, record->channel_ration);
}
void teka_hp_effect_cb_getparameter(teka_hp_effect_t* chain, channel_balance_param_acdb_t* record) {
  on(chain->cb, channel_balance_getstatus, &record->status);
  on(chain->cb, channel_balance_get_channel_num, &record->channel_num);
  on(chain->cb, channel_balance_get_channel_ration, &record->channel_ration);
}

void teka_hp_effect_sv_set_volume(teka_hp_effect_t* chain, int volume) {
  on(chain->sv, smooth_volume_set_volume, volume);
}
void teka_hp_effect_sv_get_volume(teka_hp_effect_t* chain, int* volume) {
  on(chain->sv, smooth_volume_get_volume, volume);
}

void teka_hp_effect_sv_set_smooth_buffer_num(teka_hp_effect_t* chain, int number) {
  on(chain->sv, smooth_volume_set_smooth_buffer_num, number);
}
void teka_hp_effect_sv_get_smooth_buffer_num(teka_hp_effect_t* chain, int* number) {
  on(chain->sv, smooth_volume_get_smooth_buffer_num, number);
}
