// The DC blocker over a block.
#pragma once

#include "dsp/dc_remove.h"

// n samples; in place allowed; n < 1 does nothing. The same bits as n one-sample calls.
void dc_remove_block_16(dc_remove* filter, const int* in, int* out, int n);
void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n);
