// The delay's step, and the delay over a block.
#pragma once

#include <utility>

#include "dsp/audio_delay.h"

// One sample through one cell of the line: the cell's sample out, the new one in.
inline int audio_delay_step(int x, int& cell) { return std::exchange(cell, x); }

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of audio_delay_process.
void audio_delay_block(audio_delay* line, const int* in, int* out, int n);
