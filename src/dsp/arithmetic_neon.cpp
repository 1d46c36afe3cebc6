// Arithmetic over a block with NEON.
#include "dsp/vectors_neon_internal.h"
// The kernels proper, in these words.
#include "dsp/arithmetic_vectors_internal.h"

const block_arithmetic kArithmeticNeon = kVectorArithmetic;
