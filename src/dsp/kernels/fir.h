// The part of a filter that doesn't wait for its own results.
#pragma once

#include <cstdint>

// sums[i] = coefficients[0] x[i] + ... + coefficients[taps - 1] x[i - taps + 1], n of them: exact
// products of 32-bit words, 64-bit sums that wrap. x has the history of taps - 1 samples ahead of
// it. n < 1 does nothing.
void fir_sums_block(const int* x, const int* coefficients, int taps, int64_t* sums, int n);

// The variants.
void fir_sums_block_portable(const int* x, const int* coefficients, int taps, int64_t* sums, int n);
void fir_sums_block_avx2(const int* x, const int* coefficients, int taps, int64_t* sums, int n);
void fir_sums_block_neon(const int* x, const int* coefficients, int taps, int64_t* sums, int n);
