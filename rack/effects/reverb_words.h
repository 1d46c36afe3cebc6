// The reverb's settings and times, shared with the chains that hold a reverb. values are the six of
// SONX_REVERB_SETTINGS.
#pragma once

#include "effects/reverb.h"
#include "parameter_groups.h"

struct reverb_words {
  int roomsize, damp, wet, dry, width, gain;
};

//   room, damp  0..100 %    0..8192: the useful range
//   wet         100 %       2730, truncated: the module multiplies by 3, so that it's 1.0
//   dry         100 %       4096: the module multiplies by 2, so that it's exactly 1.0
//   width       100 %       8192
//   gain        0 dB        127, the module's own
reverb_words reverb_words_of(const double* values);

void set_reverb(reverb_t* reverb, const double* values);

// Whether one's tail can go on in the other: a jump of what goes into the loops, or round in them,
// would come out again and again as a click.
bool same_loops(const reverb_t& a, const reverb_t& b);

// Until a room that starts empty has filled to within 3 dB, at most 2 s.
int reverb_warm_up(const double* values, int rate);

// Until full scale has died away to less than -60 dB.
int reverb_tail(const double* values, int rate);
