// The sixth-order section over a block.
#pragma once

#include "dsp/elliptic.h"

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of elliptic_process.
void elliptic_block(elliptic* filter, const int* in, int* out, int n);
