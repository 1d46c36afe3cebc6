// The gramophone's shaping with AVX2.
#include "dsp/vectors_avx2_internal.h"
// The kernel proper, in these words.
#include "dsp/shape_block.h"
#include "dsp/shape_vectors_internal.h"

void shape_block_avx2(const int* in, int* out, int n) { shape(in, out, n); }
