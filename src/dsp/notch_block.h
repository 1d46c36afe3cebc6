// The notch over a block.
#pragma once

#include "dsp/notch.h"

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of notch_process.
void notch_block(notch* filter, const int* in, int* out, int n);
