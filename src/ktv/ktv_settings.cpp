// The karaoke chain's settings: each goes to the module that it names.
#include "ktv/teka_audio_tx_ktv.h"
#include "ns/noise_suppressor.h"

void teka_audio_tx_ktv_set_volume(teka_audio_tx_ktv_t* chain, int volume) {
  chain->volume = volume;
  compressor_set_volume(chain->compressor, volume);
}
void teka_audio_tx_ktv_get_volume(teka_audio_tx_ktv_t* chain, int* volume) {
  *volume = chain->volume;
}

void teka_audio_tx_ktv_eq_setparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]) {
  equalizer_setparameter(chain->eq, rows);
}
void teka_audio_tx_ktv_eq_getparameter(teka_audio_tx_ktv_t* chain, int (*rows)[5]) {
  equalizer_getparameter(chain->eq, rows);
}

void teka_audio_tx_ktv_eq_set_param_index(teka_audio_tx_ktv_t* chain, int* indices) {
  equalizer_set_param_index(chain->eq, indices, chain->sample_rate);
}
void teka_audio_tx_ktv_eq_get_param_index(teka_audio_tx_ktv_t* chain, int* indices) {
  equalizer_get_param_index(chain->eq, indices);
}

void teka_audio_tx_ktv_reverb_setroomsize(teka_audio_tx_ktv_t* chain, int roomsize) {
  reverb_setroomsize(chain->reverb, roomsize);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getroomsize(teka_audio_tx_ktv_t* chain, int* roomsize) {
  reverb_getroomsize(chain->reverb, roomsize);
}

void teka_audio_tx_ktv_reverb_setdamp(teka_audio_tx_ktv_t* chain, int damp) {
  reverb_setdamp(chain->reverb, damp);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getdamp(teka_audio_tx_ktv_t* chain, int* damp) {
  reverb_getdamp(chain->reverb, damp);
}

void teka_audio_tx_ktv_reverb_setwet(teka_audio_tx_ktv_t* chain, int wet) {
  reverb_setwet(chain->reverb, wet);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getwet(teka_audio_tx_ktv_t* chain, int* wet) {
  reverb_getwet(chain->reverb, wet);
}

void teka_audio_tx_ktv_reverb_setdry(teka_audio_tx_ktv_t* chain, int dry) {
  reverb_setdry(chain->reverb, dry);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getdry(teka_audio_tx_ktv_t* chain, int* dry) {
  reverb_getdry(chain->reverb, dry);
}

void teka_audio_tx_ktv_reverb_setwidth(teka_audio_tx_ktv_t* chain, int width) {
  reverb_setwidth(chain->reverb, width);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getwidth(teka_audio_tx_ktv_t* chain, int* width) {
  reverb_getwidth(chain->reverb, width);
}

void teka_audio_tx_ktv_reverb_setgain(teka_audio_tx_ktv_t* chain, int gain) {
  reverb_setgain(chain->reverb, gain);
  reverb_update(chain->reverb);
}
void teka_audio_tx_ktv_reverb_getgain(teka_audio_tx_ktv_t* chain, int* gain) {
  reverb_getgain(chain->reverb, gain);
}

void teka_audio_tx_ktv_iirecho_setfeedback(teka_audio_tx_ktv_t* chain, int feedback) {
  iirecho_setfeedback(chain->iirecho, feedback);
}
void teka_audio_tx_ktv_iirecho_getfeedback(teka_audio_tx_ktv_t* chain, int* feedback) {
  iirecho_getfeedback(chain->iirecho, feedback);
}

void teka_audio_tx_ktv_iirecho_setdelay(teka_audio_tx_ktv_t* chain, int milliseconds) {
  iirecho_setdelay(chain->iirecho, milliseconds);
}
void teka_audio_tx_ktv_iirecho_getdelay(teka_audio_tx_ktv_t* chain, int* milliseconds) {
  iirecho_getdelay(chain->iirecho, milliseconds);
}

void teka_audio_tx_ktv_iirecho_setwet(teka_audio_tx_ktv_t* chain, int wet) {
  iirecho_setwet(chain->iirecho, wet);
}
void teka_audio_tx_ktv_iirecho_getwet(teka_audio_tx_ktv_t* chain, int* wet) {
  iirecho_getwet(chain->iirecho, wet);
}

void teka_audio_tx_ktv_iirecho_setdry(teka_audio_tx_ktv_t* chain, int dry) {
  iirecho_setdry(chain->iirecho, dry);
}
void teka_audio_tx_ktv_iirecho_getdry(teka_audio_tx_ktv_t* chain, int* dry) {
  iirecho_getdry(chain->iirecho, dry);
}

void teka_audio_tx_ktv_reverb_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  reverb_setstatus(chain->reverb, status);
}
void teka_audio_tx_ktv_reverb_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  reverb_getstatus(chain->reverb, status);
}

void teka_audio_tx_ktv_eq_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  equalizer_setstatus(chain->eq, status);
}
void teka_audio_tx_ktv_eq_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  equalizer_getstatus(chain->eq, status);
}

void teka_audio_tx_ktv_gramophone_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  gramophone_setstatus(chain->gramophone, status);
}
void teka_audio_tx_ktv_gramophone_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  gramophone_getstatus(chain->gramophone, status);
}

void teka_audio_tx_ktv_compressor_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  compressor_setstatus(chain->compressor, status);
}
void teka_audio_tx_ktv_compressor_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  compressor_getstatus(chain->compressor, status);
}

void teka_audio_tx_ktv_iirecho_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  iirecho_setstatus(chain->iirecho, status);
}
void teka_audio_tx_ktv_iirecho_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  iirecho_getstatus(chain->iirecho, status);
}

void teka_audio_tx_ktv_noise_canceling_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  tekaNs_canceling_setstatus(chain->ns, status);
}
void teka_audio_tx_ktv_noise_canceling_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  tekaNs_canceling_getstatus(chain->ns, status);
}

void teka_audio_tx_ktv_howling_canceling_setstatus(teka_audio_tx_ktv_t* chain, int status) {
  howling_canceling_setstatus(chain->howling, status);
}
void teka_audio_tx_ktv_howling_canceling_getstatus(teka_audio_tx_ktv_t* chain, int* status) {
  howling_canceling_getstatus(chain->howling, status);
}
