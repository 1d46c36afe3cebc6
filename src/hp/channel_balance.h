// Channel balance: mixes one channel into the other by a signed ratio, for listeners with one
// weaker ear, and can fold stereo to mono.
//
// Ratio 0 leaves both channels as they are. At +8192 the left output is the right channel, at -8192
// the right output is the left one, between them a mix; the other output is not changed.
//
// Samples are 24-bit in 32-bit words, the ratio is Q13 (8192 = 1.0). Latency: none. Memory: the
// record itself; there is no history. Settings take effect at the next process call.
#pragma once

#include "../export.h"

// "ration" in the names below is the interface's own spelling of ratio.
struct channel_balance_t {
  int status;          // 1 = the chain runs this stage; processing itself does not look at it
  int channel_ration;  // cross-mix ratio, Q13, signed: > 0 right into left, < 0 left into right
  int channel_num;  // 2 = stereo; else the chain's planar entry points give the left output twice
};

// Status 1, ratio 0, two channels.
SONX_EXPORT void channel_balance_init(channel_balance_t* balance);

// There is no history: does nothing.
SONX_EXPORT void channel_balance_reset(channel_balance_t* balance);

// As init.
SONX_EXPORT void channel_balance_end(channel_balance_t* balance);

// Stored for the owner; any value.
SONX_EXPORT void channel_balance_setstatus(channel_balance_t* balance, int status);
SONX_EXPORT void channel_balance_getstatus(channel_balance_t* balance, int* status);

// Meant for -8192..8192; stored as given.
SONX_EXPORT void channel_balance_set_channel_ration(channel_balance_t* balance, int ratio);
SONX_EXPORT void channel_balance_get_channel_ration(channel_balance_t* balance, int* ratio);

// Stored as given.
SONX_EXPORT void channel_balance_set_channel_num(channel_balance_t* balance, int channels);
SONX_EXPORT void channel_balance_get_channel_num(channel_balance_t* balance, int* channels);

// n frames, planar; any in and out buffers may be the same; n < 1 does nothing. Outputs saturate at
// the 32-bit limits.
SONX_EXPORT void channel_balance_process_stereo(channel_balance_t* balance, int* in_left,
                                                int* in_right, int* out_left, int* out_right,
                                                int n);

// out = (left + right) / 2, rounded down, for n frames, whatever the ratio; the 32-bit sum wraps,
// which 24-bit samples cannot reach. out may be either input.
SONX_EXPORT void channel_balance_process_mono(channel_balance_t* balance, int* in_left,
                                              int* in_right, int* out, int n);
