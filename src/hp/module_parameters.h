// Parameter records of the headphone chain's direct module access, one per module. All words are
// signed 32-bit. Units, formats and ranges are those of the module's own setters.
// Compiles as C11 and as C++.
#pragma once

// Graphic equalizer by raw coefficients (equalizer.h).
struct eq_param_acdb_t {
  int status;       // 0 = off, 1 = on
  int gain;         // Q13
  int band[10][5];  // Q28: b0, b1, b2, -a1, -a2 per band
};

// Graphic equalizer by gain indices.
struct equalizer_params {
  int status;     // 0 = off, 1 = on
  int index[10];  // dB per band, -15..15
};

// Parametric equalizer (parameter_equalizer.h).
struct param_eq_param_acdb_t {
  int status;        // 0 = off, 1 = on
  int gain_left;     // Q13
  int gain_right;    // Q13
  int left[10][6];   // flag, then Q28 b0, b1, b2, -a1, -a2
  int right[10][6];  // the same
};

// Reverb (reverb.h), all Q13.
struct reverb_param_acdb_t {
  int status;    // 0 = off, 1 = on
  int roomsize;  // how long the tail lasts
  int damp;      // how much faster the highs decay
  int wet;       // level of the room
  int dry;       // level of the plain sound
  int width;     // of the room, between the channels
  int gain;      // level into the combs
};

// Virtual bass (virtual_bass_system.h), gains Q13.
struct virtual_bass_param_acdb_t {
  int status;          // 0 = off, 1 = on
  int nld_clip_level;  // where the bass begins to clip, 16-bit units
  int nld_gain;        // level of the harmonics
  int origin_gain;     // level of the plain bass
  int high_band_gain;  // level of everything above 250 Hz
  int nld_band[5];     // Q28 section that limits the harmonics' band
};

// Stereo widening (stereo_widening_system.h), all Q13.
struct stereo_param_acdb_t {
  int status;          // 0 = off, 1 = on
  int side_gain;       // level of the difference of the channels
  int crossfeed_gain;  // level of each channel in the other ear
  int dry_gain;        // level of the plain sound
  int wet_gain;        // level of the early reflections
  int roomsize;        // how long they last
  int damp;            // how much faster their highs decay
};

// Smart volume control (smart_volume_control.h).
struct smart_volume_control_param_acdb_t {
  int status;         // 0 = off, 1 = on
  int level;          // the loudness aimed at, Q13
  int attack_order;   // how slowly it follows louder material
  int release_order;  // how slowly it follows quieter material
};

// Channel balance (channel_balance.h).
struct channel_balance_param_acdb_t {
  int status;          // 0 = off, 1 = on
  int channel_num;     // 2 = stereo
  int channel_ration;  // Q13, signed
};
