// What a compiled caller has inside itself and no symbol shows: numbers of effects and formats, and the
// record's layout.
#include <assert.h>
#include <stddef.h>

#include "hp/sonx_hp_effect.h"

static_assert(SONX_EFFECT_NONE == 0 && SONX_EFFECT_STEREO_WIDENING == 1 &&
                  SONX_EFFECT_VIRTUAL_BASS == 2 && SONX_EFFECT_PARAMETRIC_EQUALIZER == 3 &&
                  SONX_EFFECT_REVERB == 4 && SONX_EFFECT_GRAPHIC_EQUALIZER == 5,
              "effects are known by number");
static_assert(SONX_FORMAT_16_BIT == 1 && SONX_FORMAT_24_IN_32 == 2 && SONX_FORMAT_32_BIT == 3 &&
                  SONX_FORMAT_8_24 == 4,
              "formats are known by number");
static_assert(sizeof(audio_effect_control_acdb_t) == 31 * 4 &&
                  offsetof(audio_effect_control_acdb_t, hpadapter_type) == 4 &&
                  offsetof(audio_effect_control_acdb_t, data) == 8,
              "a record is 31 words");
