// The stereo widening's sections side by side, slice by slice.
#pragma once

#include "effects/stereo_widening_system.h"

// Two channels of a block.
struct stereo_buffers {
  int *left, *right;
};

// Difference circuit, crossfeed network and the early reflector's high-passes over as many whole
// slices as n frames have, n up to a block: wide is what the reflector takes, fed what its
// high-passes make of it. wide and fed are other buffers than the inputs. Returns the frames done.
// Never inlined, by the linker neither: its work space and the room's aren't needed at a time.
[[gnu::noinline]] int widen_slices(stereo_widening_system* system, const int* in_left,
                                   const int* in_right, stereo_buffers wide, stereo_buffers fed,
                                   int n);
