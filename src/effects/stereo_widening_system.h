// Stereo widening: music on headphones as from outside the head. Three stages in series,
//
//   in ──► difference circuit ──► crossfeed network ──► early reflector ──► out
//
// the first amplifies the difference between the channels (difference_circuit.h), the second adds
// to each ear the other side, as from loudspeakers (crossfeed_network.h), the third adds a small
// room (early_reflector.h). Their headers describe the settings; all gains are Q13, 8192 = 1.0.
// Each setter takes effect at the next sample.
//
// The highs get wider: with the headphone chain's settings the channels' correlation on a piece of
// rock music fell from 0.78 to 0.38 above 7 kHz, while the crossfeed raised it below (from 0.77 to
// 0.82 between 1 and 6 kHz, from 0.86 to 0.89 down to 200 Hz).
//
// For 44100, 48000 and 96000 Hz. At 192000 Hz every filter is silent: the output is the rest of the
// room's tail and then nothing (a constant between -8 and 0, see early_reflector.h).
//
// Latency: none but the filters' own. Memory: 54 KB, taken by stereo_widening_system_init.
// Samples: 24 bits in 32-bit words.
#pragma once

#include "../dsp/sample_rate.h"
#include "../export.h"
#include "crossfeed_network.h"
#include "difference_circuit.h"
#include "early_reflector.h"

struct stereo_widening_system {
  int status;  // not 0 = the owner runs this effect; processing itself does not look at it
  difference_circuit* difference;  // the three stages in their order, owned
  crossfeed_network* crossfeed;    // second
  early_reflector* reflector;      // third
};

// Takes the memory; status 0, the stages as their own init leaves them: filters for 48000 Hz, the
// crossfeed delay at 95 samples until a rate is set.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void stereo_widening_system_init(stereo_widening_system* system);

// Clears the history of the three stages; settings stay.
SONX_EXPORT void stereo_widening_system_reset(stereo_widening_system* system);

// Frees the stages and nulls their pointers; calling it again does nothing.
SONX_EXPORT void stereo_widening_system_end(stereo_widening_system* system);

// Passes the rate to the three stages; a value outside 0..3 counts as 48000 Hz. Safe between two
// process calls, with a transient.
SONX_EXPORT void stereo_widening_system_set_sample_rate(stereo_widening_system* system,
                                                        SampleRateType rate);

// Stored for the owner.
SONX_EXPORT void stereo_widening_system_setstatus(stereo_widening_system* system, int status);
SONX_EXPORT void stereo_widening_system_getstatus(stereo_widening_system* system, int* status);

// The stages' settings: difference circuit (dc), crossfeed network (cfn), early reflector (er).
SONX_EXPORT void stereo_widening_system_dc_set_side_gain(stereo_widening_system* system, int gain);
SONX_EXPORT void stereo_widening_system_dc_get_side_gain(stereo_widening_system* system, int* gain);
SONX_EXPORT void stereo_widening_system_cfn_set_gain(stereo_widening_system* system, int gain);
SONX_EXPORT void stereo_widening_system_cfn_get_gain(stereo_widening_system* system, int* gain);
SONX_EXPORT void stereo_widening_system_er_set_dry_gain(stereo_widening_system* system, int gain);
SONX_EXPORT void stereo_widening_system_er_get_dry_gain(stereo_widening_system* system, int* gain);
SONX_EXPORT void stereo_widening_system_er_set_wet_gain(stereo_widening_system* system, int gain);
SONX_EXPORT void stereo_widening_system_er_get_wet_gain(stereo_widening_system* system, int* gain);
SONX_EXPORT void stereo_widening_system_er_set_roomsize(stereo_widening_system* system,
                                                        int roomsize);
SONX_EXPORT void stereo_widening_system_er_get_roomsize(stereo_widening_system* system,
                                                        int* roomsize);
SONX_EXPORT void stereo_widening_system_er_set_damp(stereo_widening_system* system, int damp);
SONX_EXPORT void stereo_widening_system_er_get_damp(stereo_widening_system* system, int* damp);

// n frames, planar; whole buffers may coincide in any way; n < 1 does nothing. Saturation as the
// stages have it.
SONX_EXPORT void stereo_widening_system_process(stereo_widening_system* system, int* in_left,
                                                int* in_right, int* out_left, int* out_right,
                                                int n);
