// The gramophone's shaping with AVX2.
#include "dsp/kernels/vectors_avx2.h"
// The kernel proper, in these words.
#include "dsp/kernels/shape.h"
#include "dsp/kernels/shape_vectors.h"

void shape_block_avx2(const int* in, int* out, int n) { shape(in, out, n); }
