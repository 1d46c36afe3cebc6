// The headphone effect's parameter record: what the audio HAL sends, 31 signed 32-bit words.
// Compiles as C11 and as C++.
#pragma once

#include <stdint.h>

// Which effect the record selects; any other value selects none.
enum {
  SONX_EFFECT_NONE = 0,
  SONX_EFFECT_STEREO_WIDENING = 1,
  SONX_EFFECT_VIRTUAL_BASS = 2,
  SONX_EFFECT_PARAMETRIC_EQUALIZER = 3,  // a fixed preset
  SONX_EFFECT_REVERB = 4,
  SONX_EFFECT_GRAPHIC_EQUALIZER = 5,
};

struct audio_effect_control_acdb_t {
  int32_t effect_type;     // word 0: one of the above
  int32_t hpadapter_type;  // word 1: 1..7 selects a headphone-adapter correction, others none
  int32_t data[29];        // words 2..30, by effect type:
                           //   reverb: room size, damp, wet, dry, width, gain (Q13)
                           //   graphic equalizer: ten band gains in whole dB, -15..15
                           //   others: not read
};

#ifndef __cplusplus
typedef struct audio_effect_control_acdb_t audio_effect_control_acdb_t;
#endif
