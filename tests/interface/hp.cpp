#include <gtest/gtest.h>

#include "interface/linked.h"

extern "C" {
void* sonx_hp_effect_init(unsigned int, int);
void sonx_hp_effect_deinit(void*);
void sonx_hp_effect_reset(void*);
void sonx_hp_effect_set_parameters(void*, void*);
void sonx_hp_effect_get_parameters(void*, void*);
void sonx_hp_effect_process(void*, void*, unsigned long);
}

TEST(Interface, HeadphoneEntryPointsAreThere) {
  EXPECT_TRUE(all_linked(sonx_hp_effect_init, sonx_hp_effect_deinit, sonx_hp_effect_reset,
                         sonx_hp_effect_set_parameters, sonx_hp_effect_get_parameters,
                         sonx_hp_effect_process));
}

struct teka_hp_effect_t;
struct audio_effect_control_acdb_t;
struct eq_param_acdb_t;
struct equalizer_params;
struct param_eq_param_acdb_t;
struct reverb_param_acdb_t;
struct virtual_bass_param_acdb_t;
struct stereo_param_acdb_t;
struct smart_volume_control_param_acdb_t;
struct channel_balance_param_acdb_t;

void teka_hp_effect_init(teka_hp_effect_t*);
void teka_hp_effect_set_sample_rate(teka_hp_effect_t*, unsigned);
void teka_hp_effect_reset(teka_hp_effect_t*);
void teka_hp_effect_end(teka_hp_effect_t*);
void teka_hp_effect_setstatus(teka_hp_effect_t*, int);
void teka_hp_effect_getstatus(teka_hp_effect_t*, int*);
void teka_hp_effect_debug_enable_setstatus(teka_hp_effect_t*, int);
void teka_hp_effect_debug_enable_getstatus(teka_hp_effect_t*, int*);
void teka_hp_effect_setparameter(teka_hp_effect_t*, audio_effect_control_acdb_t*);
void teka_hp_effect_getparameter(teka_hp_effect_t*, audio_effect_control_acdb_t*);
void teka_hp_effect_update_smooth_status(teka_hp_effect_t*);
void teka_hp_effect_update_parameter(teka_hp_effect_t*);
void teka_hp_effect_core_process(teka_hp_effect_t*, int*, int*, int);
void teka_hp_effect_process_16(teka_hp_effect_t*, short*, short*, short*, short*, int);
void teka_hp_effect_process_24(teka_hp_effect_t*, int*, int*, int*, int*, int);
void teka_hp_effect_process_v2(teka_hp_effect_t*, int, void*, void*, void*, void*, int);

void teka_hp_effect_eq_setparameter_data(teka_hp_effect_t*, eq_param_acdb_t*);
void teka_hp_effect_eq_getparameter_data(teka_hp_effect_t*, eq_param_acdb_t*);
void teka_hp_effect_eq_setparameter_index(teka_hp_effect_t*, equalizer_params*);
void teka_hp_effect_eq_getparameter_index(teka_hp_effect_t*, equalizer_params*);
void teka_hp_effect_p_eq_setparameter(teka_hp_effect_t*, param_eq_param_acdb_t*);
void teka_hp_effect_p_eq_getparameter(teka_hp_effect_t*, param_eq_param_acdb_t*);
void teka_hp_effect_reverb_setparameter(teka_hp_effect_t*, reverb_param_acdb_t*);
void teka_hp_effect_reverb_getparameter(teka_hp_effect_t*, reverb_param_acdb_t*);
void teka_hp_effect_vbs_setparameter(teka_hp_effect_t*, virtual_bass_param_acdb_t*);
void teka_hp_effect_vbs_getparameter(teka_hp_effect_t*, virtual_bass_param_acdb_t*);
void teka_hp_effect_sws_setparameter(teka_hp_effect_t*, stereo_param_acdb_t*);
void teka_hp_effect_sws_getparameter(teka_hp_effect_t*, stereo_param_acdb_t*);
void teka_hp_effect_svc_setparameter(teka_hp_effect_t*, smart_volume_control_param_acdb_t*);
void teka_hp_effect_svc_getparameter(teka_hp_effect_t*, smart_volume_control_param_acdb_t*);
void teka_hp_effect_cb_setparameter(teka_hp_effect_t*, channel_balance_param_acdb_t*);
void teka_hp_effect_cb_getparameter(teka_hp_effect_t*, channel_balance_param_acdb_t*);
void teka_hp_effect_sv_set_volume(teka_hp_effect_t*, int);
void teka_hp_effect_sv_get_volume(teka_hp_effect_t*, int*);
void teka_hp_effect_sv_set_smooth_buffer_num(teka_hp_effect_t*, int);
void teka_hp_effect_sv_get_smooth_buffer_num(teka_hp_effect_t*, int*);

TEST(Interface, HeadphoneChainIsThere) {
  EXPECT_TRUE(all_linked(
      teka_hp_effect_init, teka_hp_effect_set_sample_rate, teka_hp_effect_reset, teka_hp_effect_end,
      teka_hp_effect_setstatus, teka_hp_effect_getstatus, teka_hp_effect_debug_enable_setstatus,
      teka_hp_effect_debug_enable_getstatus, teka_hp_effect_setparameter,
      teka_hp_effect_getparameter, teka_hp_effect_update_smooth_status,
      teka_hp_effect_update_parameter, teka_hp_effect_core_process, teka_hp_effect_process_16,
      teka_hp_effect_process_24, teka_hp_effect_process_v2));
  EXPECT_TRUE(all_linked(teka_hp_effect_eq_setparameter_data, teka_hp_effect_eq_getparameter_data,
                         teka_hp_effect_eq_setparameter_index, teka_hp_effect_eq_getparameter_index,
                         teka_hp_effect_p_eq_setparameter, teka_hp_effect_p_eq_getparameter,
                         teka_hp_effect_reverb_setparameter, teka_hp_effect_reverb_getparameter,
                         teka_hp_effect_vbs_setparameter, teka_hp_effect_vbs_getparameter,
                         teka_hp_effect_sws_setparameter, teka_hp_effect_sws_getparameter,
                         teka_hp_effect_svc_setparameter, teka_hp_effect_svc_getparameter,
                         teka_hp_effect_cb_setparameter, teka_hp_effect_cb_getparameter,
                         teka_hp_effect_sv_set_volume, teka_hp_effect_sv_get_volume,
                         teka_hp_effect_sv_set_smooth_buffer_num,
                         teka_hp_effect_sv_get_smooth_buffer_num));
}

struct channel_balance_t;
void channel_balance_init(channel_balance_t*);
void channel_balance_end(channel_balance_t*);
void channel_balance_reset(channel_balance_t*);
void channel_balance_setstatus(channel_balance_t*, int);
void channel_balance_getstatus(channel_balance_t*, int*);
void channel_balance_set_channel_ration(channel_balance_t*, int);
void channel_balance_get_channel_ration(channel_balance_t*, int*);
void channel_balance_set_channel_num(channel_balance_t*, int);
void channel_balance_get_channel_num(channel_balance_t*, int*);
void channel_balance_process_stereo(channel_balance_t*, int*, int*, int*, int*, int);
void channel_balance_process_mono(channel_balance_t*, int*, int*, int*, int);

struct smooth_volume_t;
void smooth_volume_init(smooth_volume_t*);
void smooth_volume_reset(smooth_volume_t*);
void smooth_volume_end(smooth_volume_t*);
void smooth_volume_set_volume(smooth_volume_t*, int);
void smooth_volume_get_volume(smooth_volume_t*, int*);
void smooth_volume_set_soft_volume(smooth_volume_t*, int);
void smooth_volume_set_smooth_buffer_num(smooth_volume_t*, int);
void smooth_volume_get_smooth_buffer_num(smooth_volume_t*, int*);
void smooth_volume_process(smooth_volume_t*, int*, int*, int*, int*, int);

TEST(Interface, ChannelBalanceAndSmoothVolumeAreThere) {
  EXPECT_TRUE(all_linked(channel_balance_init, channel_balance_end, channel_balance_reset,
                         channel_balance_setstatus, channel_balance_getstatus,
                         channel_balance_set_channel_ration, channel_balance_get_channel_ration,
                         channel_balance_set_channel_num, channel_balance_get_channel_num,
                         channel_balance_process_stereo, channel_balance_process_mono));
  EXPECT_TRUE(all_linked(smooth_volume_init, smooth_volume_reset, smooth_volume_end,
                         smooth_volume_set_volume, smooth_volume_get_volume,
                         smooth_volume_set_soft_volume, smooth_volume_set_smooth_buffer_num,
                         smooth_volume_get_smooth_buffer_num, smooth_volume_process));
}
