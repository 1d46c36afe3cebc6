// The compressor: two dynamic range controls, left and right, with one volume. Each channel is
// limited on its own.
//
// It is the last stage of a chain but the volume: its volume compensates for the gain of the stages
// before it, and peaks that then exceed the threshold of 30720 (-0.56 dB of 24-bit full scale) are
// brought 0.28 dB below it before they come out. With a make-up volume above about 3 dB, or blocks
// much shorter than the rate's frame length (256 at 96000 and 192000 Hz), an onset can exceed the
// threshold: dynamic_range_control.h says by how much. The gate closes only at near-silence.
//
// Latency: history_len x the rate's frame length (220, 240, 480 or 960 samples), about 10 ms with a
// history_len of 2; until a rate is set, history_len x 960. Memory: 2 x history_len x 960 words and
// a few, taken by init. Samples: 24-bit values in 32-bit words.
#pragma once

#include "../dsp/sample_rate.h"
#include "../export.h"
#include "dynamic_range_control.h"

struct compressor_t {
  int status;                      // the owner's enable word; processing doesn't look at it
  int volume;                      // make-up volume of both channels, Q13: 8192 = 1.0
  int history_len;                 // past blocks that the look-ahead covers
  dynamic_range_control_t* left;   // owned
  dynamic_range_control_t* right;  // owned
};

// Both channels with threshold 30720, orders 0 and 7, denoise threshold 2 and the volume; the
// running gain starts at half the volume; status 0.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void compressor_init(compressor_t* compressor, int volume, int history_len);

// Frame length and latency for a rate; clears the delays. Any value beyond the four rates takes
// 48000 Hz.
SONX_EXPORT void compressor_set_sample_rate(compressor_t* compressor, SampleRateType rate);

// Clears signal and followers of both channels; gain and settings stay.
SONX_EXPORT void compressor_reset(compressor_t* compressor);

// Ends and frees both channels; calling it again does nothing.
SONX_EXPORT void compressor_end(compressor_t* compressor);

// Stored for the owner; any value.
SONX_EXPORT void compressor_setstatus(compressor_t* compressor, int status);
SONX_EXPORT void compressor_getstatus(compressor_t* compressor, int* status);

// Make-up volume, Q13, stored as given. The running gain jumps to half of it and recovers. May be
// called between two process calls; call it during a fade to hide the dip.
SONX_EXPORT void compressor_set_volume(compressor_t* compressor, int volume);
SONX_EXPORT void compressor_get_volume(compressor_t* compressor, int* volume);

// One block of any length, measured as a whole: the left channel, then the right one; in place
// allowed. Edges as in dynamic_range_control_process.
SONX_EXPORT void compressor_process(compressor_t* compressor, int* in_left, int* in_right,
                                    int* out_left, int* out_right, int n);
