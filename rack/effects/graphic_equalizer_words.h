// The graphic equalizer's bands, shared with the chains that hold one.
#pragma once

#include "parameter_groups.h"

enum { kBands = 10 };

// values are the ten of SONX_BAND_GAINS.
void band_indices(const double* values, int indices[kBands]);
