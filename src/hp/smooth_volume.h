// Smooth volume: one gain for both channels that moves to its target frame by frame. It is the last
// stage of the headphone chain, which fades with it when its settings change.
//
// Each frame the gain moves by 1/2^shift of the remaining distance, by a further 4/2^shift within
// 2^shift of the target, and is set to the target within 2^(shift-2). With the default shift of 7,
// from full volume to silence takes 503 frames and back 660 (10 and 14 ms at 48 kHz).
//
// Samples are 24-bit in 32-bit words, gains Q13 (8192 = 1.0). Latency: none. Memory: the record.
#pragma once

#include "../export.h"

struct smooth_volume_t {
  int soft_volume;        // the gain in force, Q13
  int smooth_buffer_num;  // ramp speed: the larger, the slower
  int volume;             // the target gain, Q13
  int shift;              // smooth_buffer_num + 5
};

// Gain 0, target 8192, ramp speed 2 (shift 7): the output fades in.
SONX_EXPORT void smooth_volume_init(smooth_volume_t* stage);

// Restarts the ramp: the gain becomes 8192 - target, so that a target of 1.0 is reached from
// silence and a target of 0 from 1.0.
SONX_EXPORT void smooth_volume_reset(smooth_volume_t* stage);

// Nothing to free: does nothing.
SONX_EXPORT void smooth_volume_end(smooth_volume_t* stage);

// The target in Q13, stored as given; above 8192 amplifies.
SONX_EXPORT void smooth_volume_set_volume(smooth_volume_t* stage, int volume);
SONX_EXPORT void smooth_volume_get_volume(smooth_volume_t* stage, int* volume);

// Sets the gain in force (Q13) at once, without a ramp.
SONX_EXPORT void smooth_volume_set_soft_volume(smooth_volume_t* stage, int volume);

// Ramp speed: the ramp's shift becomes number + 5. Meant for -3..25; shift counts are taken modulo
// 32.
SONX_EXPORT void smooth_volume_set_smooth_buffer_num(smooth_volume_t* stage, int number);
SONX_EXPORT void smooth_volume_get_smooth_buffer_num(smooth_volume_t* stage, int* number);

// n frames, planar; any in and out buffers may be the same; n < 1 does nothing. Outputs saturate at
// the 32-bit limits. The gain changes between frames, never within one.
SONX_EXPORT void smooth_volume_process(smooth_volume_t* stage, int* in_left, int* in_right,
                                       int* out_left, int* out_right, int n);
