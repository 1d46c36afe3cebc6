// What is behind the headphone effect's handle.
#pragma once

#include <cstdint>

#include "hp/teka_hp_effect.h"
#include "mailbox.h"

// Frames of a block for a period: the length of the two that divides it, or else the one with the
// smaller remainder.
inline uint32_t hp_block_frames(uint32_t period) {
  constexpr uint32_t kShort = 240, kLong = 256;
  if (period % kShort == 0) return kShort;
  return period % kLong == 0 || period % kShort <= period % kLong ? kLong : kShort;
}

// What set_parameters and reset ask of the next process call.
struct sonx_hp_request {
  audio_effect_control_acdb_t record;  // the last one received
  uint32_t changes;                    // records so far that differed from the one before
  uint32_t resets;                     // resets so far
};

struct sonx_hp_handle_t {
  uint32_t enabled;           // 0 = bypass: the rate isn't one the chain is made for
  uint32_t sample_rate;       // Hz, as given to init
  uint32_t format_type;       // 1..4, 0 for an unknown code
  uint32_t bits_per_sample;   // container width
  uint32_t bytes_per_sample;  // container size
  uint32_t last_frame_count;  // frames of the last process call
  uint32_t block_frames;      // frames per chain call: 240 or 256
  int32_t* work_left;         // 256 samples each
  int32_t* work_right;
  teka_hp_effect_t chain;
  audio_effect_control_acdb_t params;  // the last record received

  // The settings' side keeps `asked`, the processing side `done`.
  sonx_hp_request asked, done;
  mailbox<sonx_hp_request> requests;
};
