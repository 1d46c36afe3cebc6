// The delay over a block.
#pragma once

#include "dsp/audio_delay.h"

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of audio_delay_process.
void audio_delay_block(audio_delay* line, const int* in, int* out, int n);

// A line laid straight, for a caller that reads its delayed samples where its own buffer has them:
// `delay` words, the oldest first. Only for 0 <= index < delay.
void audio_delay_unroll(const audio_delay* line, int* samples);
// And back: what n samples leave, of which the last `delay` are given; older ones count if n is less.
void audio_delay_roll(audio_delay* line, const int* newest, int n);
