// The echo comb over a block.
#pragma once

#include "dsp/iircomber.h"

// n samples in place; n < 1 does nothing. The same bits as n calls of iircomber_process.
void iircomber_block(iircomber* comb, int* samples, int n);
