// Arithmetic over a block with NEON.
#include "dsp/kernels/vectors_neon.h"
// The kernels proper, in these words.
#include "dsp/kernels/arithmetic_vectors.h"

const block_arithmetic kArithmeticNeon = kVectorArithmetic;
