// What the stages of the stereo widening do between their sections, for their own process functions
// and for the system, which runs the sections of all three side by side.
#pragma once

#include "effects/difference_circuit.h"
#include "effects/early_reflector.h"

constexpr int kLongestCrossfeedDelay = 95;  // samples

// The sections of left, right and the bands as difference_signals has them.
struct difference_sections {
  IIR *const *allpass_left, *const *allpass_right;  // three each
  IIR *mid_band, *mid_low, *side_low, *side_high;
};
difference_sections sections_of(const difference_circuit* circuit);

void difference_sums(const int* a, const int* b, int* s, int* d, int n);

// What the room's high-pass takes; fed may be in.
void reflector_quarter(const int* in, int* fed, int n);
// The same and the high-passes.
void reflector_feed(early_reflector* reflector, const int* in_left, const int* in_right,
                    int* fed_left, int* fed_right, int n);
// The room behind its high-passes, with the plain sound, for n up to a block. The inputs are read
// before the outputs are written. Never inlined, as widen_slices.
[[gnu::noinline]] void reflector_room(early_reflector* reflector, const int* in_left,
                                      const int* in_right, const int* fed_left,
                                      const int* fed_right, int* out_left, int* out_right, int n);
