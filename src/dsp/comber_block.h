// Combs over a block.
#pragma once

#include "dsp/comber.h"

// n samples of in through the comb, added to sum (32-bit, wrapping), as the combs of a reverb run
// side by side; n < 1 does nothing. in and sum must not overlap. The same bits as n calls of
// comb_process_16 or comb_process_24.
void comb_block_add_16(comber* comb, const int* in, int* sum, int n);
void comb_block_add_24(comber* comb, const int* in, int* sum, int n);
