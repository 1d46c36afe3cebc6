// A curve of the graphic equalizer between the thread that designs it, where the level law computes
// in floating point and writes a log line, and the thread that processes, where it is only set.
#pragma once

#include "effects/equalizer.h"

struct equalizer_curve {
  int indices[10];  // whole dB, -15..15
  int gain_q13;     // by the level law
};

// Ten indices, clamped, and their gain. Logs as calc_gain_from_idxs does.
equalizer_curve make_curve(const int* indices);

// Sets the bands' rows and the gain, and returns it: with make_curve, equalizer_set_param_index.
int equalizer_set_curve(equalizer_t* equalizer, const equalizer_curve& curve, SampleRateType rate);
