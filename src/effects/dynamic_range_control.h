// Dynamic range control for one channel: a look-ahead peak limiter with a make-up volume and a soft
// gate for near-silence.
//
// Each process call is one block: it is measured as a whole (peak and mean magnitude) and the
// measurement becomes a target gain. The signal comes out history_len x frame_len samples later,
// and the gain in force is the smallest target of this block and the history_len before it, reached
// through a slew; so the gain is already down when a peak comes out, and stays down until it is
// over. The look-ahead covers the samples in the delay as long as blocks have about frame_len
// samples; with much shorter blocks a peak's target can end before the peak has come out. Cutting a
// stream differently gives a different, equally valid result.
//
// While limiting, the gain falls by at least 3/4096 of itself per sample: 3 dB within 480 samples.
// A burst after silence that needs more than that exceeds the threshold at its onset. With a
// threshold within 2.5 dB of full scale, a look-ahead of 440 samples or more and blocks of about
// frame_len, no burst up to full scale does at a volume of 1.0.
//
// As a user thinks of it:
//   volume             how much louder (or softer) everything gets, before the limit
//   threshold          the level to limit to; a peak above it comes out at 0.96875 (-0.28 dB) of it
//   attact_order       how fast the level follower rises: 0 at once, each step half as fast
//                      ("attact" is the interface's own spelling)
//   release_order      how fast it falls: per block by 2^-order of the distance
//   denoise_threshold  the mean level below which the gate closes, down to 0.1875 (-14.5 dB)
//
// Latency: history_len x frame_len samples exactly. Memory: that many words plus history_len + 1,
// taken by init. Samples: 24-bit values in 32-bit words. Between two process calls any setting may
// be changed.
#pragma once

#include "../dsp/audio_delay.h"
#include "../export.h"

struct dynamic_range_control_t {
  int threshold;          // peak limit as |sample| >> 8: 32767 is full scale of 24 bits
  int attact_order;       // shift of the peak follower when the level rises
  int release_order;      // shift of the peak follower when the level falls
  int volume;             // make-up volume, Q13: 8192 = 1.0
  int gain;               // running gain of the samples, Q17: 131072 = 1.0
  int peak_env;           // followed peak after the volume, as |sample| >> 8
  int denoise_gain;       // running gain of the gate, Q17
  int mean_env;           // followed mean magnitude, in sample units
  int denoise_threshold;  // the gate closes while mean_env is below it
  int history_len;        // past blocks that the look-ahead covers
  int frame_len;          // samples per block assumed for the delay
  int* history;           // Q17 targets of history_len + 1 blocks, oldest first; owned
  int recent_targets[3];  // Q17 targets for inspection: after a block {the one before, this, this}
  audio_delay* delay;     // the look-ahead; owned
};

// Threshold 32767, orders 0 and 5, volume 8192, denoise threshold 256, gain 1.0, the gate at
// 8192 / 131072 and opening, history clear. Takes a delay of history_len x frame_len samples; a
// history_len of 0 passes samples undelayed.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void dynamic_range_control_init(dynamic_range_control_t* drc, int history_len,
                                            int frame_len);

// Another block length: the delay becomes history_len x frame_len, at most what init took, and is
// cleared. For a change of the sample rate.
SONX_EXPORT void dynamic_range_control_reinit(dynamic_range_control_t* drc, int frame_len);

// Clears followers, targets and the delay, and restarts the gate; gain and settings stay.
SONX_EXPORT void dynamic_range_control_reset(dynamic_range_control_t* drc);

// Frees what init took; calling it again does nothing.
SONX_EXPORT void dynamic_range_control_end(dynamic_range_control_t* drc);

// The peak limit, |sample| >> 8, meant for 1..32767 and stored as given.
SONX_EXPORT void dynamic_range_control_set_threshold(dynamic_range_control_t* drc, int threshold);
SONX_EXPORT void dynamic_range_control_get_threshold(dynamic_range_control_t* drc, int* threshold);

// The gate's threshold on the mean magnitude, at least 2; lower values store 2. The followed mean
// restarts at 0. Meant for up to 262144: above it the gate's gain wraps before it is divided.
SONX_EXPORT void dynamic_range_control_set_denoise_threshold(dynamic_range_control_t* drc,
                                                             int threshold);
SONX_EXPORT void dynamic_range_control_get_denoise_threshold(dynamic_range_control_t* drc,
                                                             int* threshold);

// Make-up volume, Q13, stored as given. The running gain jumps to volume x 8 (saturated), which is
// half the volume, and recovers through the slew.
SONX_EXPORT void dynamic_range_control_set_volume(dynamic_range_control_t* drc, int volume);
SONX_EXPORT void dynamic_range_control_get_volume(dynamic_range_control_t* drc, int* volume);

// Shifts of the peak follower, meant for 0..31; stored as given, the low 5 bits count.
SONX_EXPORT void dynamic_range_control_set_attact_order(dynamic_range_control_t* drc, int order);
SONX_EXPORT void dynamic_range_control_get_attact_order(dynamic_range_control_t* drc, int* order);
SONX_EXPORT void dynamic_range_control_set_release_order(dynamic_range_control_t* drc, int order);
SONX_EXPORT void dynamic_range_control_get_release_order(dynamic_range_control_t* drc, int* order);

// One block of any length, measured as a whole; in place allowed. Outputs saturate at the 32-bit
// limits; a result of exactly -1 becomes 0. With n < 1 no samples are touched, and the followers
// and targets advance by a block of silence.
SONX_EXPORT void dynamic_range_control_process(dynamic_range_control_t* drc, int* in, int* out,
                                               int n);

// The measurement on its own: returns the largest |x| >> 8 and stores the mean of |x|, truncated,
// through mean; n < 1 gives 0 and 0. |-2147483648| counts as 2147483648.
SONX_EXPORT int find_current_max_drc(int* x, int* mean, int n);
