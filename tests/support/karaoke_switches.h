// The karaoke handle's stages, to be switched one by one.
#pragma once

#include "ktv/sonx_ktv.h"

inline void (*const kKaraokeSwitches[])(void* handle, int on) = {
    sonx_ktv_hw_howling_canceling_enable,
    sonx_ktv_gramophone_enable,
    sonx_ktv_eq_enable,
    sonx_ktv_reverb_enable,
    sonx_ktv_iirecho_enable,
    sonx_ktv_compressor_enable,
    sonx_ktv_noise_canceling_enable};
