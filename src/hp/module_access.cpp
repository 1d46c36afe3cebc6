// Direct access to the chain's modules by their parameter records, without a fade.
#include "hp/teka_hp_effect.h"

namespace {

SampleRateType rate_of(const teka_hp_effect_t* chain) {
  return static_cast<SampleRateType>(chain->sample_rate_type);
}

}  // namespace

void teka_hp_effect_eq_setparameter_data(teka_hp_effect_t* chain, eq_param_acdb_t* record) {
  if (record->status != chain->eq->status) equalizer_reset(chain->eq);
  equalizer_setstatus(chain->eq, record->status);
  equalizer_set_gain(chain->eq, record->gain);
  equalizer_setparameter(chain->eq, record->band);
}
void teka_hp_effect_eq_getparameter_data(teka_hp_effect_t* chain, eq_param_acdb_t* record) {
  equalizer_getstatus(chain->eq, &record->status);
  equalizer_get_gain(chain->eq, &record->gain);
  equalizer_getparameter(chain->eq, record->band);
}

void teka_hp_effect_eq_setparameter_index(teka_hp_effect_t* chain, equalizer_params* record) {
  if (record->status != chain->eq->status) equalizer_reset(chain->eq);
  equalizer_setstatus(chain->eq, record->status);
  equalizer_set_param_index(chain->eq, record->index, rate_of(chain));
}
void teka_hp_effect_eq_getparameter_index(teka_hp_effect_t* chain, equalizer_params* record) {
  equalizer_getstatus(chain->eq, &record->status);
  equalizer_get_param_index(chain->eq, record->index);
}

void teka_hp_effect_p_eq_setparameter(teka_hp_effect_t* chain, param_eq_param_acdb_t* record) {
  if (record->status != chain->p_eq->status) parameter_equalizer_reset(chain->p_eq);
  parameter_equalizer_setstatus(chain->p_eq, record->status);
  parameter_equalizer_set_gain_left(chain->p_eq, record->gain_left);
  parameter_equalizer_set_gain_right(chain->p_eq, record->gain_right);
  parameter_equalizer_setparameter_left(chain->p_eq, record->left);
  parameter_equalizer_setparameter_right(chain->p_eq, record->right);
}
void teka_hp_effect_p_eq_getparameter(teka_hp_effect_t* chain, param_eq_param_acdb_t* record) {
  parameter_equalizer_getstatus(chain->p_eq, &record->status);
  parameter_equalizer_get_gain_left(chain->p_eq, &record->gain_left);
  parameter_equalizer_get_gain_right(chain->p_eq, &record->gain_right);
  parameter_equalizer_getparameter_left(chain->p_eq, record->left);
  parameter_equalizer_getparameter_right(chain->p_eq, record->right);
}

void teka_hp_effect_reverb_setparameter(teka_hp_effect_t* chain, reverb_param_acdb_t* record) {
  if (record->status != chain->reverb->status) reverb_reset(chain->reverb);
  reverb_setstatus(chain->reverb, record->status);
  reverb_setroomsize(chain->reverb, record->roomsize);
  reverb_setdamp(chain->reverb, record->damp);
  reverb_setwet(chain->reverb, record->wet);
  reverb_setdry(chain->reverb, record->dry);
  reverb_setwidth(chain->reverb, record->width);
  reverb_setgain(chain->reverb, record->gain);
  reverb_update(chain->reverb);
}
void teka_hp_effect_reverb_getparameter(teka_hp_effect_t* chain, reverb_param_acdb_t* record) {
  reverb_getstatus(chain->reverb, &record->status);
  reverb_getroomsize(chain->reverb, &record->roomsize);
  reverb_getdamp(chain->reverb, &record->damp);
  reverb_getwet(chain->reverb, &record->wet);
  reverb_getdry(chain->reverb, &record->dry);
  reverb_getwidth(chain->reverb, &record->width);
  reverb_getgain(chain->reverb, &record->gain);
}

void teka_hp_effect_vbs_setparameter(teka_hp_effect_t* chain, virtual_bass_param_acdb_t* record) {
  virtual_bass_system_reset(chain->vbs);
  virtual_bass_system_setstatus(chain->vbs, record->status);
  virtual_bass_system_set_nld_clip_level(chain->vbs, record->nld_clip_level);
  virtual_bass_system_set_nld_gain(chain->vbs, record->nld_gain);
  virtual_bass_system_set_origin_gain(chain->vbs, record->origin_gain);
  virtual_bass_system_set_high_band_gain(chain->vbs, record->high_band_gain);
  virtual_bass_system_set_nld_band_param(chain->vbs, record->nld_band);
}
void teka_hp_effect_vbs_getparameter(teka_hp_effect_t* chain, virtual_bass_param_acdb_t* record) {
  virtual_bass_system_getstatus(chain->vbs, &record->status);
  virtual_bass_system_get_nld_clip_level(chain->vbs, &record->nld_clip_level);
  virtual_bass_system_get_nld_gain(chain->vbs, &record->nld_gain);
  virtual_bass_system_get_origin_gain(chain->vbs, &record->origin_gain);
  virtual_bass_system_get_high_band_gain(chain->vbs, &record->high_band_gain);
  virtual_bass_system_get_nld_band_param(chain->vbs, record->nld_band);
}

void teka_hp_effect_sws_setparameter(teka_hp_effect_t* chain, stereo_param_acdb_t* record) {
  stereo_widening_system_reset(chain->sws);
  stereo_widening_system_setstatus(chain->sws, record->status);
  stereo_widening_system_dc_set_side_gain(chain->sws, record->side_gain);
  stereo_widening_system_cfn_set_gain(chain->sws, record->crossfeed_gain);
  stereo_widening_system_er_set_dry_gain(chain->sws, record->dry_gain);
  stereo_widening_system_er_set_wet_gain(chain->sws, record->wet_gain);
  stereo_widening_system_er_set_roomsize(chain->sws, record->roomsize);
  stereo_widening_system_er_set_damp(chain->sws, record->damp);
}
void teka_hp_effect_sws_getparameter(teka_hp_effect_t* chain, stereo_param_acdb_t* record) {
  stereo_widening_system_getstatus(chain->sws, &record->status);
  stereo_widening_system_dc_get_side_gain(chain->sws, &record->side_gain);
  stereo_widening_system_cfn_get_gain(chain->sws, &record->crossfeed_gain);
  stereo_widening_system_er_get_dry_gain(chain->sws, &record->dry_gain);
  stereo_widening_system_er_get_wet_gain(chain->sws, &record->wet_gain);
  stereo_widening_system_er_get_roomsize(chain->sws, &record->roomsize);
  stereo_widening_system_er_get_damp(chain->sws, &record->damp);
}

void teka_hp_effect_svc_setparameter(teka_hp_effect_t* chain,
                                     smart_volume_control_param_acdb_t* record) {
  smart_volume_control_setstatus(chain->svc, record->status);
  smart_volume_control_set_level(chain->svc, record->level);
  smart_volume_control_set_attact_order(chain->svc, record->attack_order);
  smart_volume_control_set_release_order(chain->svc, record->release_order);
}
void teka_hp_effect_svc_getparameter(teka_hp_effect_t* chain,
                                     smart_volume_control_param_acdb_t* record) {
  smart_volume_control_getstatus(chain->svc, &record->status);
  smart_volume_control_get_level(chain->svc, &record->level);
  smart_volume_control_get_attact_order(chain->svc, &record->attack_order);
  smart_volume_control_get_release_order(chain->svc, &record->release_order);
}

void teka_hp_effect_cb_setparameter(teka_hp_effect_t* chain, channel_balance_param_acdb_t* record) {
  channel_balance_setstatus(chain->cb, record->status);
  channel_balance_set_channel_num(chain->cb, record->channel_num);
  channel_balance_set_channel_ration(chain->cb, record->channel_ration);
}
void teka_hp_effect_cb_getparameter(teka_hp_effect_t* chain, channel_balance_param_acdb_t* record) {
  channel_balance_getstatus(chain->cb, &record->status);
  channel_balance_get_channel_num(chain->cb, &record->channel_num);
  channel_balance_get_channel_ration(chain->cb, &record->channel_ration);
}

void teka_hp_effect_sv_set_volume(teka_hp_effect_t* chain, int volume) {
  smooth_volume_set_volume(chain->sv, volume);
}
void teka_hp_effect_sv_get_volume(teka_hp_effect_t* chain, int* volume) {
  smooth_volume_get_volume(chain->sv, volume);
}

void teka_hp_effect_sv_set_smooth_buffer_num(teka_hp_effect_t* chain, int number) {
  smooth_volume_set_smooth_buffer_num(chain->sv, number);
}
void teka_hp_effect_sv_get_smooth_buffer_num(teka_hp_effect_t* chain, int* number) {
  smooth_volume_get_smooth_buffer_num(chain->sv, number);
}
