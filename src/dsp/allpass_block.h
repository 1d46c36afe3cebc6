// The all-pass over a block.
#pragma once

#include "dsp/allpass.h"

// n samples in place; n < 1 does nothing. The same bits as n calls of allpass_process.
void allpass_block(allpass* section, int* samples, int n);
