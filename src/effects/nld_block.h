// The non-linear device over a block.
#pragma once

#include "effects/nld.h"

// n samples through clipper and polynomial; in place allowed; n < 1 does nothing. The same bits as
// n calls of NLD_process.
void nld_block(NLD* nld, const int* in, int* out, int n);
