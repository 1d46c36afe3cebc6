// Parameter records of the headphone chain's direct module access, one per module. All words are
// signed 32-bit; word 0 is the module's status (0 = off, 1 = on). Units, formats and ranges are
// those of the module's own setters.
// Compiles as C11 and as C++.
#pragma once

// Graphic equalizer by raw coefficients (equalizer.h).
struct eq_param_acdb_t {
  int status;
  int gain;         // Q13
  int band[10][5];  // Q28: b0, b1, b2, -a1, -a2 per band
};

// Graphic equalizer by gain indices.
struct equalizer_params {
  int status;
  int index[10];  // dB per band, -15..15
};

// Parametric equalizer (parameter_equalizer.h).
struct param_eq_param_acdb_t {
  int status;
  int gain_left;    // Q13
  int gain_right;   // Q13
  int left[10][6];  // flag, then Q28 b0, b1, b2, -a1, -a2
  int right[10][6];
};

// Reverb (reverb.h), all Q13.
struct reverb_param_acdb_t {
  int status;
  int roomsize;
  int damp;
  int wet;
  int dry;
  int width;
  int gain;
};

// Virtual bass (virtual_bass_system.h), gains Q13.
struct virtual_bass_param_acdb_t {
  int status;
  int nld_clip_level;
  int nld_gain;
  int origin_gain;
  int high_band_gain;
  int nld_band[5];  // Q28 section that limits the harmonics' band
};

// Stereo widening (stereo_widening_system.h), all Q13.
struct stereo_param_acdb_t {
  int status;
  int side_gain;
  int crossfeed_gain;
  int dry_gain;
  int wet_gain;
  int roomsize;
  int damp;
};

// Smart volume control (smart_volume_control.h).
struct smart_volume_control_param_acdb_t {
  int status;
  int level;  // Q13
  int attack_order;
  int release_order;
};

// Channel balance (channel_balance.h).
struct channel_balance_param_acdb_t {
  int status;
  int channel_num;
  int channel_ration;  // Q13, signed
};
