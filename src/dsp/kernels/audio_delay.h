// The delay over a block.
#pragma once

#include "dsp/audio_delay.h"

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of audio_delay_process.
void audio_delay_block(audio_delay* line, const int* in, int* out, int n);
