// Arithmetic over a block with AVX2.
#include "dsp/vectors_avx2_internal.h"
// The kernels proper, in these words.
#include "dsp/arithmetic_vectors_internal.h"

const block_arithmetic kArithmeticAvx2 = kVectorArithmetic;
