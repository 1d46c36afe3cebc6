// Arithmetic over a block: what effects do to every sample between their filters.
#pragma once

#include <cstdint>

// Magnitudes of a block; that of -2147483648 is 2147483648.
struct block_level {
  uint32_t largest;
  int64_t sum;
};

// One set of functions per instruction set. All take any n, and none touches a sample with n < 1.
// out may be any of the inputs. Products are 64 bits wide, quotients round toward minus infinity,
// results saturate at the 32-bit limits.
struct block_arithmetic {
  // in x gain, Q13.
  void (*scale)(const int* in, int gain, int* out, int n);
  // in x gain / 4, Q13.
  void (*scale_quarter)(const int* in, int gain, int* out, int n);
  // in x gain, Q13, and -1 becomes 0.
  void (*scale_down)(const int* in, int gain, int* out, int n);
  // in x gain, Q17, a gain for every sample, and -1 becomes 0.
  void (*scale_down_each)(const int* in, const int* gains, int* out, int n);
  // in x (gain x gate), all Q17, gain x gate saturated too, and -1 becomes 0.
  void (*scale_down_twice)(const int* in, const int* gains, const int* gates, int* out, int n);
  // a x gain_a, Q13, and b x gain_b; their sum; and -1 becomes 0.
  void (*mix)(const int* a, int gain_a, const int* b, int gain_b, int* out, int n);
  // a + b.
  void (*add)(const int* a, const int* b, int* out, int n);
  // a - b.
  void (*subtract)(const int* a, const int* b, int* out, int n);
  // clip_step with a limit for every sample.
  void (*clip)(const int* in, const int* limits, int* out, int n);
  // polynomial_step; the coefficients stand apart from the samples.
  void (*polynomial)(const int* coefficients, const int* in, int* out, int n);
  // The same for what polynomial_fits says yes to.
  void (*fitting_polynomial)(const int* coefficients, const int* in, int* out, int n);
  // The largest magnitude and their sum.
  block_level (*level)(const int* in, int n);
  // The largest magnitude but for -2147483648, which is passed over.
  int (*peak)(const int* in, int n);
  // The sum of squares; wraps.
  int64_t (*energy)(const int* in, int n);
};

// The set that runs.
const block_arithmetic& arithmetic();

extern const block_arithmetic kArithmeticPortable;
extern const block_arithmetic kArithmeticAvx2;
extern const block_arithmetic kArithmeticNeon;
