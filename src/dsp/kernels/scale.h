// 64-bit results back to samples.
#pragma once

#include <cstdint>

// x / 2^5, rounded down and saturated to 32 bits, -1 becomes 0. n < 1 does nothing.
void scale_down_5_block(const int64_t* x, int* out, int n);

// The variants.
void scale_down_5_block_portable(const int64_t* x, int* out, int n);
void scale_down_5_block_avx2(const int64_t* x, int* out, int n);
void scale_down_5_block_neon(const int64_t* x, int* out, int n);
