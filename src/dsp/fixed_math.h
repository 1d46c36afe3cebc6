// Fixed-point square root, exponential and logarithm: shift-and-subtract and shift-and-add walks
// with neither table memory nor division. No argument is checked: outside the stated domain the
// result is meaningless, but nothing crashes. All may be called from any thread.
//
// Method: digit-by-digit root extraction and the multiplicative normalisation of
// J.-M. Muller, "Elementary Functions: Algorithms and Implementation", shift-and-add chapter.
#pragma once

#ifndef __cplusplus
#error "The functions of this header have C++ linkage."
#endif

#include "../export.h"

// Square root of an integer, rounded to the nearest integer. x: 0..65535; result: 0..256.
SONX_EXPORT int sqrt_fixed(unsigned int x);

// e^x. x: Q16, 0 <= x < 681391 (ln 32768); result: Q16, never falling as x rises, with a relative
// error below 1e-4.
SONX_EXPORT int exp_fixed(int x);

// Natural logarithm. x: Q16, > 0; result: Q16, signed. Below 2^31 (32768.0) the result never falls
// as x rises and is within 4 units of the true value; above, the walk has no room and the result is
// off by up to 1.1.
SONX_EXPORT int log_fixed(unsigned int x);
