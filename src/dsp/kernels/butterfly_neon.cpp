#include "dsp/kernels/vectors_neon.h"
// Bodies in the vocabulary of the header above.
#include "dsp/kernels/butterfly_vectors.h"
