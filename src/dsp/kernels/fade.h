// From one signal to another, gradually.
#pragma once

constexpr int kFadeFull = 1 << 20;  // Q20

// The other signal's share: moves by step ahead of every sample and stays within 0..2^20.
struct fade {
  int depth;
  int step;
};

// x + depth (other - x) / 2^20, rounded down, in place of x. n < 1 does nothing.
void fade_block(fade* f, const int* other, int* x, int n);

// The variants; depth + step, the first sample's depth, is in range, and step is at most 2^20 in
// magnitude.
void fade_block_portable(fade* f, const int* other, int* x, int n);
void fade_block_avx2(fade* f, const int* other, int* x, int n);
void fade_block_neon(fade* f, const int* other, int* x, int n);
