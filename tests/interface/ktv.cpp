#include <gtest/gtest.h>

#include "interface/linked.h"

extern "C" {
void* sonx_ktv_init();
void sonx_ktv_deinit(void*);
void sonx_ktv_process_16(void*, short*, short*, short*, int);
void sonx_ktv_set_voice_gain(void*, int);
void sonx_ktv_eq_setparameter(void*, int*);
void sonx_ktv_reverb_setroomsize(void*, int);
void sonx_ktv_reverb_setdamp(void*, int);
void sonx_ktv_reverb_setwet(void*, int);
void sonx_ktv_reverb_setdry(void*, int);
void sonx_ktv_reverb_setwidth(void*, int);
void sonx_ktv_reverb_setgain(void*, int);
void sonx_ktv_reverb_enable(void*, int);
void sonx_ktv_eq_enable(void*, int);
void sonx_ktv_noise_canceling_enable(void*, int);
void sonx_ktv_gramophone_enable(void*, int);
void sonx_ktv_hw_howling_canceling_enable(void*, int);
void sonx_ktv_compressor_enable(void*, int);
void sonx_ktv_iirecho_enable(void*, int);
void sonx_ktv_iirecho_setfeedback(void*, int);
void sonx_ktv_iirecho_setdelay(void*, int);
void sonx_ktv_iirecho_setwet(void*, int);
void sonx_ktv_iirecho_setdry(void*, int);
}

TEST(Interface, KaraokeEntryPointsAreThere) {
  EXPECT_TRUE(
      all_linked(sonx_ktv_init, sonx_ktv_deinit, sonx_ktv_process_16, sonx_ktv_set_voice_gain,
                 sonx_ktv_eq_setparameter, sonx_ktv_reverb_setroomsize, sonx_ktv_reverb_setdamp,
                 sonx_ktv_reverb_setwet, sonx_ktv_reverb_setdry, sonx_ktv_reverb_setwidth,
                 sonx_ktv_reverb_setgain, sonx_ktv_reverb_enable, sonx_ktv_eq_enable,
                 sonx_ktv_noise_canceling_enable, sonx_ktv_gramophone_enable,
                 sonx_ktv_hw_howling_canceling_enable, sonx_ktv_compressor_enable,
                 sonx_ktv_iirecho_enable, sonx_ktv_iirecho_setfeedback, sonx_ktv_iirecho_setdelay,
                 sonx_ktv_iirecho_setwet, sonx_ktv_iirecho_setdry));
}

struct teka_audio_tx_ktv_t;
void teka_audio_tx_ktv_init(teka_audio_tx_ktv_t*);
void teka_audio_tx_ktv_set_sample_rate(teka_audio_tx_ktv_t*, unsigned int);
void teka_audio_tx_ktv_end(teka_audio_tx_ktv_t*);
void teka_audio_tx_ktv_process(teka_audio_tx_ktv_t*, int, void*, void*, void*, int);
void teka_audio_tx_ktv_process_16(teka_audio_tx_ktv_t*, void*, void*, void*, int);
void teka_audio_tx_ktv_process_24(teka_audio_tx_ktv_t*, void*, void*, void*, int);
void teka_audio_tx_ktv_core_process(teka_audio_tx_ktv_t*, int*, int*, int);
void teka_audio_tx_ktv_copy_left_to_right(int*, int*, int);
void teka_audio_tx_ktv_set_volume(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_get_volume(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_eq_setparameter(teka_audio_tx_ktv_t*, int (*)[5]);
void teka_audio_tx_ktv_eq_getparameter(teka_audio_tx_ktv_t*, int (*)[5]);
void teka_audio_tx_ktv_eq_set_param_index(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_eq_get_param_index(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_eq_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_eq_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_setroomsize(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setdamp(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setwet(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setdry(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setwidth(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setgain(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_reverb_getroomsize(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getdamp(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getwet(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getdry(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getwidth(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getgain(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_reverb_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_noise_canceling_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_noise_canceling_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_howling_canceling_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_howling_canceling_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_gramophone_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_gramophone_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_compressor_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_compressor_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_iirecho_setstatus(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_iirecho_setfeedback(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_iirecho_setdelay(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_iirecho_setwet(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_iirecho_setdry(teka_audio_tx_ktv_t*, int);
void teka_audio_tx_ktv_iirecho_getstatus(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_iirecho_getfeedback(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_iirecho_getdelay(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_iirecho_getwet(teka_audio_tx_ktv_t*, int*);
void teka_audio_tx_ktv_iirecho_getdry(teka_audio_tx_ktv_t*, int*);

TEST(Interface, KaraokeChainIsThere) {
  EXPECT_TRUE(all_linked(teka_audio_tx_ktv_init, teka_audio_tx_ktv_set_sample_rate,
                         teka_audio_tx_ktv_end, teka_audio_tx_ktv_process,
                         teka_audio_tx_ktv_process_16, teka_audio_tx_ktv_process_24,
                         teka_audio_tx_ktv_core_process, teka_audio_tx_ktv_copy_left_to_right));
  EXPECT_TRUE(all_linked(teka_audio_tx_ktv_set_volume, teka_audio_tx_ktv_get_volume,
                         teka_audio_tx_ktv_eq_setparameter, teka_audio_tx_ktv_eq_getparameter,
                         teka_audio_tx_ktv_eq_set_param_index, teka_audio_tx_ktv_eq_get_param_index,
                         teka_audio_tx_ktv_eq_setstatus, teka_audio_tx_ktv_eq_getstatus));
  EXPECT_TRUE(all_linked(teka_audio_tx_ktv_reverb_setroomsize, teka_audio_tx_ktv_reverb_setdamp,
                         teka_audio_tx_ktv_reverb_setwet, teka_audio_tx_ktv_reverb_setdry,
                         teka_audio_tx_ktv_reverb_setwidth, teka_audio_tx_ktv_reverb_setgain,
                         teka_audio_tx_ktv_reverb_setstatus, teka_audio_tx_ktv_reverb_getroomsize,
                         teka_audio_tx_ktv_reverb_getdamp, teka_audio_tx_ktv_reverb_getwet,
                         teka_audio_tx_ktv_reverb_getdry, teka_audio_tx_ktv_reverb_getwidth,
                         teka_audio_tx_ktv_reverb_getgain, teka_audio_tx_ktv_reverb_getstatus));
  EXPECT_TRUE(all_linked(
      teka_audio_tx_ktv_noise_canceling_setstatus, teka_audio_tx_ktv_noise_canceling_getstatus,
      teka_audio_tx_ktv_howling_canceling_setstatus, teka_audio_tx_ktv_howling_canceling_getstatus,
      teka_audio_tx_ktv_gramophone_setstatus, teka_audio_tx_ktv_gramophone_getstatus,
      teka_audio_tx_ktv_compressor_setstatus, teka_audio_tx_ktv_compressor_getstatus));
  EXPECT_TRUE(all_linked(teka_audio_tx_ktv_iirecho_setstatus, teka_audio_tx_ktv_iirecho_setfeedback,
                         teka_audio_tx_ktv_iirecho_setdelay, teka_audio_tx_ktv_iirecho_setwet,
                         teka_audio_tx_ktv_iirecho_setdry, teka_audio_tx_ktv_iirecho_getstatus,
                         teka_audio_tx_ktv_iirecho_getfeedback, teka_audio_tx_ktv_iirecho_getdelay,
                         teka_audio_tx_ktv_iirecho_getwet, teka_audio_tx_ktv_iirecho_getdry));
}
