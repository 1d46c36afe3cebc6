// Arithmetic over a block with AVX2.
#include "dsp/kernels/vectors_avx2.h"
// The kernels proper, in these words.
#include "dsp/kernels/arithmetic_vectors.h"

const block_arithmetic kArithmeticAvx2 = kVectorArithmetic;
