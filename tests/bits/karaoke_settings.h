// The settings of the karaoke handle that the lock on the bits and the fuzzer both roll for.
#pragma once

#include "bits/module.h"
#include "ktv/sonx_ktv.h"

// Some of these, and of `more`.
template <auto... more>
void use_some_karaoke_settings(trial& t, void* handle) {
  use_some<sonx_ktv_eq_setparameter, sonx_ktv_set_voice_gain, sonx_ktv_reverb_setroomsize,
           sonx_ktv_reverb_setdamp, sonx_ktv_reverb_setwet, sonx_ktv_reverb_setdry,
           sonx_ktv_reverb_setwidth, sonx_ktv_reverb_setgain, sonx_ktv_iirecho_setfeedback,
           sonx_ktv_iirecho_setwet, sonx_ktv_iirecho_setdry, sonx_ktv_iirecho_setdelay,
           switched<sonx_ktv_reverb_enable>, switched<sonx_ktv_eq_enable>,
           switched<sonx_ktv_noise_canceling_enable>, switched<sonx_ktv_gramophone_enable>,
           switched<sonx_ktv_compressor_enable>, switched<sonx_ktv_iirecho_enable>, more...>(
      t, handle);
}
