// Signals, weighted and added.
#pragma once

struct mix_input {
  const int* samples;
  int gain;  // Q13
};

// The sum of three samples x gain in 64 bits, which wraps on wild gains, / 8192, rounded down and
// saturated. out may be any of the inputs; n < 1 does nothing.
void mix_three_block(const mix_input* three, int* out, int n);

// The sum of count samples x gain in 64 bits, / 8192, rounded down: its low 32 bits, -1 becomes 0.
// out may be any of the inputs; n < 1 does nothing.
void mix_wrapping_block(const mix_input* inputs, int count, int* out, int n);

// The variants.
void mix_three_block_portable(const mix_input* three, int* out, int n);
void mix_wrapping_block_portable(const mix_input* inputs, int count, int* out, int n);
void mix_three_block_avx2(const mix_input* three, int* out, int n);
void mix_wrapping_block_avx2(const mix_input* inputs, int count, int* out, int n);
void mix_three_block_neon(const mix_input* three, int* out, int n);
void mix_wrapping_block_neon(const mix_input* inputs, int count, int* out, int n);
