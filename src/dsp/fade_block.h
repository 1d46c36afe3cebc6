// From one signal to another, gradually.
#pragma once

constexpr int kFadeFull = 1 << 20;  // Q20

// x + depth (other - x) / 2^20, rounded down, in place of x; depth moves by step ahead of every
// sample and stays within 0..2^20. Gives the depth of the last sample; n < 1 does nothing. |step|
// is at most 2^20, depth in range.
int fade_block(const int* other, int* x, int depth, int step, int n);

// The variants.
int fade_block_portable(const int* other, int* x, int depth, int step, int n);
int fade_block_avx2(const int* other, int* x, int depth, int step, int n);
int fade_block_neon(const int* other, int* x, int depth, int step, int n);
