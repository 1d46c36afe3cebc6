// The karaoke chain's settings: each goes to the module that it names.
#include "allocation.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "ns/noise_suppressor.h"

void teka_audio_tx_ktv_set_volume(teka_audio_tx_ktv_t* chain, int volume) {
  chain->volume = volume;
  on(chain->compressor, compressor_set_volume, volume);
}
void teka_audio_tx_ktv_get_volume(teka_audio_tx_ktv_t* chain, int* volume) {
  *volume = chain->volume;
}

void teka_audio_tx_ktv_eq_setparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]) {
  on(chain->eq, equalizer_setparameter, rows);
}
void teka_audio_tx_ktv_eq_getparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]) {
  on(chain->eq, equalizer_getparameter, rows);
}

void teka_audio_tx_ktv_eq_set_param_index(teka_audio_tx_ktv_t* chain, int* indices) {
  on(chain->eq, equalizer_set_param_index, indices, chain->sample_rate);
}
void teka_audio_tx_ktv_eq_get_param_index(teka_audio_tx_ktv_t* chain, int* indices) {
  on(chain->eq, equalizer_get_param_index, indices);
}

void teka_audio_tx_ktv_reverb_setroomsize(teka_audio_tx_ktv_t* chain, int roomsize) {
  on(chain->reverb, reverb_setroomsize, roomsize);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getroomsize(teka_audio_tx_ktv_t* chain, int* roomsize) {
  on(chain->reverb, reverb_getroomsize, roomsize);
}

void teka_audio_tx_ktv_reverb_setdamp(teka_audio_tx_ktv_t* chain, int damp) {
  on(chain->reverb, reverb_setdamp, damp);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getdamp(teka_audio_tx_ktv_t* chain, int* damp) {
  on(chain->reverb, reverb_getdamp, damp);
}

void teka_audio_tx_ktv_reverb_setwet(teka_audio_tx_ktv_t* chain, int wet) {
  on(chain->reverb, reverb_setwet, wet);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getwet(teka_audio_tx_ktv_t* chain, int* wet) {
  on(chain->reverb, reverb_getwet, wet);
}

void teka_audio_tx_ktv_reverb_setdry(teka_audio_tx_ktv_t* chain, int dry) {
  on(chain->reverb, reverb_setdry, dry);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getdry(teka_audio_tx_ktv_t* chain, int* dry) {
  on(chain->reverb, reverb_getdry, dry);
}

void teka_audio_tx_ktv_reverb_setwidth(teka_audio_tx_ktv_t* chain, int width) {
  on(chain->reverb, reverb_setwidth, width);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getwidth(teka_audio_tx_ktv_t* chain, int* width) {
  on(chain->reverb, reverb_getwidth, width);
}

void teka_audio_tx_ktv_reverb_setgain(teka_audio_tx_ktv_t* chain, int gain) {
  on(chain->reverb, reverb_setgain, gain);
  on(chain->reverb, reverb_update);
}
void teka_audio_tx_ktv_reverb_getgain(teka_audio_tx_ktv_t* chain, int* gain) {
  on(chain->reverb, reverb_getgain, gain);
}

void teka_audio_tx_ktv_iirecho_setfeedback(teka_audio_tx_ktv_t* chain, int feedback) {
  on(chain->iirecho, iirecho_setfeedback, feedback);
}
void teka_audio_tx_ktv_iirecho_getfeedback(teka_audio_tx_ktv_t* chain, int* feedback) {
  on(chain->iirecho, iirecho_getfeedback, feedback);
}

void teka_audio_tx_ktv_iirecho_setdelay(teka_audio_tx_ktv_t* chain, int milliseconds) {
  on(chain->iirecho, iirecho_setdelay, milliseconds);
}
void teka_audio_tx_ktv_iirecho_getdelay(teka_audio_tx_ktv_t* chain, int* milliseconds) {
  on(chain->iirecho, iirecho_getdelay, milliseconds);
}

void teka_audio_tx_ktv_iirecho_setwet(teka_audio_tx_ktv_t* chain, int wet) {
  on(chain->iirecho, iirecho_setwet, wet);
}
void teka_audio_tx_ktv_iirecho_getwet(teka_audio_tx_ktv_t* chain, int* wet) {
  on(chain->iirecho, iirecho_getwet, wet);
}

void teka_audio_tx_ktv_iirecho_setdry(teka_audio_tx_ktv_t* chain, int dry) {
  on(chain->iirecho, iirecho_setdry, dry);
}
void teka_audio_tx_ktv_iirecho_getdry(teka_audio_tx_ktv_t* chain, int* dry) {
  on(chain->iirecho, iirecho_getdry, dry);
}

void teka_audio_tx_ktv_reverb_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->reverb, reverb_setstatus, status);
}
void teka_audio_tx_ktv_reverb_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->reverb, reverb_getstatus, status);
}

void teka_audio_tx_ktv_eq_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->eq, equalizer_setstatus, status);
}
void teka_audio_tx_ktv_eq_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->eq, equalizer_getstatus, status);
}

void teka_audio_tx_ktv_gramophone_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->gramophone, gramophone_setstatus, status);
}
void teka_audio_tx_ktv_gramophone_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->gramophone, gramophone_getstatus, status);
}

void teka_audio_tx_ktv_compressor_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->compressor, compressor_setstatus, status);
}
void teka_audio_tx_ktv_compressor_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->compressor, compressor_getstatus, status);
}

void teka_audio_tx_ktv_iirecho_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->iirecho, iirecho_setstatus, status);
}
void teka_audio_tx_ktv_iirecho_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->iirecho, iirecho_getstatus, status);
}

void teka_audio_tx_ktv_noise_canceling_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->ns, tekaNs_canceling_setstatus, status);
}
void teka_audio_tx_ktv_noise_canceling_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->ns, tekaNs_canceling_getstatus, status);
}

void teka_audio_tx_ktv_howling_canceling_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  on(chain->howling, howling_canceling_setstatus, status);
}
void teka_audio_tx_ktv_howling_canceling_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  on(chain->howling, howling_canceling_getstatus, status);
}

void teka_audio_tx_ktv_howling_canceling_set_shift(teka_audio_tx_ktv_t* chain, int hertz) {
  on(chain->howling, howling_canceling_set_shift, hertz);
}
void teka_audio_tx_ktv_howling_canceling_get_shift(teka_audio_tx_ktv_t* chain, int* hertz) {
  on(chain->howling, howling_canceling_get_shift, hertz);
}

void teka_audio_tx_ktv_howling_canceling_set_shift_mode(teka_audio_tx_ktv_t* chain, int mode) {
  on(chain->howling, howling_canceling_set_shift_mode, mode);
}
void teka_audio_tx_ktv_howling_canceling_get_shift_mode(teka_audio_tx_ktv_t* chain, int* mode) {
  on(chain->howling, howling_canceling_get_shift_mode, mode);
}

void teka_audio_tx_ktv_howling_canceling_set_last_resort(teka_audio_tx_ktv_t* chain, int wanted) {
  on(chain->howling, howling_canceling_set_last_resort, wanted);
}
void teka_audio_tx_ktv_howling_canceling_get_last_resort(teka_audio_tx_ktv_t* chain, int* wanted) {
  on(chain->howling, howling_canceling_get_last_resort, wanted);
}

void teka_audio_tx_ktv_howling_canceling_get_gain(teka_audio_tx_ktv_t* chain, int* gain) {
  on(chain->howling, howling_canceling_get_gain, gain);
}
